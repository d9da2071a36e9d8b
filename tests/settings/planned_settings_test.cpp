// SetSettings and SetFormSettings through the second protocol: a plan
// leaves every record as the real run leaves it and writes nothing; masked
// values are marked; combined writes give the bytes of one write per
// question.
#include "settings/reload_flags.h"
#include "tests/settings/settings_fixture.h"
#include "tests/support/step_recorder.h"

namespace {

class PlannedSettings : public SettingsTest {
 protected:
  EFI_STATUS RunSet(ValueList &L, StepRecorder &Steps, bool Plan) {
    const BIOS_CONFIG_RUN R = Steps.Run(Plan);
    return Extensions()->RunSetSettings(Extensions(), L.Head(), &R);
  }
  EFI_STATUS RunSetForm(ValueList &L, StepRecorder &Steps, bool Plan) {
    const BIOS_CONFIG_RUN R = Steps.Run(Plan);
    return Extensions()->RunSetFormSettings(Extensions(), L.Head(), &R);
  }
  std::vector<sim::VariableRecord> Variables() { return Fw().Variables(); }
};

bool SameBytes(const std::vector<sim::VariableRecord> &A, const std::vector<sim::VariableRecord> &B) {
  if (A.size() != B.size()) return false;
  for (size_t I = 0; I < A.size(); ++I) {
    if (A[I].Name != B[I].Name || A[I].Data != B[I].Data) return false;
  }
  return true;
}

// On a freshly loaded driver, Console Redirection switched on holds back the
// rest of its form; the plan's second pass on forms built from its own copy
// of the variables reaches Baud Rate, as the real second pass does.
TEST_F(PlannedSettings, APlanOfAReshapingListEndsAsTheRunWithTheSameRecords) {
  const auto Before = Variables();
  ValueList Planned({{u"Console Redirection", 0}, {u"Console Redirection", 1}, {u"Baud Rate", 2}});
  StepRecorder PlannedSteps;
  ASSERT_EQ(RunSetForm(Planned, PlannedSteps, true), EFI_SUCCESS);
  EXPECT_EQ(PlannedSteps.Steps(), (std::vector<std::string>{
                                      "change 1 [Console Redirection] Console Redirection 0->1 reshapes",
                                      "change 2 [Console Redirection] Baud Rate 4->2"}));
  EXPECT_TRUE(SameBytes(Variables(), Before)) << "a plan writes nothing";
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 1);

  ValueList Real({{u"Console Redirection", 0}, {u"Console Redirection", 1}, {u"Baud Rate", 2}});
  StepRecorder RealSteps;
  ASSERT_EQ(RunSetForm(Real, RealSteps, false), EFI_SUCCESS);
  EXPECT_EQ(RealSteps.Steps(), PlannedSteps.Steps());
  EXPECT_EQ(Real.Statuses(), Planned.Statuses());
  EXPECT_EQ(SampleStored(u"Baud Rate", 41), 2u);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 0) << "the real retry clears it";
}

TEST_F(PlannedSettings, ARefusalIsPlannedWithTheRunsRecordsAndText) {
  ValueList Planned({{u"Quiet Boot", 0}, {u"Power Restore Policy", 9}});
  StepRecorder Steps;
  EXPECT_EQ(RunSet(Planned, Steps, true), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(Steps.Steps(), (std::vector<std::string>{"change 1 [Main] Quiet Boot 1->0",
                                                     "refuse 1 [Advanced] Power Restore Policy 1->9"}));
  EXPECT_EQ(Planned.Statuses(), (std::vector<int>{1, 2}));
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 1u);

  ValueList Real({{u"Quiet Boot", 0}, {u"Power Restore Policy", 9}});
  EXPECT_EQ(Set(Real), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(Real.Statuses(), Planned.Statuses());
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u);
}

