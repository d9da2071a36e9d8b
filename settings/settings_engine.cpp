#include "settings/settings_engine.h"

#include "bioscfg_protocol.h"

EFI_STATUS SettingsEngine::EnsureFormsLoaded() {
  if (FormsLoaded == 1) return EFI_SUCCESS;
  if (Forms.RetrieveForms() != EFI_SUCCESS) return BCFG_E_VARIABLE_ACCESS;
  if (Forms.ParseForms() != EFI_SUCCESS) return BCFG_E_VARIABLE_ACCESS;
  FormsLoaded = 1;
  return EFI_SUCCESS;
}

EFI_STATUS SettingsEngine::ResetForms() {
  if (Forms.DiscardForms() != EFI_SUCCESS) return BCFG_E_VARIABLE_ACCESS;
  FormsLoaded = 0;
  return EFI_SUCCESS;
}
