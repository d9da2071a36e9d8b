// Each distinct variable is read from the firmware once per load, and what
// records and condition terms see is what a read per use would give.
#include "forms_fixture.h"

namespace forms_test {
namespace {

class VariableReadsTest : public FormsTest {
 protected:
  // Retrieves what is installed, then parses it counting firmware calls.
  void ParseCounting() {
    ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
    Fw().ResetCounters();
    ASSERT_EQ(Forms().ParseForms(), EFI_SUCCESS);
  }
};

// Many questions and condition terms on "Setup" and on a second variable.
ExportBuilder BusyForms() {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"Setup").VariablePack(kOtherGuid, 2, u"Other");
  IfrBuilder &Ifr = Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").VarStoreSelect(1);
  for (uint16_t Offset = 0; Offset < 20; ++Offset) {
    Ifr.SuppressIf().EqIdVal(Offset, 1, 1).And().EqIdVal(0, 1, 1).CheckBox(Offset, 1, u"S").EndIf();
  }
  Ifr.VarStoreSelect(2);
  for (uint16_t Offset = 0; Offset < 5; ++Offset) Ifr.Numeric(Offset, 1, u"O", {0, 3, 1, 0});
  Ifr.VarStoreSelect(3).CheckBox(0, 1, u"Still other").EndForm().EndFormSet();
  return Export;
}

TEST_F(VariableReadsTest, EachDistinctVariableIsReadOncePerLoadEvenWhenTheReadFails) {
  Bytes Setup(20, 0);
  Setup[0] = Setup[4] = 1;
  PutSetup(Setup);
  PutVariable(u"Other", kOtherGuid, Bytes{3, 2, 1, 0, 9});
  Install(BusyForms());
  ParseCounting();
  EXPECT_EQ(Fw().Calls(sim::Service::GetVariable), 2u);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 26u);
  EXPECT_EQ(Kept[0]->Flags, SETUP_QUESTION_SUPPRESSED);
  EXPECT_EQ(Kept[4]->Flags, SETUP_QUESTION_SUPPRESSED);
  EXPECT_EQ(Kept[5]->Flags, 0u);
  EXPECT_EQ(Kept[20]->Value, 3u);
  EXPECT_EQ(Kept[24]->Value, 9u);

  // The next load reads afresh. Now "Setup" is over the read limit: its
  // questions get no width, its terms compare zeros, and a record on it keeps
  // the size and attributes of the last successful read.
  (void)Forms().DiscardForms();
  PutSetup(Bytes(4097, 1));
  Fw().PutVariable(u"Other", kOtherGuid, 0x3, Bytes{7, 7, 7, 7, 7, 7});
  ParseCounting();
  EXPECT_EQ(Fw().Calls(sim::Service::GetVariable), 2u);
  Kept = Questions();
  ASSERT_EQ(Kept.size(), 26u);
  for (size_t I = 0; I < 20; ++I) {
    EXPECT_EQ(Kept[I]->Width, 0) << I;
    EXPECT_EQ(Kept[I]->Flags, 0u) << I;
  }
  EXPECT_EQ(Kept[20]->Value, 7u);
  EXPECT_EQ(Kept[24]->VariableSize, 6u);
  EXPECT_EQ(Kept[20]->VariableAttributes, 0x3u);
}

// A warning is not data: GetVariable gave the buffer nothing it can vouch
// for, so the variable counts as unreadable, as for an error.
TEST_F(VariableReadsTest, AWarningFromGetVariableIsNoData) {
  PutSetup(Bytes{1, 1, 1, 1});
  ExportBuilder Export;
  StartForms(Export).CheckBox(1, 1, u"Q").EndForm().EndFormSet();
  Install(Export);
  ASSERT_EQ(Forms().RetrieveForms(), EFI_SUCCESS);
  Fw().FailNthCall(sim::Service::GetVariable, 1, EFI_WARN_BUFFER_TOO_SMALL);
  ASSERT_EQ(Forms().ParseForms(), EFI_SUCCESS);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 1u);
  EXPECT_EQ(Kept[0]->Width, 0);
  EXPECT_EQ(Kept[0]->Value, 0u);
}

TEST_F(VariableReadsTest, NoFormSetGuidMeansNoReadsAtAll) {
  ExportBuilder Export;
  Export.AddTable(kFormSetGuid).Ifr().Form(1, u"Main").SuppressIf().EqIdVal(0, 1, 0).CheckBox(0, 1, u"Q").EndIf();
  PutSetup(Bytes{1});
  Install(Export);
  ParseCounting();
  EXPECT_EQ(Fw().Calls(sim::Service::GetVariable), 0u);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 1u);
  EXPECT_EQ(Kept[0]->Width, 0);
  EXPECT_EQ(Kept[0]->VariableGuid, nullptr);
  EXPECT_EQ(Kept[0]->Flags, SETUP_QUESTION_SUPPRESSED);  // zeros equal 0
}

// "Setup" of each table is the same name (the database's own) under each
// table's form set GUID: two variables, read once each.
TEST_F(VariableReadsTest, TheSameNameUnderAnotherGuidIsAnotherVariable) {
  ExportBuilder Export;
  StartForms(Export).CheckBox(0, 1, u"First").EndForm().EndFormSet();
  Export.AddTable(kOtherGuid).Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Second").CheckBox(0, 1, u"Other")
      .CheckBox(0, 1, u"Again").EndForm().EndFormSet();
  PutSetup(Bytes{1});
  PutVariable(u"Setup", kOtherGuid, Bytes{2});
  Install(Export);
  ParseCounting();
  EXPECT_EQ(Fw().Calls(sim::Service::GetVariable), 2u);
  EXPECT_EQ(Map([](const SetupQuestion *Q) { return Q->Value; }, true), (std::vector<uint32_t>{1, 2, 2}));
}

}  // namespace
}  // namespace forms_test
