// The SettingsEngine: what one open session owns besides the message
// catalog. It holds the setup form database and loads it lazily, on the
// first operation that needs the questions.
#pragma once

#include "forms/setup_form_database.h"
#include "settings/run_observer.h"
#include "runtime/uefi.h"

class SettingsEngine {
 public:
  // Forms is constructed first (members are built before the body runs);
  // then the two flags start at 0.
  SettingsEngine() {
    FormsLoaded = 0;
    AllQuestionsMode = 0;
    CombinedWrites = 0;
    Observer = nullptr;
  }
  SettingsEngine(const SettingsEngine &) = delete;
  SettingsEngine &operator=(const SettingsEngine &) = delete;

  // Builds the form database from the firmware's HII export unless it is
  // already loaded. EFI_SUCCESS, or BCFG_E_VARIABLE_ACCESS when retrieving
  // or parsing fails (FormsLoaded stays 0, so the next call tries again).
  [[nodiscard]] EFI_STATUS EnsureFormsLoaded();
  // Discards the question list and the export and clears FormsLoaded.
  // EFI_SUCCESS, or BCFG_E_VARIABLE_ACCESS (FormsLoaded unchanged).
  [[nodiscard]] EFI_STATUS ResetForms();

  UINT8 FormsLoaded;
  UINT8 AllQuestionsMode;  // 0: visible questions only; other values: all
  SetupFormDatabase Forms;
  // 1: each pass of a change operation collects its writes and writes each
  // changed variable once at its end; 0: one write per question.
  UINT8 CombinedWrites;
  // Told about every change, refusal and failed write; nullptr: nobody.
  RunObserver *Observer;
};
