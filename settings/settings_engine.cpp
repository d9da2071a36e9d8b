#include "settings/settings_engine.h"

#include "settings/question_variable.h"

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

void ReportStep(const SettingsEngine &Engine, const ChangeStep &Step) {
  if (Engine.Observer != nullptr) Engine.Observer->Step(Engine.Observer->Context, Step);
}

void ReportWrite(const SettingsEngine &Engine, ChangeStep Step, EFI_STATUS Status, const WriteOutcome &Outcome) {
  if (Engine.Observer == nullptr) return;
  if (Status != EFI_SUCCESS) {
    Step.Kind = StepKind::Fail;
  } else if (Outcome.Changed) {
    Step.Kind = StepKind::Change;
    Step.OldValue = Outcome.OldValue;
    Step.StoredValue = Outcome.Stored;
  } else {
    return;
  }
  ReportStep(Engine, Step);
}