TEST_F(PlannedSettings, UnknownFlagsAndAMissingRunAreRefused) {
  ValueList L({{u"Quiet Boot", 0}});
  BIOS_CONFIG_RUN Odd{};
  Odd.Flags = 0x80;
  EXPECT_EQ(Extensions()->RunSetSettings(Extensions(), L.Head(), &Odd), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Extensions()->RunSetSettings(Extensions(), L.Head(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Extensions()->SetWriteMode(Extensions(), 2), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 1u);
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  BIOS_CONFIG_RUN Plan{};
  Plan.Flags = BIOS_CONFIG_RUN_PLAN;
  EXPECT_EQ(Extensions()->RunSetSettings(Extensions(), L.Head(), &Plan), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), BCFG_E_GENERAL_FAILURE);
}

// Questions without options take any 32-bit value; what their width cannot
// hold is cut off, and the steps say so before it happens.
class MaskedValues : public SettingsTest {
 protected:
  void SetUp() override {
    SettingsTest::SetUp();
    UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(1, u"Free")
                      .Numeric(0, 1, u"Free Byte", {.Minimum = 0, .Maximum = 0, .Step = 0})
                      .Numeric(2, 2, u"Free Word", {.Minimum = 0, .Maximum = 0, .Step = 0})
                      .EndForm();
                }),
                {{u"Setup", hiibuild::VariableImage(8)}}, kTestFormSetGuid);
  }
};

TEST_F(MaskedValues, APlanMarksWhatTheWidthKeeps) {
  ValueList L({{u"Free Byte", 0x1FF}, {u"Free Word", 0x12345}});
  StepRecorder Steps;
  const BIOS_CONFIG_RUN Plan = Steps.Run(true);
  ASSERT_EQ(Extensions()->RunSetSettings(Extensions(), L.Head(), &Plan), EFI_SUCCESS);
  EXPECT_EQ(Steps.Steps(), (std::vector<std::string>{"change 1 [Free] Free Byte 0->511 masked=255",
                                                     "change 1 [Free] Free Word 0->74565 masked=9029"}));
  ValueList Real({{u"Free Byte", 0x1FF}, {u"Free Word", 0x12345}});
  ASSERT_EQ(Set(Real), EFI_SUCCESS);
  EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 0, 1), 0xFFu);
  EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 2, 2), 0x2345u);
}

// Three records into two variables: one read and one write of each, the
// same bytes as one write per question.
TEST_F(PlannedSettings, CombinedWritesReadAndWriteEachChangedVariableOnce) {
  const auto Start = Variables();
  ValueList PerQuestion({{u"Quiet Boot", 0}, {u"Wake on LAN", 0}, {u"Power Restore Policy", 2}});
  Fw().ResetCounters();
  ASSERT_EQ(Set(PerQuestion), EFI_SUCCESS);
  const uint64_t PerQuestionWrites = Fw().Calls(sim::Service::SetVariable);
  const auto Expected = Variables();
  ASSERT_FALSE(SameBytes(Expected, Start));

  for (const auto &V : Start) Fw().PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), EFI_SUCCESS);
  ValueList Combined({{u"Quiet Boot", 0}, {u"Wake on LAN", 0}, {u"Power Restore Policy", 2}});
  ASSERT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);  // forms loaded
  Fw().ResetCounters();
  ASSERT_EQ(Set(Combined), EFI_SUCCESS);
  EXPECT_TRUE(SameBytes(Variables(), Expected));
  EXPECT_EQ(Combined.Statuses(), PerQuestion.Statuses());
  EXPECT_LT(Fw().Calls(sim::Service::SetVariable), PerQuestionWrites);
  EXPECT_EQ(Fw().Calls(sim::Service::SetVariable), Fw().Calls(sim::Service::GetVariable));
}

