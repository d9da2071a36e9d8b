// The IFR walk: which records are kept, in which order, with which options,
// and how the walk ends on zero lengths and sizes.
#include "forms_fixture.h"

namespace forms_test {
namespace {

using IfrParserTest = FormsTest;
using Texts = std::vector<std::u16string>;
using Values = std::vector<uint32_t>;

TEST_F(IfrParserTest, FormsAndQuestionsBecomeRecordsInIfrOrder) {
  ExportBuilder Export;
  StartForms(Export)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Zero", 0}, {u"One", 1}, {u"Two", 2}}, 0)
      .CheckBox(1, 1, u"Switch")
      .Numeric(2, 2, u"Count", {0, 40, 1, 0})
      .EndForm()
      .Form(2, u"Empty").EndForm()
      .Form(3, u"Third").CheckBox(4, 1, u"Box").EndForm()
      .EndFormSet();
  PutSetup(Bytes{2, 0, 0, 0, 0});
  Load(Export);
  std::vector<uint8_t> OpCodes;
  for (const SetupQuestion *Q : Records()) OpCodes.push_back(Q->OpCode);
  EXPECT_EQ(OpCodes, (std::vector<uint8_t>{IFR_FORM_OP, IFR_ONE_OF_OP, IFR_CHECKBOX_OP, IFR_NUMERIC_OP, IFR_FORM_OP,
                                           IFR_FORM_OP, IFR_CHECKBOX_OP}));
  EXPECT_EQ(Prompts(), (Texts{u"Main", u"Mode", u"Switch", u"Count", u"Empty", u"Third", u"Box"}));
  auto All = Records();
  EXPECT_EQ(All[5]->FormId, 3);
  EXPECT_TRUE(OptionsOf(All[5]).empty());
  EXPECT_EQ(All[1]->Value, 2u);
  EXPECT_EQ(OptionTexts(All[1]), (Texts{u"Two", u"One", u"Zero"}));
  EXPECT_EQ(OptionValues(All[1]), (Values{2, 1, 0}));
  EXPECT_EQ(All[2]->Offset, 1);
  EXPECT_EQ(OptionTexts(All[2]), (Texts{u"Enabled", u"Disabled"}));
  EXPECT_EQ(OptionValues(All[2]), (Values{1, 0}));
  // Option texts are handed to clients that only address the low 4 GiB.
  size_t Checked = 0;
  for (const SetupQuestion *Q : Questions()) {
    for (const OptionView &O : OptionsOf(Q)) {
      EXPECT_LE(reinterpret_cast<uintptr_t>(O.Text) + 2 * (O.TextLength + 1), 0x100000000ull);
      ++Checked;
    }
  }
  EXPECT_EQ(Checked, 3u + 2u + 41u + 2u);
}

TEST_F(IfrParserTest, NumericOptionsRunFromTheHighestValueDown) {
  struct Case {
    uint16_t Minimum, Maximum, Step;
    Values Expected;
    Texts ExpectedTexts;
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
    EXPECT_EQ(OptionValues(Kept[I]), Cases[I].Expected);
    EXPECT_EQ(OptionTexts(Kept[I]), Cases[I].ExpectedTexts);
  }
}

// Ordered lists and truncated questions keep no record; their options must
// not become those of another record.
TEST_F(IfrParserTest, OptionsOfQuestionsWithoutARecordAreDropped) {
  ExportBuilder Export;
  StartForms(Export)
      .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}}, 0)
      .OrderedList(4, 3, u"Boot order").Option(u"Disk", 1).Option(u"Network", 2).EndOneOf()
      .CheckBox(1, 1, u"Box")
      .Raw({0x05, 0x05, 0x00, 0x00, 0x01})  // one-of without its prompt
      .Option(u"Stray", 5).EndOneOf()
      .Raw({0x07, 0x0C, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00})  // numeric without its range
      .Raw({0x01, 0x04, 0x09, 0x00})  // form without its title
      .OrderedList(8, 2, u"Another order").Option(u"First", 1).EndOneOf()
      .EndForm().EndFormSet();
  PutSetup(Bytes(12, 0));
  Load(Export);
  EXPECT_EQ(Prompts(), (Texts{u"Main", u"Mode", u"Box"}));
  EXPECT_EQ(OptionTexts(Records()[1]), (Texts{u"On", u"Off"}));
  EXPECT_EQ(OptionTexts(Records()[2]), (Texts{u"Enabled", u"Disabled"}));
  EXPECT_EQ(Forms().PendingOptions.Count(), 0u);
}

TEST_F(IfrParserTest, ZeroLengthOpcodeEndsItsPackAndZeroSizeTableEndsTheParse) {
  ExportBuilder Export;
  StartForms(Export).CheckBox(0, 1, u"Before").Raw({0x06, 0x00}).CheckBox(1, 1, u"After").EndForm().EndFormSet();
  Export.AddTable(kOtherGuid).Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Second").EndForm().EndFormSet();
  Export.AddRawTable(Bytes(46, 0));  // a table header whose size is 0
  Export.AddTable(kOtherGuid).Ifr().FormSet(kOtherGuid, u"Other").Form(3, u"Unreached").EndForm();
  Export.OverrideTableCount(40);  // more than there are
  PutSetup(Bytes(2, 0));
  Load(Export);
  EXPECT_EQ(Prompts(), (Texts{u"Main", u"Before", u"Second"}));
}

// An opcode that starts inside its pack is read when its bytes lie inside
// the export, wherever the pack's length says the pack ends.
TEST_F(IfrParserTest, OpcodeRunningPastItsPackIsReadWhileInsideTheExport) {
  struct Case {
    const char *Name;
    hiibuild::PackOrder Layout;
    size_t CutFromTheEnd;
    Texts Expected;
  };
  const Case Cases[] = {
      {"string packs follow the pack", hiibuild::PackOrder::VariablesIfrStrings, 0, {u"Main", u"Last"}},
      {"the opcode's last byte is past the export", hiibuild::PackOrder::VariablesStringsIfr, 1, {u"Main"}},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    ExportBuilder Export;
    DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
    // The pack's length leaves out the checkbox's last byte.
    Table.Layout(C.Layout).IfrPackLength(hiibuild::LengthField::Plus(-1));
    Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"Last");
    Bytes Image = Export.Build();
    Image.resize(Image.size() - C.CutFromTheEnd);
    PutSetup(Bytes(1, 0));
    LoadBytes(Image);
    EXPECT_EQ(Prompts(), C.Expected);
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

}  // namespace
}  // namespace forms_test
