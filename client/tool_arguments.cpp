#include "client/tool_arguments.h"

#include "runtime/crt.h"

extern "C" {
#include <efishell.h>
}

namespace {

EFI_GUID ShellParametersGuid = EFI_SHELL_PARAMETERS_PROTOCOL_GUID;
EFI_GUID LoadedImageGuid = LOADED_IMAGE_PROTOCOL;

bool IsBlank(CHAR16 Unit) { return Unit == ' ' || Unit == '\t'; }

}  // namespace

bool ArgumentIs(const CHAR16 *Argument, const char *Word) {
  if (Argument == nullptr) return false;
  UINTN Index = 0;
  for (; Word[Index] != '\0'; ++Index) {
    if (Argument[Index] != static_cast<UINT8>(Word[Index])) return false;
  }
  return Argument[Index] == 0;
}

bool ArgumentSource::Read(EFI_HANDLE Image, EFI_BOOT_SERVICES *Boot) {
  EFI_SHELL_PARAMETERS_PROTOCOL *Shell = nullptr;
  if (Boot->HandleProtocol(Image, &ShellParametersGuid, reinterpret_cast<void **>(&Shell)) == EFI_SUCCESS &&
      Shell != nullptr && Shell->Argv != nullptr) {
    Argv = Shell->Argv;
    Argc = Shell->Argc;
    return true;
  }
  EFI_LOADED_IMAGE *Loaded = nullptr;
  if (Boot->HandleProtocol(Image, &LoadedImageGuid, reinterpret_cast<void **>(&Loaded)) != EFI_SUCCESS ||
      Loaded == nullptr || Loaded->LoadOptions == nullptr) {
    return false;
  }
  return Split(static_cast<const CHAR16 *>(Loaded->LoadOptions), Loaded->LoadOptionsSize / sizeof(CHAR16));
}

bool ArgumentSource::Split(const CHAR16 *CommandLine, UINTN Units) {
  // Each argument ends with a NUL in a copy of the text; there are at most
  // half as many arguments as units, plus one.
  OwnedText.Reset(static_cast<CHAR16 *>(crt::calloc(Units + 1, sizeof(CHAR16))));
  OwnedArgv.Reset(static_cast<CHAR16 **>(crt::calloc(Units / 2 + 2, sizeof(CHAR16 *))));
  if (!OwnedText || !OwnedArgv) return false;
  CHAR16 *Out = OwnedText.Get();
  UINTN Count = 0;
  UINTN At = 0;
  while (At < Units && CommandLine[At] != 0) {
    while (At < Units && IsBlank(CommandLine[At])) ++At;
    if (At >= Units || CommandLine[At] == 0) break;
    OwnedArgv.Get()[Count++] = Out;
    bool Quoted = false;
    for (; At < Units && CommandLine[At] != 0 && (Quoted || !IsBlank(CommandLine[At])); ++At) {
      if (CommandLine[At] == '"') {
        Quoted = !Quoted;
      } else {
        *Out++ = CommandLine[At];
      }
    }
    *Out++ = 0;
  }
  Argv = OwnedArgv.Get();
  Argc = Count;
  return true;
}

namespace {

// Known flags set their field; false for anything else.
bool TakeFlag(const CHAR16 *Flag, ToolArguments &Parsed) {
  if (ArgumentIs(Flag, "--all")) {
    Parsed.AllQuestions = true;
  } else if (ArgumentIs(Flag, "--no-backup")) {
    Parsed.NoBackup = true;
  } else if (ArgumentIs(Flag, "--backup")) {
    Parsed.Backup = true;
  } else if (ArgumentIs(Flag, "--dry-run")) {
    Parsed.DryRun = true;
  } else if (ArgumentIs(Flag, "--json")) {
    Parsed.Json = true;
  } else if (ArgumentIs(Flag, "--per-question-writes")) {
    Parsed.PerQuestionWrites = true;
  } else if (ArgumentIs(Flag, "-h") || ArgumentIs(Flag, "--help")) {
    Parsed.Help = true;
  } else {
    return false;
  }
  return true;
}

}  // namespace

ToolArguments ParseToolArguments(CHAR16 **Argv, UINTN Argc) {
  ToolArguments Parsed;
  UINTN At = 1;  // Argv[0] is the program
  // Flags before the command, and right after it ("load --dry-run FILE");
  // after the first operand everything is an operand (a prompt may start
  // with a dash).
  for (bool AfterCommand = false; At < Argc && Argv[At] != nullptr; ++At) {
    const CHAR16 *Argument = Argv[At];
    const bool Flag = Argument[0] == '-' && (!AfterCommand || Argument[1] == '-');
    if (!Flag) {
      if (AfterCommand) break;
      Parsed.Command = Argument;
      AfterCommand = true;
      continue;
    }
    if (!TakeFlag(Argument, Parsed) && Parsed.Unknown == nullptr) Parsed.Unknown = Argument;
  }
  if (Parsed.Command != nullptr) {
    Parsed.Operands = Argv + At;
    Parsed.OperandCount = Argc - At;
  }
  return Parsed;
}