// A combined write that the firmware refuses: the records of its changes
// are put back to "not applied", the others stay, and the text names the
// first question whose change was lost.
TEST_F(PlannedSettings, ARefusedCombinedWritePutsItsRecordsBack) {
  ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), EFI_SUCCESS);
  const auto Start = Variables();
  ValueList L({{u"Quiet Boot", 0}, {u"Wake on LAN", 0}});
  Fw().FailNthCall(sim::Service::SetVariable, 1, EFI_WRITE_PROTECTED);
  StepRecorder Steps;
  EXPECT_EQ(RunSet(L, Steps, false), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable Quiet Boot\n");
  EXPECT_TRUE(SameBytes(Variables(), Start)) << "both live in the one variable that was refused";
  EXPECT_EQ(L.Statuses(), (std::vector<int>{0, 0}));
  EXPECT_EQ(Steps.Steps(), (std::vector<std::string>{"change 1 [Main] Quiet Boot 1->0 not-stored",
                                                     "change 1 [Advanced] Wake on LAN 1->0 not-stored"}));
}

// Within one pass the overlay, not the firmware, takes the changes: a value
// changed and changed back is no write at all, and a pass that stops still
// writes what it changed before the stop, as one write per question would.
TEST_F(PlannedSettings, CombinedPassesWriteWhatDiffersEvenWhenTheyStop) {
  ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), EFI_SUCCESS);
  ValueList BackAndForth({{u"Quiet Boot", 0}, {u"Quiet Boot", 1}});
  const uint64_t Writes = SetVariableCalls();
  ASSERT_EQ(Set(BackAndForth), EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(BackAndForth.Statuses(), (std::vector<int>{1, 1}));

  ValueList Stopping({{u"Quiet Boot", 0}, {u"Power Restore Policy", 9}});
  EXPECT_EQ(Set(Stopping), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u) << "written at the stop";
  EXPECT_EQ(SetVariableCalls(), Writes + 1);
}

// A variable that shrank after the forms were read: the second question's
// bytes now lie beyond it, so its write fails. One write per question keeps
// the change made before it; a combined pass abandons every change it held.
// A plan must tell each mode's outcome, not one for both.
class ShrunkVariable : public PlannedSettings {
 protected:
  void SetUp() override {
    PlannedSettings::SetUp();
    UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(1, u"Short").CheckBox(0, 1, u"Near").CheckBox(4, 1, u"Far").EndForm();
                }),
                {{u"Setup", hiibuild::VariableImage(8)}}, kTestFormSetGuid);
  }
  void Shrink() {
    Fw().PutVariable(u"Setup", kTestFormSetGuid, 0x7, hiibuild::VariableImage(8).Data());
    RequestList Load({u"Near"});
    ASSERT_EQ(Get(Load), EFI_SUCCESS);  // the forms, read while it is whole
    Fw().PutVariable(u"Setup", kTestFormSetGuid, 0x7, hiibuild::VariableImage(2).Data());
  }
};

TEST_F(ShrunkVariable, APlanEndsAsTheRealRunInEitherWriteMode) {
  for (const bool Combined : {false, true}) {
    SCOPED_TRACE(Combined ? "combined writes" : "one write per question");
    ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), Combined ? BIOS_CONFIG_WRITES_COMBINED
                                                                : BIOS_CONFIG_WRITES_PER_QUESTION),
              EFI_SUCCESS);
    Shrink();
    const auto Start = Variables();
    ValueList Planned({{u"Near", 1}, {u"Far", 1}});
    StepRecorder Steps;
    EXPECT_EQ(RunSet(Planned, Steps, true), BCFG_E_VARIABLE_ACCESS);
    EXPECT_TRUE(SameBytes(Variables(), Start));
    EXPECT_EQ(Planned.Statuses(), Combined ? (std::vector<int>{0, 0}) : (std::vector<int>{1, 0}));

    ValueList Real({{u"Near", 1}, {u"Far", 1}});
    EXPECT_EQ(RunSet(Real, Steps, false), BCFG_E_VARIABLE_ACCESS);
    EXPECT_EQ(Real.Statuses(), Planned.Statuses());
    EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 0, 1), Combined ? 0u : 1u);
  }
}

}  // namespace
