// The tool's command line: flags, the command and its operands.
//
// Under the UEFI Shell the arguments come split (and unquoted) from the
// Shell's parameters protocol on the image handle. Started some other way
// the tool splits its raw load options itself, honouring double quotes.
#pragma once

#include "runtime/owned.h"
#include "runtime/uefi.h"

struct ToolArguments {
  bool AllQuestions = false;  // --all
  bool NoBackup = false;      // --no-backup (load)
  bool Backup = false;        // --backup (set, set-form)
  bool DryRun = false;        // --dry-run (load, set, set-form)
  bool PerQuestionWrites = false;  // --per-question-writes
  bool Json = false;               // --json (show)
  bool Help = false;          // -h / --help
  const CHAR16 *Unknown = nullptr;  // the first flag the tool does not know
  const CHAR16 *Command = nullptr;
  CHAR16 **Operands = nullptr;
  UINTN OperandCount = 0;
};

class ArgumentSource {
 public:
  ArgumentSource() = default;
  ArgumentSource(const ArgumentSource &) = delete;
  ArgumentSource &operator=(const ArgumentSource &) = delete;

  // Reads the arguments of Image; false when there are none to read.
  [[nodiscard]] bool Read(EFI_HANDLE Image, EFI_BOOT_SERVICES *Boot);
  // Splits a raw command line (the program's name first).
  [[nodiscard]] bool Split(const CHAR16 *CommandLine, UINTN Units);

  CHAR16 **Values() const { return Argv; }
  UINTN Count() const { return Argc; }

 private:
  CHAR16 **Argv = nullptr;
  UINTN Argc = 0;
  crt::HeapPtr<CHAR16 *> OwnedArgv;  // when split from load options
  crt::HeapPtr<CHAR16> OwnedText;
};

// Flags (anywhere before the command), the command, then its operands.
[[nodiscard]] ToolArguments ParseToolArguments(CHAR16 **Argv, UINTN Argc);

// Whether a NUL-terminated wide argument equals an ASCII word.
[[nodiscard]] bool ArgumentIs(const CHAR16 *Argument, const char *Word);
