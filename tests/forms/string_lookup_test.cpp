// String lookup: the "eng" pack among several languages, and texts that are
// missing or lie outside their pack.
#include "forms_fixture.h"

namespace forms_test {
namespace {

using StringLookupTest = FormsTest;
using Texts = std::vector<std::u16string>;

TEST_F(StringLookupTest, EachTableFindsItsOwnEnglishPackAmongOtherLanguages) {
  ExportBuilder Export;
  Export.AddTable(kFormSetGuid, {"fra", "deu", "eng"})
      .Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(1, Text(u"Main", {{"fra", u"Principal"}, {"deu", u"Haupt"}}))
      .CheckBox(0, 1, Text(u"Quiet Boot", {{"fra", u"Demarrage silencieux"}}))
      .CheckBox(1, 1, Text::OnlyIn({{"fra", u"Seulement"}}))
      .EndForm()
      .EndFormSet();
  Export.AddTable(kOtherGuid, {"fra", "eng"})
      .Ifr()
      .FormSet(kOtherGuid, u"Other")
      .Form(2, u"Second form")
      .CheckBox(0, 1, Text(u"Second table", {{"fra", u"Deuxieme"}}))
      .EndForm()
      .EndFormSet();
  // A table without "eng" keeps its records and values, with no texts.
  Export.AddTable(kFormSetGuid, {"fra", "deu"})
      .Ifr()
      .FormSet(kFormSetGuid, u"Setup").Form(3, u"Main")
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .EndForm().EndFormSet();
  PutSetup(Bytes{1, 0});
  Load(Export);
  EXPECT_EQ(Prompts(), (Texts{u"Main", u"Quiet Boot", u"<none>", u"Second form", u"Second table", u"<none>",
                              u"<none>"}));
  auto All = Records();
  for (size_t I : {2, 5, 6}) EXPECT_EQ(All[I]->PromptLength, 0) << I;
  EXPECT_EQ(All[5]->FormId, 3);
  EXPECT_EQ(All[6]->Value, 1u);
  EXPECT_EQ(OptionValues(All[6]), (std::vector<uint32_t>{1, 0}));
  for (const OptionView &O : OptionsOf(All[6])) {
    EXPECT_EQ(O.Text, nullptr);
    EXPECT_EQ(O.TextLength, 0u);
  }
}

// A text is found when its pointer lies inside the pack and the text starts
// there, as far as the pack lies inside the export, and its NUL lies inside
// the export.
TEST_F(StringLookupTest, PointersAndTextsAgainstThePackAndTheExport) {
  ExportBuilder Export;
  StartForms(Export).EndForm().EndFormSet();
  const Bytes Good = Export.Build();
  // The only string pack, last in the export, and the title's pointer in it.
  const size_t Pack = 18 + hiibuild::GetU32(Good, 18 + 26);
  const uint32_t PackLength = hiibuild::GetU32(Good, Pack);
  const size_t TitlePointer = Pack + 22 + 4 * hiibuild::GetU16(Good, 18 + 46 + 6 + 36 + 4);
  const uint32_t Title = hiibuild::GetU32(Good, TitlePointer);
  ASSERT_EQ(Pack + PackLength, Good.size());
  struct Case {
    const char *Name;
    size_t At;
    uint32_t Value;
    std::u16string Expected;
  };
  const Case Cases[] = {
      {"pointer at the pack's end", TitlePointer, PackLength, u"<none>"},
      {"text in the pack's last byte, its NUL past the export", TitlePointer, PackLength - 1, u"<none>"},
      {"pointer far beyond", TitlePointer, 0xFFFFFFF0u, u"<none>"},
      {"pack length ending inside the pointers", Pack, static_cast<uint32_t>(TitlePointer - Pack + 2), u"<none>"},
      {"pack length ending inside the text", Pack, Title + 2, u"Main"},
      {"pack length past the export", Pack, PackLength + 100, u"Main"},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    Bytes Image = Good;
    hiibuild::PutU32(Image, C.At, C.Value);
    LoadBytes(Image);
    EXPECT_EQ(Prompts(), (std::vector<std::u16string>{C.Expected}));
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

}  // namespace
}  // namespace forms_test
