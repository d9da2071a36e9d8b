// Loading the forms on first need, and the reload-and-retry that follows a
// change which reshapes them, driven by test work steps.
#include "driver/image_state.h"
#include "driver/reload_retry.h"
#include "driver/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <vector>

namespace {

constexpr EFI_STATUS STEP_FAILURE = EFI_DEVICE_ERROR;

// What a test work step does on each pass, and what it saw.
struct Script {
  std::vector<bool> SetReloadOnPass;     // pass i sets ReloadRequired
  std::vector<EFI_STATUS> ResultOfPass;  // pass i returns this (default success)
  std::vector<UINT8> DeferSeen;          // DeferAfterReloadChange during each pass
  std::vector<UINT8> FormsLoadedSeen;
};

Script Plan(std::vector<bool> SetReload, std::vector<EFI_STATUS> Results = {}) {
  Script S;
  S.SetReloadOnPass = std::move(SetReload);
  S.ResultOfPass = std::move(Results);
  return S;
}

EFI_STATUS ScriptedStep(SettingsEngine &Engine, void *Argument) {
  auto &S = *static_cast<Script *>(Argument);
  const size_t Pass = S.DeferSeen.size();
  S.DeferSeen.push_back(gImage.DeferAfterReloadChange);
  S.FormsLoadedSeen.push_back(Engine.FormsLoaded);
  if (Pass < S.SetReloadOnPass.size() && S.SetReloadOnPass[Pass]) gImage.ReloadRequired = 1;
  return Pass < S.ResultOfPass.size() ? S.ResultOfPass[Pass] : EFI_SUCCESS;
}

class ReloadRetryTest : public DriverTest {
 protected:
  void PreparePlatform() override { InstallEmptyHii(); }
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  }
  EFI_STATUS Run(Script &S) { return RunWithReloadAndRetry(*gImage.Engine, ScriptedStep, &S); }
  // Each load of the forms measures and then exports: two calls.
  uint64_t FormLoads() { return Fw().Calls(sim::Service::HiiExportDatabase) / 2; }
};

TEST_F(ReloadRetryTest, NoReshapingChangeMeansOnePassAndNoReload) {
  Script S;
  EXPECT_EQ(Run(S), EFI_SUCCESS);
  EXPECT_EQ(S.DeferSeen, (std::vector<UINT8>{1}));
  EXPECT_EQ(S.FormsLoadedSeen, (std::vector<UINT8>{1}));
  EXPECT_EQ(FormLoads(), 1u);
  EXPECT_EQ(gImage.DeferAfterReloadChange, 1);
}

TEST_F(ReloadRetryTest, ReshapingChangeReloadsOnceAndRunsASecondPass) {
  Script S = Plan({true});
  EXPECT_EQ(Run(S), EFI_SUCCESS);
  EXPECT_EQ(S.DeferSeen, (std::vector<UINT8>{1, 0}));
  EXPECT_EQ(S.FormsLoadedSeen, (std::vector<UINT8>{1, 1}));
  EXPECT_EQ(FormLoads(), 2u);
  EXPECT_EQ(gImage.ReloadRequired, 0);
  EXPECT_EQ(gImage.DeferAfterReloadChange, 0);

  // Deferral stays off for the rest of the driver's life, sessions included.
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  Script Later = Plan({true});
  EXPECT_EQ(Run(Later), EFI_SUCCESS);
  EXPECT_EQ(Later.DeferSeen, (std::vector<UINT8>{0, 0}));
}

TEST_F(ReloadRetryTest, AtMostOneRetryEvenIfTheSecondPassAsksAgain) {
  Script S = Plan({true, true});
  EXPECT_EQ(Run(S), EFI_SUCCESS);
  EXPECT_EQ(S.DeferSeen.size(), 2u);
  EXPECT_EQ(gImage.ReloadRequired, 0);
}

TEST_F(ReloadRetryTest, FailedFirstPassIsReturnedWithoutReload) {
  Script S = Plan({true}, {STEP_FAILURE});
  EXPECT_EQ(Run(S), STEP_FAILURE);
  EXPECT_EQ(S.DeferSeen.size(), 1u);
  EXPECT_EQ(FormLoads(), 1u);
  EXPECT_EQ(gImage.ReloadRequired, 1) << "the step's flag is kept";
  EXPECT_EQ(gImage.DeferAfterReloadChange, 1);
}

TEST_F(ReloadRetryTest, FailedSecondPassKeepsTheFlagAndTheNextCallRetries) {
  Script Failing = Plan({true}, {EFI_SUCCESS, STEP_FAILURE});
  EXPECT_EQ(Run(Failing), STEP_FAILURE);
  EXPECT_EQ(Failing.DeferSeen.size(), 2u);
  EXPECT_EQ(gImage.ReloadRequired, 1);

  // A later call that changes nothing reshaping still reloads and retries.
  Script Quiet;
  EXPECT_EQ(Run(Quiet), EFI_SUCCESS);
  EXPECT_EQ(Quiet.DeferSeen.size(), 2u);
  EXPECT_EQ(gImage.ReloadRequired, 0);
}

TEST_F(ReloadRetryTest, FailedReloadKeepsTheFlagAndLeavesTheFormsUnloaded) {
  Script S = Plan({true});
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  // The first pass uses the loaded forms; the reload's measuring call fails.
  Fw().FailNthCall(sim::Service::LocateHandle, 1, EFI_NOT_FOUND);
  EXPECT_EQ(Run(S), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(S.DeferSeen.size(), 1u);
  EXPECT_EQ(gImage.ReloadRequired, 1);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
  // The next operation loads them again.
  EXPECT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
}

using FormsLoadingTest = DriverTest;

TEST_F(FormsLoadingTest, MissingHiiIsAVariableAccessFailureAndIsRetriedNextTime) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  BIOS_SETTING_REQUEST Request{};
  EXPECT_EQ(Proto()->GetSettings(Proto(), &Request), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_VARIABLE_ACCESS)
      << "the forms are read before the list is looked at";
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
  EXPECT_EQ(ErrorText(), u"") << "a form failure sets no text";

  InstallEmptyHii();
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 1);
}

TEST_F(FormsLoadingTest, EveryFormOperationLoadsTheFormsFirst) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  BIOS_SETTING_REQUEST Request{};
  BIOS_SETTING_VALUE Value{};
  CHAR8 IniName[] = "setup.ini";
  BIOS_CONFIG_PROTOCOL *P = Proto();
  EXPECT_EQ(P->GetSettings(P, &Request), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(P->GetFormSettings(P, &Request), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(P->SetSettings(P, &Value), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(P->SetFormSettings(P, &Value), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(P->SaveSettingsToIni(P, IniName), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(P->LoadSettingsFromIni(P, IniName), BCFG_E_VARIABLE_ACCESS);
}

TEST_F(FormsLoadingTest, FormsLoadOncePerSession) {
  InstallEmptyHii();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Proto()->GetFormSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 2u);
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(Proto()->SetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 4u) << "a new session reads the forms again";
}

}  // namespace
