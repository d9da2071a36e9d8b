// How the driver runs a change operation (SetSettings, SetFormSettings, the
// INI import): its passes, the reload-and-retry between them, and, beyond
// the plain protocol call, combined writes, reports of each step and plans
// that write nothing.
#pragma once

#include "bioscfg_protocol.h"
#include "driver/change_journal.h"
#include "driver/reload_retry.h"

struct ChangeRun {
  ChangeWork Work;
  ReloadWorkStep Step;
  void *Argument;
  bool Retry;                     // reload-and-retry after a reshaping change
  const BIOS_CONFIG_RUN *Client;  // nullptr: a plain protocol call
};

// EnsureFormsLoaded, then the run:
// - real: each pass writes one question at a time or, when the session asks
//   for combined writes, collects its writes and writes each changed
//   variable once at its end (also when the pass stops early); a pass that
//   reshapes the forms is followed by a reload and a second pass;
// - a plan (BIOS_CONFIG_RUN_PLAN): the same passes, in the session's write
//   mode, against an overlay of the variables that is never written; the
//   second pass runs on forms built from the overlay in an engine of its
//   own, so the session's forms and the driver-wide reload flags are as
//   they were afterwards.
// Returns the run's status (a plan: the status the real run would return),
// BCFG_E_VARIABLE_ACCESS when the forms can't be loaded, or
// BCFG_E_OUT_OF_MEMORY when a plan's engine can't be had.
[[nodiscard]] EFI_STATUS RunChange(SettingsEngine &Engine, const ChangeRun &Run);
