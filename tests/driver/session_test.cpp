// The session: which operations need one, opening, reopening and closing.
#include "driver/image_state.h"
#include "messages/last_error_text.h"
#include "messages/messages_state.h"
#include "settings/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using SessionTest = DriverTest;

struct Operation {
  const char *Name;
  std::function<EFI_STATUS(BIOS_CONFIG_PROTOCOL *)> Call;
};

std::vector<Operation> EveryOperationButOpen() {
  static UINT8 Flag;
  static CHAR16 *Text;
  static BIOS_SETTING_REQUEST Request;
  static BIOS_SETTING_VALUE Value;
  static CHAR8 IniName[] = "setup.ini";
  return {
      {"CloseSession", [](BIOS_CONFIG_PROTOCOL *P) { return P->CloseSession(P); }},
      {"GetSessionFlag", [](BIOS_CONFIG_PROTOCOL *P) { return P->GetSessionFlag(P, &Flag); }},
      {"GetLastErrorText", [](BIOS_CONFIG_PROTOCOL *P) { return P->GetLastErrorText(P, &Text); }},
      {"GetSettings", [](BIOS_CONFIG_PROTOCOL *P) { return P->GetSettings(P, &Request); }},
      {"SetSettings", [](BIOS_CONFIG_PROTOCOL *P) { return P->SetSettings(P, &Value); }},
      {"GetFormSettings", [](BIOS_CONFIG_PROTOCOL *P) { return P->GetFormSettings(P, &Request); }},
      {"SetFormSettings", [](BIOS_CONFIG_PROTOCOL *P) { return P->SetFormSettings(P, &Value); }},
      {"SaveSettingsToIni", [](BIOS_CONFIG_PROTOCOL *P) { return P->SaveSettingsToIni(P, IniName); }},
      {"LoadSettingsFromIni", [](BIOS_CONFIG_PROTOCOL *P) { return P->LoadSettingsFromIni(P, IniName); }},
      {"SetAllQuestionsMode", [](BIOS_CONFIG_PROTOCOL *P) { return P->SetAllQuestionsMode(P, 1); }},
  };
}

TEST_F(SessionTest, EveryOperationNeedsAnOpenSessionAndLeavesTheTextAlone) {
  InstallEmptyHii();
  for (const Operation &Op : EveryOperationButOpen())
    EXPECT_EQ(Op.Call(Proto()), BCFG_E_GENERAL_FAILURE) << Op.Name << " before OpenSession";
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 0u) << "refused before any work";
  EXPECT_EQ(gImage.SessionOpen, 0);

  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_NE(SetLastErrorText(W(u"earlier failure")), nullptr);
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  for (const Operation &Op : EveryOperationButOpen())
    EXPECT_EQ(Op.Call(Proto()), BCFG_E_GENERAL_FAILURE) << Op.Name << " after CloseSession";
  // Message 11 has no catalog to come from while the session is closed.
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(ErrorText(), u"earlier failure");
}

TEST_F(SessionTest, FormOperationsLoadTheFormsFirstAndRetryAFailedLoad) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_VARIABLE_ACCESS) << "forms before the NULL list";
  const auto Operations = EveryOperationButOpen();
  for (size_t I = 3; I < 9; ++I)  // GetSettings to LoadSettingsFromIni
    EXPECT_EQ(Operations[I].Call(Proto()), BCFG_E_VARIABLE_ACCESS) << Operations[I].Name;
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
  EXPECT_EQ(ErrorText(), u"") << "a form failure sets no text";

  InstallEmptyHii();
  Fw().ResetCounters();
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Proto()->GetFormSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 2u) << "loaded once per session";
}

TEST_F(SessionTest, ReopeningStartsFromAFreshEngineAndCatalog) {
  InstallEmptyHii();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  for (UINT8 Value : {UINT8{2}, UINT8{0}, UINT8{255}}) {
    EXPECT_EQ(Proto()->SetAllQuestionsMode(Proto(), Value), EFI_SUCCESS);
    EXPECT_EQ(gImage.Engine->AllQuestionsMode, Value);
  }
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 0u) << "the mode never loads the forms";
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  const uint64_t OpensBefore = Fw().Calls(sim::Service::FileOpen);

  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(gImage.SessionOpen, 1);
  EXPECT_EQ(gImage.Engine->AllQuestionsMode, 0);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
  EXPECT_GT(Fw().Calls(sim::Service::FileOpen), OpensBefore) << "catalog not read again";
  EXPECT_EQ(Proto()->SetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 4u) << "a new session reads the forms again";
}

TEST_F(SessionTest, OpenSessionLeavesTheSessionClosedWhenTheEngineCannotBeMade) {
  Fw().FailAllocationsAfter(0);
  const EFI_STATUS Status = Proto()->OpenSession(Proto());
  Fw().ClearFaults();
  EXPECT_EQ(Status, BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.CatalogHolder, nullptr);
  EXPECT_EQ(gMessages.Catalog, nullptr);
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

}  // namespace
