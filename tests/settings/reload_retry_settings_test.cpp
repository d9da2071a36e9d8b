// SetFormSettings switching a form-reshaping question on the sample
// platform: "Console Redirection" adds the terminal settings to its form,
// so the rest of the list is applied again on the rebuilt forms.
#include "settings/reload_flags.h"
#include "tests/settings/settings_fixture.h"

#include "driver/image_state.h"

namespace {

class ReshapingChange : public SettingsTest {
 protected:
  // Each load of the forms measures and then exports: two calls.
  uint64_t FormLoads() { return Fw().Calls(sim::Service::HiiExportDatabase) / 2; }
  uint32_t Console() { return SampleStored(u"Console Redirection", 41); }
  uint32_t Baud() { return SampleStored(u"Baud Rate", 41); }
};

TEST_F(ReshapingChange, FirstPassDefersTheRestOfTheFormAndTheSecondWritesIt) {
  ASSERT_EQ(Baud(), 4u);
  ValueList L({{u"Console Redirection", 0}, {u"Console Redirection", 1}, {u"Baud Rate", 2}});
  const uint64_t Writes = SetVariableCalls();
  ASSERT_EQ(SetForm(L), EFI_SUCCESS);
  // Baud Rate was suppressed while redirection was off: only the second
  // pass, on forms read again after the change, can reach it.
  EXPECT_EQ(Console(), 1u);
  EXPECT_EQ(Baud(), 2u);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(FormLoads(), 2u);
  EXPECT_EQ(SetVariableCalls() - Writes, 2u) << "the second pass finds Console Redirection stored";
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 0);

  // Back to 0 reshapes nothing: no reload.
  ValueList Off({{u"Console Redirection", 0}, {u"Console Redirection", 0}});
  ASSERT_EQ(SetForm(Off), EFI_SUCCESS);
  EXPECT_EQ(Console(), 0u);
  EXPECT_EQ(FormLoads(), 2u);
}

TEST_F(ReshapingChange, AFailedSecondPassLeavesTheRetryPendingForLaterCallsAndSessions) {
  ValueList L({{u"Server Management", 0}, {u"FRB-2 Enable", 0}, {u"EuP LOT6 Off-Mode", 1}});
  ASSERT_EQ(SetForm(L), EFI_SUCCESS);
  EXPECT_EQ(FormLoads(), 1u) << "nothing here reshapes the forms";

  ValueList Reshape({{u"Console Redirection", 0}, {u"Console Redirection", 2}, {u"Flow Control", 1}});
  Fw().FailNthCall(sim::Service::SetVariable, 2, EFI_DEVICE_ERROR);  // the second pass's write
  EXPECT_EQ(SetForm(Reshape), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(Console(), 2u);
  EXPECT_EQ(SampleStored(u"Flow Control", 41), 0u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1) << "a failed second pass leaves the retry pending";
  EXPECT_EQ(FormLoads(), 2u);

  // The next SetFormSettings reloads and runs twice, even though its own
  // list reshapes nothing; so does one in a later session.
  ValueList Plain({{u"Server Management", 0}, {u"FRB-2 Enable", 1}});
  ASSERT_EQ(SetForm(Plain), EFI_SUCCESS);
  EXPECT_EQ(FormLoads(), 3u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);

  gReloadFlags.ReloadRequired = 1;  // as a failed second pass of an earlier session left it
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(SetForm(Plain), EFI_SUCCESS);
  EXPECT_EQ(FormLoads(), 5u) << "the new session's load, then the retry's";
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
}

TEST_F(ReshapingChange, ARejectedReshapingValueStillAsksForTheRetry) {
  ValueList L({{u"Console Redirection", 0}, {u"Console Redirection", 5}});
  EXPECT_EQ(SetForm(L), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1);
  EXPECT_EQ(Console(), 0u);
}

TEST_F(ReshapingChange, AfterTheFirstRetryTheFirstPassWritesTheWholeList) {
  ValueList First({{u"Console Redirection", 0}, {u"Console Redirection", 1}});
  ASSERT_EQ(SetForm(First), EFI_SUCCESS);
  ASSERT_EQ(gReloadFlags.DeferAfterReloadChange, 0);
  // Now switching to port B writes Baud Rate in the first pass already (it
  // is visible), and the second pass finds it stored.
  ValueList Second({{u"Console Redirection", 0}, {u"Console Redirection", 2}, {u"Baud Rate", 1}});
  const uint64_t Writes = SetVariableCalls();
  ASSERT_EQ(SetForm(Second), EFI_SUCCESS);
  EXPECT_EQ(Console(), 2u);
  EXPECT_EQ(Baud(), 1u);
  EXPECT_EQ(SetVariableCalls() - Writes, 2u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
}

// A form set whose questions move when "Console Redirection" (offset 0)
// is switched on, so that writing them before the forms are read again
// would hit the wrong bytes. Two forms carry the title; in the second the
// reshaping prompt names a question that already holds 1.
//   form 1: Console Redirection @0; Terminal @1 while it is 0, @2 while 1
//   form 2: Console Redirection @5 (holds 1); Later @3 while @0 is 0, @4 while 1
class MovingQuestions : public SettingsTest {
 protected:
  void SetUp() override {
    SettingsTest::SetUp();
    hiibuild::VariableImage Setup(8);
    Setup.Set(5, 1, 1);
    const std::vector<hiibuild::OptionEntry> Port = {{u"Disabled", 0}, {u"Port A", 1}};
    UsePlatform(TestExport([&](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(1, u"Console Redirection").OneOfWithOptions(0, 1, u"Console Redirection", Port, 0);
                  Ifr.SuppressIf().EqIdVal(0, 1, 1).CheckBox(1, 1, u"Terminal").EndIf();
                  Ifr.SuppressIf().EqIdVal(0, 1, 0).CheckBox(2, 1, u"Terminal").EndIf();
                  Ifr.EndForm();
                  Ifr.Form(2, u"Console Redirection").OneOfWithOptions(5, 1, u"Console Redirection", Port, 1);
                  Ifr.SuppressIf().EqIdVal(0, 1, 1).CheckBox(3, 1, u"Later").EndIf();
                  Ifr.SuppressIf().EqIdVal(0, 1, 0).CheckBox(4, 1, u"Later").EndIf();
                  Ifr.EndForm();
                }),
                {{u"Setup", Setup}}, kTestFormSetGuid);
  }
  uint32_t At(size_t Offset) { return Stored(u"Setup", kTestFormSetGuid, Offset, 1); }
};

TEST_F(MovingQuestions, TheRestOfTheFormWaitsForTheRebuiltForms) {
  ValueList L({{u"Console Redirection", 0}, {u"Console Redirection", 1}, {u"Terminal", 1}});
  ASSERT_EQ(SetForm(L), EFI_SUCCESS);
  EXPECT_EQ(At(0), 1u);
  EXPECT_EQ(At(1), 0u) << "written into the question's old place";
  EXPECT_EQ(At(2), 1u);
}

TEST_F(MovingQuestions, EveryFormStartsWritingAgain) {
  // Form 1 defers after the change; form 2 (same title, its reshaping
  // question already at 1) writes Later in the first pass, where Later still
  // is @3, and the second pass writes it @4.
  ValueList L({{u"Console Redirection", 0}, {u"Console Redirection", 1}, {u"Later", 1}});
  ASSERT_EQ(SetForm(L), EFI_SUCCESS);
  EXPECT_EQ(At(0), 1u);
  EXPECT_EQ(At(3), 1u);
  EXPECT_EQ(At(4), 1u);
}

}  // namespace
