// The steps of a change run as the driver reports them, kept while the run
// goes (the result line is printed first, and is known only at its end),
// then printed, one line each:
//
//   change: [BIOS::MAIN] "Quiet Boot" 1 "Enabled" -> 0 "Disabled"
//   change: [...] "Console Redirection" 0 "Disabled" -> 1 "Enabled" (reshapes the forms: ...)
//   after-reload: [...] "Baud Rate" 4 "115200" -> 2 "38400"
//   change: [Main] "Boot Timeout" 5 -> 300 (stored as 44: the question holds 1 byte)
//   refuse: [BIOS::MAIN] "NumLock State" 1 "On" -> 9 (not an option: the run stops here)
//   changes: 3
//
// The section is the INI section a load reads, or the question's form for
// set and set-form; the key is the INI key, or the prompt. A second-pass
// change (after the forms were read again) reads "after-reload".
#pragma once

#include "bioscfg_protocol.h"
#include "client/console_writer.h"

class StepLog {
 public:
  StepLog() = default;
  ~StepLog();
  StepLog(const StepLog &) = delete;
  StepLog &operator=(const StepLog &) = delete;

  // How a run reports to this log; Plan: write nothing.
  BIOS_CONFIG_RUN Run(bool Plan);

  void Print(ConsoleWriter &Out) const;
  // Changes that are (or would be) stored.
  UINTN Changes() const;
  // Whether some step could not be kept (out of memory): the lines are then
  // incomplete, and Print says so.
  bool Incomplete() const { return Lost; }

 private:
  struct Entry;
  static void BIOSCFG_EFIAPI Keep(VOID *Self, CONST BIOS_CONFIG_STEP *Step);
  void Add(const BIOS_CONFIG_STEP &Step);
  void PrintEntry(ConsoleWriter &Out, const Entry &E) const;

  Entry *Entries = nullptr;
  UINTN Count = 0;
  UINTN Capacity = 0;
  bool Lost = false;
};
