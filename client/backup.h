// What the tool keeps before it changes settings, so that the change can be
// undone: the settings as an INI file (readable, and loadable with `load`)
// and a snapshot of every variable the forms name, byte for byte (`restore`
// puts back exactly those bytes, also of questions that were hidden when the
// backup was taken and a reshaping change revealed).
#pragma once

#include "client/tool_commands.h"

// Saves NAME-backup-N.ini and NAME-backup-N.vars beside File in the
// TORVEL_PATH folder (the first N for which neither exists) and prints
//   backup: NAME-backup-N.ini
//   snapshot: NAME-backup-N.vars
//   restore: bioscfg-tool restore NAME-backup-N.vars
// EFI_SUCCESS, or the failure, printed with "nothing was written".
[[nodiscard]] EFI_STATUS SaveBackup(ToolContext &C, const char *File);

// The last line of a dry run.
void PrintDryRunNote(ConsoleWriter &Out);
