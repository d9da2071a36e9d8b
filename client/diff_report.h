// The report of what loading an INI file would change: the host tool's
// diff and the tool's load --dry-run print it alike.
//
//   result: EFI_SUCCESS
//   change: [BIOS::MAIN] "Quiet Boot" 1 "Enabled" -> 0 "Disabled"
//   change: [...] "Console Redirection" 0 "Disabled" -> 1 "Serial Port A" (reshapes the forms: ...)
//   after-reload: [...] "Baud Rate" 4 "115.2k" -> 2 "38.4k"
//   refuse: [BIOS::MAIN] "NumLock State at Boot" 1 "On" -> 9 (not an option: the load would stop here)
//   conflict: serial ports A and B share an address or an IRQ: the load would refuse the file
//   changes: 2
#pragma once

#include "client/console_writer.h"

enum class DiffKind { Change, ReshapingChange, AfterReload, OutOfRange };

// A value and its option text (8-bit, as INI files hold it); no text:
// Text nullptr.
struct DiffValue {
  UINT32 Value;
  const char *Text;
  UINTN TextLength;
};

struct DiffLine {
  DiffKind Kind;
  const char *Section;
  const char *Key;  // the prompt without its leading blanks
  DiffValue Current;
  DiffValue New;
};

void PrintDiffLine(ConsoleWriter &Out, const DiffLine &Line);
void PrintSerialConflict(ConsoleWriter &Out);
void PrintDiffCount(ConsoleWriter &Out, UINTN Changes);
