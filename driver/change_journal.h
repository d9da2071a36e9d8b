// The steps of one pass that collects its writes in an overlay (combined
// writes), kept until the overlay is written out: only then is it known
// which changes reached the firmware. A variable whose write fails leaves
// its changes unstored; the journal then puts the records of those changes
// back to "not applied", names the first of them in the last-error text,
// and hands every step to the client with that outcome.
#pragma once

#include "driver/step_sink.h"
#include "forms/variable_overlay.h"
#include "inicontract/import_rules.h"
#include "inicontract/section_path.h"
#include "runtime/owned.h"

// Which operation ran the pass, for the failure's status and text.
enum class ChangeWork { SetSettings, SetFormSettings, LoadSettingsFromIni };

class ChangeJournal {
 public:
  ChangeJournal();
  ~ChangeJournal();
  ChangeJournal(const ChangeJournal &) = delete;
  ChangeJournal &operator=(const ChangeJournal &) = delete;

  RunObserver *Observer() { return &Collector; }

  // After Overlay.Flush() returned Flushed: settles the records, emits the
  // steps to Sink and returns the pass's status: StepStatus when the writes
  // all went out, otherwise the write failure of Work (BCFG_E_VARIABLE_ACCESS
  // or BCFG_INI_E_SET_FAILED) with its text.
  [[nodiscard]] EFI_STATUS Settle(const VariableOverlay &Overlay, EFI_STATUS Flushed, EFI_STATUS StepStatus,
                                  ChangeWork Work, StepSink &Sink);

 private:
  struct Entry {
    ChangeStep Step;
    char Section[inicontract::SECTION_PATH_BYTES];
    char Key[inicontract::INI_KEY_TEXT_BYTES];
    char ValueText[inicontract::INI_VALUE_TEXT_BYTES];
  };
  static void Collect(void *Self, const ChangeStep &Step);
  void Add(const ChangeStep &Step);

  RunObserver Collector;
  Entry *Entries;
  UINTN Count;
  UINTN Capacity;
};
