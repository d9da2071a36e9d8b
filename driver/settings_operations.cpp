// The protocol operations that work on the setup questions.
//
// Each runs the session check, loads the forms and hands the work to its
// subsystem: settings/ for reading and changing questions, ini/ for the INI
// export and import.
#include "driver/bios_config_protocol.h"
#include "driver/change_runs.h"
#include "driver/session.h"
#include "ini/ini_access.h"
#include "messages/last_error_text.h"
#include "settings/settings_access.h"
#include "settings/settings_engine.h"

namespace {

// Session check, then the forms. EFI_SUCCESS with Engine set, or the status
// to return.
[[nodiscard]] EFI_STATUS PrepareForms(SettingsEngine **Engine) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  *Engine = SessionEngine();
  return (*Engine)->EnsureFormsLoaded();
}

}  // namespace

namespace BiosConfigOperations {

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session); BCFG_E_VARIABLE_ACCESS
// (forms); BCFG_E_INVALID_PARAMETER (NULL list); BCFG_E_OUT_OF_MEMORY.
EFI_STATUS EFIAPI GetSettings(BIOS_CONFIG_PROTOCOL *, BIOS_SETTING_REQUEST *Requests) {
  SettingsEngine *Engine = nullptr;
  const EFI_STATUS Status = PrepareForms(&Engine);
  if (Status != EFI_SUCCESS) return Status;
  return ::GetSettings(*Engine, Requests);
}

// As GetSettings, in form order.
EFI_STATUS EFIAPI GetFormSettings(BIOS_CONFIG_PROTOCOL *, BIOS_SETTING_REQUEST *Requests) {
  SettingsEngine *Engine = nullptr;
  const EFI_STATUS Status = PrepareForms(&Engine);
  if (Status != EFI_SUCCESS) return Status;
  return ::GetFormSettings(*Engine, Requests);
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE; BCFG_E_VARIABLE_ACCESS (forms or a
// variable write); BCFG_E_INVALID_PARAMETER (NULL list); BCFG_E_OUT_OF_RANGE.
EFI_STATUS EFIAPI SetSettings(BIOS_CONFIG_PROTOCOL *, BIOS_SETTING_VALUE *Values) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  return RunChange(*SessionEngine(), SetSettingsRun(Values, nullptr));  // never retries
}

// As SetSettings, in form order, followed by the reload-and-retry.
EFI_STATUS EFIAPI SetFormSettings(BIOS_CONFIG_PROTOCOL *, BIOS_SETTING_VALUE *Values) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  return RunChange(*SessionEngine(), SetFormSettingsRun(Values, nullptr));
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session, or a NULL name, refused
// before the forms are touched); BCFG_E_VARIABLE_ACCESS (forms);
// BCFG_E_INVALID_PARAMETER (the file can't be created).
EFI_STATUS EFIAPI SaveSettingsToIni(BIOS_CONFIG_PROTOCOL *, CHAR8 *IniFileName) {
  EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  if (IniFileName == nullptr) {
    (void)SetLastErrorText(W(u"INI filename NULL before saving HII variables\n"));
    return BCFG_E_GENERAL_FAILURE;
  }
  Status = SessionEngine()->EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;
  return WriteBiosSection(*SessionEngine(), reinterpret_cast<const char *>(IniFileName));
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE (no session or a NULL name);
// BCFG_E_VARIABLE_ACCESS (forms); the import's BCFG_INI_E_* results.
EFI_STATUS EFIAPI LoadSettingsFromIni(BIOS_CONFIG_PROTOCOL *, CHAR8 *IniFileName) {
  const EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  if (IniFileName == nullptr) {
    (void)SetLastErrorText(W(u"INI filename NULL before loading HII variables\n"));
    return BCFG_E_GENERAL_FAILURE;
  }
  return RunChange(*SessionEngine(), LoadSettingsFromIniRun(reinterpret_cast<const char *>(IniFileName), nullptr));
}

}  // namespace BiosConfigOperations
