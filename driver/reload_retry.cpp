#include "driver/reload_retry.h"

#include "settings/reload_flags.h"
#include "settings/settings_engine.h"

EFI_STATUS RunWithReloadAndRetry(SettingsEngine &Engine, ReloadWorkStep Step, void *Argument) {
  EFI_STATUS Status = Engine.EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;

  Status = Step(Engine, Argument);
  if (Status != EFI_SUCCESS) return Status;
  if (gReloadFlags.ReloadRequired != 1) return EFI_SUCCESS;

  // From the first retry on, a reshaping change no longer holds back the
  // rest of its form in the first pass.
  gReloadFlags.DeferAfterReloadChange = 0;

  Status = Engine.ResetForms();
  if (Status != EFI_SUCCESS) return Status;
  Status = Engine.EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;

  Status = Step(Engine, Argument);
  if (Status != EFI_SUCCESS) return Status;
  // At most one retry: a second pass that asks again is not repeated.
  gReloadFlags.ReloadRequired = 0;
  return EFI_SUCCESS;
}
