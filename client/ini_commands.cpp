// save, load and list: the INI side of the tool.
//
// load saves the current settings and variables to a backup first (unless
// --no-backup) and says how to restore them; it runs the driver's own import
// and prints each change it made. load --dry-run runs that very import
// against a copy of the variables that is never written, so it lists the
// same changes and ends with the same status as the load would. list shows
// what save would save. Files are named as the driver names them: relative
// to the TORVEL_PATH folder.
#include "bioscfg_protocol.h"
#include "client/backup.h"
#include "client/ini_files.h"
#include "client/record_report.h"
#include "client/saved_block.h"
#include "client/step_log.h"
#include "client/tool_commands.h"
#include "runtime/crt.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::INI_FILE_PATH_MAX;

namespace {

constexpr char SCRATCH_FILE[] = "bioscfg-tool.tmp";

// An operand as the 8-bit file name the protocol takes.
[[nodiscard]] bool FileNameOf(const CHAR16 *Operand, char (&Name)[INI_FILE_PATH_BUFFER_SIZE]) {
  UINTN Index = 0;
  for (; Operand[Index] != 0; ++Index) {
    if (Index >= INI_FILE_PATH_MAX || Operand[Index] > 0x7E || Operand[Index] < 0x20) return false;
    Name[Index] = static_cast<char>(Operand[Index]);
  }
  Name[Index] = '\0';
  return Index != 0;
}

CHAR8 *Bytes(const char *Text) { return reinterpret_cast<CHAR8 *>(const_cast<char *>(Text)); }

EFI_STATUS Refuse(ToolContext &C, const char *Before, const CHAR16 *Quoted, const char *After) {
  PrintResult(C.Out, EFI_INVALID_PARAMETER);
  PrintToolError(C.Out, Before, Quoted, After);
  return EFI_INVALID_PARAMETER;
}

// The settings as SaveSettingsToIni writes them now, in an emptied scratch
// file read back whole. EFI_SUCCESS or the failing status (printed).
[[nodiscard]] EFI_STATUS ExportNow(ToolContext &C, crt::HeapPtr<char> &Text, UINTN &Length) {
  if (!EmptyIniFile(SCRATCH_FILE)) return Refuse(C, "cannot write the scratch file in the TORVEL_PATH folder", nullptr, "");
  const EFI_STATUS Status = C.Protocol->SaveSettingsToIni(C.Protocol, Bytes(SCRATCH_FILE));
  if (Status != EFI_SUCCESS) {
    PrintResult(C.Out, Status);
    PrintLastErrorText(C.Out, C.Protocol);
    return Status;
  }
  const bool Read = ReadIniFile(SCRATCH_FILE, Text, Length);
  (void)EmptyIniFile(SCRATCH_FILE);
  return Read ? EFI_SUCCESS : Refuse(C, "cannot read the scratch file back", nullptr, "");
}

// The import's results that carry no text of the driver's, in words.
void ExplainImportResult(ConsoleWriter &Out, EFI_STATUS Status) {
  if (Status == BCFG_INI_E_BIOS_SECTION) {
    PrintToolError(Out, "the file has no [BIOS] section (or there is no such file in the TORVEL_PATH folder)", nullptr, "");
  } else if (Status == BCFG_INI_E_SERIAL_CONFLICT) {
    PrintToolError(Out, "the file gives serial ports A and B the same address or IRQ; nothing is written", nullptr, "");
  }
}

}  // namespace

EFI_STATUS RunSave(ToolContext &C) {
  char File[INI_FILE_PATH_BUFFER_SIZE];
  if (!FileNameOf(C.Args.Operands[0], File)) return Refuse(C, "not a file name: ", C.Args.Operands[0], "");
  const EFI_STATUS Status = C.Protocol->SaveSettingsToIni(C.Protocol, Bytes(File));
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, C.Protocol);
  if (Status == EFI_SUCCESS) C.Out.Text("saved: ").Text(File).EndLine();
  return Status;
}

EFI_STATUS RunLoad(ToolContext &C) {
  char File[INI_FILE_PATH_BUFFER_SIZE];
  if (!FileNameOf(C.Args.Operands[0], File)) return Refuse(C, "not a file name: ", C.Args.Operands[0], "");
  // Nothing to load: no backup to make either (the driver says why).
  const bool Named = crt::strchr(File, ':') == nullptr;
  if (!C.Args.DryRun && !C.Args.NoBackup && (!Named || IniFileExists(File))) {
    const EFI_STATUS Saved = SaveBackup(C, File);
    if (Saved != EFI_SUCCESS) return Saved;
  }
  StepLog Steps;
  const BIOS_CONFIG_RUN Run = Steps.Run(C.Args.DryRun);
  const EFI_STATUS Status = C.Extensions->RunLoadSettingsFromIni(C.Extensions, Bytes(File), &Run);
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, C.Protocol);
  ExplainImportResult(C.Out, Status);
  Steps.Print(C.Out);
  if (C.Args.DryRun) PrintDryRunNote(C.Out);
  return Status;
}

EFI_STATUS RunList(ToolContext &C) {
  crt::HeapPtr<char> Export;
  UINTN Length = 0;
  const EFI_STATUS Status = ExportNow(C, Export, Length);
  if (Status != EFI_SUCCESS) return Status;
  PrintResult(C.Out, EFI_SUCCESS);
  SavedBlock Block(Export.Get(), Length);
  SavedEntry Entry{};
  const char *LastSection = nullptr;
  while (Block.Next(Entry)) {
    if (Entry.Section.Text != LastSection) {
      C.Out.Text("section: ").QuotedBytes(Entry.Section.Text, Entry.Section.Length).EndLine();
      LastSection = Entry.Section.Text;
    }
    C.Out.Text("question: ").QuotedBytes(Entry.Key.Text, Entry.Key.Length).Text(" value=");
    if (Entry.Value < 0) {
      C.Out.Text("-").Unsigned(static_cast<UINT64>(-static_cast<INT64>(Entry.Value)));
    } else {
      C.Out.Unsigned(static_cast<UINT64>(Entry.Value));
    }
    C.Out.Text(" options=");
    SavedOptions Options(Entry.Options);
    SavedOption Option{};
    bool First = true;
    while (Options.Next(Option)) {
      if (!First) C.Out.Text(",");
      First = false;
      if (Option.Value < 0) {
        C.Out.Text("-").Unsigned(static_cast<UINT64>(-static_cast<INT64>(Option.Value)));
      } else {
        C.Out.Unsigned(static_cast<UINT64>(Option.Value));
      }
      C.Out.Text("=").QuotedBytes(Option.Text.Text, Option.Text.Length);
    }
    if (First) C.Out.Text("-");
    C.Out.EndLine();
  }
  return EFI_SUCCESS;
}
