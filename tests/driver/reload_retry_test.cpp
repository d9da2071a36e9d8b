// The reload-and-retry that follows a change which reshapes the forms,
// driven by test work steps.
#include "driver/image_state.h"
#include "driver/reload_retry.h"
#include "settings/reload_flags.h"
#include "settings/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <utility>
#include <vector>

namespace {

constexpr EFI_STATUS STEP_FAILURE = EFI_DEVICE_ERROR;

// What a test work step does on each pass, and what it saw.
struct Script {
  explicit Script(std::vector<bool> SetReload = {}, std::vector<EFI_STATUS> Results = {})
      : SetReloadOnPass(std::move(SetReload)), ResultOfPass(std::move(Results)) {}
  std::vector<bool> SetReloadOnPass;     // pass i sets ReloadRequired
  std::vector<EFI_STATUS> ResultOfPass;  // pass i returns this (default success)
  std::vector<UINT8> DeferSeen;          // DeferAfterReloadChange during each pass
  std::vector<UINT8> FormsLoadedSeen;
};

EFI_STATUS ScriptedStep(SettingsEngine &Engine, void *Argument) {
  auto &S = *static_cast<Script *>(Argument);
  const size_t Pass = S.DeferSeen.size();
  S.DeferSeen.push_back(gReloadFlags.DeferAfterReloadChange);
  S.FormsLoadedSeen.push_back(Engine.FormsLoaded);
  if (Pass < S.SetReloadOnPass.size() && S.SetReloadOnPass[Pass]) gReloadFlags.ReloadRequired = 1;
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

TEST_F(ReloadRetryTest, ReshapingChangeReloadsOnceAndRunsOneSecondPass) {
  Script Plain;
  EXPECT_EQ(Run(Plain), EFI_SUCCESS);
  EXPECT_EQ(Plain.DeferSeen, (std::vector<UINT8>{1}));
  EXPECT_EQ(Plain.FormsLoadedSeen, (std::vector<UINT8>{1}));
  EXPECT_EQ(FormLoads(), 1u);

  Script S{{true, true}};  // the second pass asks again: still one retry
  EXPECT_EQ(Run(S), EFI_SUCCESS);
  EXPECT_EQ(S.DeferSeen, (std::vector<UINT8>{1, 0}));
  EXPECT_EQ(S.FormsLoadedSeen, (std::vector<UINT8>{1, 1}));
  EXPECT_EQ(FormLoads(), 2u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);

  // Deferral stays off for the rest of the driver's life, sessions included.
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  Script Later{{true}};
  EXPECT_EQ(Run(Later), EFI_SUCCESS);
  EXPECT_EQ(Later.DeferSeen, (std::vector<UINT8>{0, 0}));
}

TEST_F(ReloadRetryTest, FailedPassesKeepTheFlagAndTheNextCallRetries) {
  Script FirstFails{{true}, {STEP_FAILURE}};
  EXPECT_EQ(Run(FirstFails), STEP_FAILURE);
  EXPECT_EQ(FirstFails.DeferSeen.size(), 1u) << "no reload after a failed first pass";
  EXPECT_EQ(FormLoads(), 1u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 1);

  gReloadFlags.ReloadRequired = 0;
  Script SecondFails{{true}, {EFI_SUCCESS, STEP_FAILURE}};
  EXPECT_EQ(Run(SecondFails), STEP_FAILURE);
  EXPECT_EQ(SecondFails.DeferSeen.size(), 2u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1);

  Script Quiet;  // changes nothing reshaping, yet reloads and retries
  EXPECT_EQ(Run(Quiet), EFI_SUCCESS);
  EXPECT_EQ(Quiet.DeferSeen.size(), 2u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
}

TEST_F(ReloadRetryTest, FailedReloadKeepsTheFlagAndLeavesTheFormsUnloaded) {
  Script S{{true}};
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  // The first pass uses the loaded forms; the reload's measuring call fails.
  Fw().FailNthCall(sim::Service::LocateHandle, 1, EFI_NOT_FOUND);
  EXPECT_EQ(Run(S), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(S.DeferSeen.size(), 1u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
  EXPECT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
}

}  // namespace
