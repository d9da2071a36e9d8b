// The IFR walk: which records are kept, in which order, with which options,
// and how the walk ends on zero lengths and sizes.
#include "forms_fixture.h"

namespace forms_test {
namespace {

using IfrParserTest = FormsTest;

bool Below4G(const void *Text, size_t Units) {
  return reinterpret_cast<uintptr_t>(Text) + 2 * (Units + 1) <= 0x100000000ull;
}

TEST_F(IfrParserTest, SmallFormSetBecomesFormOneOfAndCheckboxRecords) {
  ExportBuilder Export;
  Export.AddTable(kFormSetGuid)
      .Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(1, u"Main")
      .SuppressIf()
      .EqIdVal(4, 1, 1)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .EndIf()
      .CheckBox(1, 1, u"Switch")
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes{1, 0, 0, 0, 1});
  Load(Export);

  auto All = Records();
  ASSERT_EQ(All.size(), 3u);
  EXPECT_EQ(All[0]->OpCode, IFR_FORM_OP);
  EXPECT_EQ(All[0]->FormId, 1);
  EXPECT_EQ(Str(All[0]->PromptText, All[0]->PromptLength), u"Main");
  EXPECT_EQ(All[0]->Options, nullptr);

  EXPECT_EQ(All[1]->OpCode, IFR_ONE_OF_OP);
  EXPECT_EQ(Str(All[1]->PromptText, All[1]->PromptLength), u"Mode");
  EXPECT_EQ(All[1]->Width, 1);
  EXPECT_EQ(All[1]->Offset, 0);
  EXPECT_EQ(All[1]->Value, 1u);
  EXPECT_EQ(All[1]->Flags, SETUP_QUESTION_SUPPRESSED);
  EXPECT_EQ(All[1]->FormId, 0);
  EXPECT_EQ(OptionTexts(All[1]), (std::vector<std::u16string>{u"On", u"Off"}));
  EXPECT_EQ(OptionValues(All[1]), (std::vector<uint32_t>{1, 0}));

  EXPECT_EQ(All[2]->OpCode, IFR_CHECKBOX_OP);
  EXPECT_EQ(All[2]->Offset, 1);
  EXPECT_EQ(All[2]->Flags, 0u);
  EXPECT_EQ(OptionTexts(All[2]), (std::vector<std::u16string>{u"Enabled", u"Disabled"}));
  EXPECT_EQ(OptionValues(All[2]), (std::vector<uint32_t>{1, 0}));
  EXPECT_EQ(All[2]->Next, nullptr);
}

TEST_F(IfrParserTest, OptionTextsClientsReadLieBelow4G) {
  ExportBuilder Export;
  StartForms(Export)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .CheckBox(1, 1, u"Switch")
      .Numeric(2, 2, u"Count", {0, 40, 1, 0})
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(4, 0));
  Load(Export);
  size_t Checked = 0;
  for (const SetupQuestion *Q : Questions()) {
    for (const SetupOption *O = Q->Options; O != nullptr; O = O->Next) {
      EXPECT_TRUE(Below4G(O->Text, O->TextLength));
      ++Checked;
    }
  }
  EXPECT_EQ(Checked, 2u + 2u + 41u);
}

TEST_F(IfrParserTest, NumericOptionsRunFromTheHighestValueDown) {
  struct Case {
    uint16_t Minimum, Maximum, Step;
    std::vector<uint32_t> Values;
    std::vector<std::u16string> Texts;
  };
  const Case Cases[] = {
      {0, 3, 1, {3, 2, 1, 0}, {u"0003", u"0002", u"0001", u"0000"}},
      {0, 10, 4, {8, 4, 0}, {u"0008", u"0004", u"0000"}},
      {1234, 1234, 1, {1234}, {u"1234"}},
      {6, 5, 1, {}, {}},
      {1, 3, 0, {}, {}},
      {9999, 10000, 1, {10000, 9999}, {u"1000", u"9999"}},
      {65535, 65535, 1, {65535}, {u"6553"}},
      {65534, 65535, 7, {65534}, {u"6553"}},
  };
  ExportBuilder Export;
  IfrBuilder &Ifr = StartForms(Export);
  for (const Case &C : Cases) Ifr.Numeric(0, 2, u"N", {C.Minimum, C.Maximum, C.Step, C.Minimum});
  Ifr.EndForm().EndFormSet();
  PutSetup(Bytes(2, 0));
  Load(Export);

  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), std::size(Cases));
  for (size_t I = 0; I < Kept.size(); ++I) {
    SCOPED_TRACE(testing::Message() << Cases[I].Minimum << ".." << Cases[I].Maximum << " step " << Cases[I].Step);
    EXPECT_EQ(OptionValues(Kept[I]), Cases[I].Values);
    EXPECT_EQ(OptionTexts(Kept[I]), Cases[I].Texts);
  }
}

TEST_F(IfrParserTest, OneOfOptionsAreReversedAndFormsKeepTheirQuestions) {
  ExportBuilder Export;
  StartForms(Export)
      .OneOfWithOptions(0, 1, u"Three", {{u"Zero", 0}, {u"One", 1}, {u"Two", 2}}, 0)
      .EndForm()
      .Form(2, u"Empty")
      .EndForm()
      .Form(3, u"Third")
      .CheckBox(1, 1, u"Box")
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(2, 0));
  Load(Export);

  std::vector<std::pair<uint8_t, std::u16string>> Shape;
  for (const SetupQuestion *Q : Records()) Shape.push_back({Q->OpCode, Str(Q->PromptText, Q->PromptLength)});
  const std::vector<std::pair<uint8_t, std::u16string>> Expected = {
      {IFR_FORM_OP, u"Main"}, {IFR_ONE_OF_OP, u"Three"},     {IFR_FORM_OP, u"Empty"},
      {IFR_FORM_OP, u"Third"}, {IFR_CHECKBOX_OP, u"Box"}};
  EXPECT_EQ(Shape, Expected);
  EXPECT_EQ(OptionTexts(Records()[1]), (std::vector<std::u16string>{u"Two", u"One", u"Zero"}));
}

