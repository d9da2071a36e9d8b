// Reload-and-retry, shared by SetFormSettings and the INI import.
//
// Switching "Console Redirection" or the DMA-remapping question to a new
// non-zero value makes the firmware's forms change shape (questions appear
// or move), so the values written after it in the same pass may have gone to
// questions that no longer exist in that form. The work step then sets
// gReloadFlags.ReloadRequired; this runner discards and reloads the forms from the
// firmware and applies the same work a second time on the rebuilt list.
#pragma once

#include "runtime/uefi.h"

class SettingsEngine;

// One pass of the work: the form-ordered change step or the INI import.
// Returns EFI_SUCCESS or the status to hand the client.
using ReloadWorkStep = EFI_STATUS (*)(SettingsEngine &Engine, void *Argument);

// EnsureFormsLoaded, one pass of Step, and, when that pass (or an earlier
// call) left ReloadRequired at 1, one reload of the forms and a second pass
// with DeferAfterReloadChange cleared. ReloadRequired is cleared only when
// the second pass succeeds. Returns EFI_SUCCESS or the first failure:
// BCFG_E_VARIABLE_ACCESS from the forms, or the step's own status.
[[nodiscard]] EFI_STATUS RunWithReloadAndRetry(SettingsEngine &Engine, ReloadWorkStep Step,
                                               void *Argument);
