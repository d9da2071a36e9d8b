// String lookup: the "eng" pack among several languages, and texts that are
// missing or lie outside their pack.
#include "forms/string_lookup.h"
#include "forms_fixture.h"

namespace forms_test {
namespace {

using StringLookupTest = FormsTest;

TEST_F(StringLookupTest, FindsEnglishPackListedAfterAnotherLanguage) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid, {"fra", "deu", "eng"});
  Table.Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(1, Text(u"Main", {{"fra", u"Principal"}, {"deu", u"Haupt"}}))
      .CheckBox(0, 1, Text(u"Quiet Boot", {{"fra", u"Demarrage silencieux"}}))
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(4, 0));
  Load(Export);

  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  EXPECT_EQ(Str(All[0]->PromptText, All[0]->PromptLength), u"Main");
  EXPECT_EQ(All[0]->PromptLength, 4);
  EXPECT_EQ(Str(All[1]->PromptText, All[1]->PromptLength), u"Quiet Boot");
}

TEST_F(StringLookupTest, TableWithoutEnglishHasNoTextsButKeepsRecordsAndValues) {
  ExportBuilder Export;
  Export.AddTable(kFormSetGuid, {"fra", "deu"})
      .Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(1, u"Main")
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes{1, 0});
  Load(Export);

  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  for (const SetupQuestion *Q : All) {
    EXPECT_EQ(Q->PromptText, nullptr);
    EXPECT_EQ(Q->PromptLength, 0);
  }
  EXPECT_EQ(All[1]->Value, 1u);
  EXPECT_EQ(OptionValues(All[1]), (std::vector<uint32_t>{1, 0}));
  for (const SetupOption *O = All[1]->Options; O != nullptr; O = O->Next) {
    EXPECT_EQ(O->Text, nullptr);
    EXPECT_EQ(O->TextLength, 0u);
  }
}

TEST_F(StringLookupTest, TokensWithoutEnglishTextOrBeyondThePackGiveNoText) {
  ExportBuilder Export;
  StartForms(Export, {"eng", "fra"})
      .CheckBox(0, 1, Text::OnlyIn({{"fra", u"Seulement"}}))
      .CheckBox(1, 1, u"Shown")
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(4, 0));
  Load(Export);

  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 2u);
  EXPECT_EQ(Kept[0]->PromptText, nullptr);
  EXPECT_EQ(Kept[0]->PromptLength, 0);
  EXPECT_EQ(Str(Kept[1]->PromptText, Kept[1]->PromptLength), u"Shown");

  // A token far past the pointer table: its pointer would lie beyond the pack.
  Forms().CurrentDataTable = Forms().ExportBuffer + Forms().ExportHeaderSize;
  for (UINT16 Token : {UINT16{0x7FFF}, UINT16{0xFFFF}}) {
    LookedUpString Found = LookupString(Forms(), Token);
    EXPECT_EQ(Found.Text, nullptr) << Token;
    EXPECT_EQ(Found.Length, 0) << Token;
  }
}

TEST_F(StringLookupTest, EachDataTableUsesItsOwnStrings) {
  ExportBuilder Export;
  StartForms(Export).CheckBox(0, 1, u"First table").EndForm().EndFormSet();
  Export.AddTable(kOtherGuid, {"fra", "eng"})
      .Ifr()
      .FormSet(kOtherGuid, u"Other")
      .Form(2, u"Second form")
      .CheckBox(0, 1, Text(u"Second table", {{"fra", u"Deuxieme"}}))
      .EndForm()
      .EndFormSet();
  Load(Export);

  std::vector<std::u16string> Prompts;
  for (const SetupQuestion *Q : Records()) Prompts.push_back(Str(Q->PromptText, Q->PromptLength));
  EXPECT_EQ(Prompts, (std::vector<std::u16string>{u"Main", u"First table", u"Second form", u"Second table"}));
}

// Offsets of the first string pack of the first table in a classic export.
struct StringPackLocation {
  size_t Pack;
  uint32_t Length;
};
StringPackLocation FirstStringPack(const Bytes &Image) {
  size_t Table = 18;
  size_t Pack = Table + hiibuild::GetU32(Image, Table + 26);
  return {Pack, hiibuild::GetU32(Image, Pack)};
}

TEST_F(StringLookupTest, StringPointersOutsideThePackGiveNoText) {
  ExportBuilder Export;
  StartForms(Export).EndForm().EndFormSet();
  const Bytes Good = Export.Build();
  const StringPackLocation Strings = FirstStringPack(Good);
  const size_t TitlePointer = Strings.Pack + 22 + 4 * hiibuild::GetU16(Good, 18 + 46 + 6 + 36 + 4);

  struct Case {
    const char *Name;
    uint32_t PointerValue;
  };
  const Case Cases[] = {
      {"at the pack's end", Strings.Length},
      {"one unit before the end, unterminated", Strings.Length - 1},
      {"far beyond", 0xFFFFFFF0u},
  };
  for (const Case &C : Cases) {
    Bytes Image = Good;
    hiibuild::PutU32(Image, TitlePointer, C.PointerValue);
    LoadBytes(Image);
    auto All = Records();
    ASSERT_EQ(All.size(), 1u) << C.Name;
    EXPECT_EQ(All[0]->PromptText, nullptr) << C.Name;
    EXPECT_EQ(All[0]->PromptLength, 0) << C.Name;
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

}  // namespace
}  // namespace forms_test