TEST_F(IfrParserTest, FormWithoutEnglishTitleIsStillListed) {
  ExportBuilder Export;
  Export.AddTable(kFormSetGuid, {"eng", "fra"})
      .Ifr()
      .FormSet(kFormSetGuid, u"Setup")
      .Form(7, Text::OnlyIn({{"fra", u"Sans titre"}}))
      .CheckBox(0, 1, u"Q")
      .EndForm();
  PutSetup(Bytes(1, 0));
  Load(Export);
  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  EXPECT_EQ(All[0]->FormId, 7);
  EXPECT_EQ(All[0]->PromptText, nullptr);
  EXPECT_EQ(All[0]->PromptLength, 0);
}

TEST_F(IfrParserTest, OrderedListOptionsGoNowhere) {
  ExportBuilder Export;
  StartForms(Export)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .OrderedList(4, 3, u"Boot order")
      .Option(u"Disk", 1)
      .Option(u"Network", 2)
      .EndOneOf()
      .CheckBox(1, 1, u"Box")
      .OrderedList(8, 2, u"Another order")
      .Option(u"First", 1)
      .EndOneOf()
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(12, 0));
  Load(Export);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 2u);
  EXPECT_EQ(OptionTexts(Kept[0]), (std::vector<std::u16string>{u"On", u"Off"}));
  EXPECT_EQ(OptionTexts(Kept[1]), (std::vector<std::u16string>{u"Enabled", u"Disabled"}));
  EXPECT_EQ(Forms().PendingOptions, nullptr);
}

TEST_F(IfrParserTest, TruncatedQuestionsAreNotKeptAndTheirOptionsAreDropped) {
  ExportBuilder Export;
  StartForms(Export)
      .CheckBox(0, 1, u"Kept")
      .Raw({0x05, 0x05, 0x00, 0x00, 0x01})  // one-of without its prompt
      .Option(u"Stray", 5)
      .EndOneOf()
      .Raw({0x07, 0x0C, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00})  // numeric without its range
      .Raw({0x01, 0x04, 0x09, 0x00})  // form without its title
      .EndForm()
      .EndFormSet();
  PutSetup(Bytes(2, 0));
  Load(Export);
  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  EXPECT_EQ(OptionTexts(All[1]), (std::vector<std::u16string>{u"Enabled", u"Disabled"}));
}

TEST_F(IfrParserTest, ZeroLengthOpcodeEndsItsPackAndTheNextTableIsParsed) {
  ExportBuilder Export;
  StartForms(Export).CheckBox(0, 1, u"Before").Raw({0x06, 0x00}).CheckBox(1, 1, u"After").EndForm().EndFormSet();
  Export.AddTable(kOtherGuid).Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Second").EndForm().EndFormSet();
  PutSetup(Bytes(2, 0));
  Load(Export);
  std::vector<std::u16string> Prompts;
  for (const SetupQuestion *Q : Records()) Prompts.push_back(Str(Q->PromptText, Q->PromptLength));
  EXPECT_EQ(Prompts, (std::vector<std::u16string>{u"Main", u"Before", u"Second"}));
}

TEST_F(IfrParserTest, OpcodeRunningPastItsPackIsNotRead) {
  ExportBuilder Export;
  StartForms(Export).CheckBox(0, 1, u"Last");
  Bytes Image = Export.Build();
  const size_t Pack = 18 + hiibuild::GetU32(Image, 18 + 22);
  hiibuild::PutU32(Image, Pack, hiibuild::GetU32(Image, Pack) - 1);  // the checkbox's last byte falls outside
  PutSetup(Bytes(1, 0));
  LoadBytes(Image);
  auto All = Records();
  ASSERT_EQ(All.size(), 1u);
  EXPECT_EQ(All[0]->OpCode, IFR_FORM_OP);
}

TEST_F(IfrParserTest, ZeroSizeTableEndsTheParse) {
  ExportBuilder Export;
  StartForms(Export).EndForm().EndFormSet();
  Bytes Empty(46, 0);  // a table header whose size is 0
  Export.AddRawTable(Empty);
  Export.AddTable(kOtherGuid).Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Unreached").EndForm();
  Export.OverrideTableCount(40);  // more than there are
  Load(Export);
  auto All = Records();
  ASSERT_EQ(All.size(), 1u);
  EXPECT_EQ(All[0]->FormId, 1);
}

TEST_F(IfrParserTest, RecordsFollowTablesInExportOrder) {
  ExportBuilder Export;
  for (uint16_t Id = 1; Id <= 30; ++Id) {
    EFI_GUID Guid = kFormSetGuid;
    Guid.Data1 += Id;
    Export.AddTable(Guid).Ifr().FormSet(Guid, u"Set").Form(Id, u"F").CheckBox(0, 1, u"Q").EndForm().EndFormSet();
  }
  Load(Export);
  auto All = Records();
  ASSERT_EQ(All.size(), 60u);
  for (uint16_t Id = 1; Id <= 30; ++Id) {
    EXPECT_EQ(All[2 * (Id - 1)]->FormId, Id);
    EXPECT_EQ(All[2 * Id - 1]->OpCode, IFR_CHECKBOX_OP);
  }
  EXPECT_EQ(Forms().QuestionsTail, All.back());
}

}  // namespace
}  // namespace forms_test
