// save, load and list: the INI side of the tool.
//
// load saves the current settings to a backup first (unless --no-backup)
// and says how to restore them; load --dry-run writes nothing and reports
// what the load would change, reading the file through the parser image as
// the driver's import does. list shows what save would save. Files are named
// as the driver names them: relative to the TORVEL_PATH folder.
#include "bioscfg_protocol.h"
#include "client/diff_report.h"
#include "client/ini_files.h"
#include "client/parser_access.h"
#include "client/record_report.h"
#include "client/saved_block.h"
#include "client/tool_commands.h"
#include "inicontract/import_rules.h"
#include "runtime/crt.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;
using inicontract::INI_FILE_PATH_MAX;
using inicontract::INI_VALUE_TEXT_BYTES;
using inicontract::KeyReshapesForms;
using inicontract::SerialPortsConflict;

namespace {

constexpr char SCRATCH_FILE[] = "bioscfg-tool.tmp";
constexpr UINTN SECTION_BYTES = 150;
constexpr UINTN VALUE_BYTES = INI_VALUE_TEXT_BYTES;

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

// A span as a NUL-terminated name of at most SECTION_BYTES - 1 bytes;
// leading blanks dropped with SkipBlanks (as the import asks for keys).
void CopySpan(const SavedSpan &Span, bool SkipBlanks, char (&Out)[SECTION_BYTES]) {
  UINTN From = 0;
  while (SkipBlanks && From < Span.Length && Span.Text[From] == ' ') ++From;
  UINTN Used = 0;
  for (; From < Span.Length && Used + 1 < SECTION_BYTES; ++From) Out[Used++] = Span.Text[From];
  Out[Used] = '\0';
}

DiffValue ValueWithText(const SavedEntry &Entry, INT32 Value) {
  SavedOptions Options(Entry.Options);
  SavedOption Option{};
  while (Options.Next(Option)) {
    if (Option.Value == Value) return DiffValue{static_cast<UINT32>(Value), Option.Text.Text, Option.Text.Length};
  }
  return DiffValue{static_cast<UINT32>(Value), nullptr, 0};
}

bool Accepts(const SavedEntry &Entry, INT32 Value) {
  SavedOptions Options(Entry.Options);
  SavedOption Option{};
  bool Any = false;
  while (Options.Next(Option)) {
    Any = true;
    if (Option.Value == Value) return true;
  }
  return !Any;
}

// The serial check's reads through the parser image.
struct SerialCheckFile {
  INI_PARSER_LOOKUP Lookup;
  const char *File;
};
INT32 ReadForSerialCheck(void *Context, const char *Section, const char *Key, char *Value, UINT32 ValueBytes) {
  const auto &Check = *static_cast<const SerialCheckFile *>(Context);
  return LookUpKey(Check.Lookup, Section, Key, Check.File, Value, static_cast<UINT16>(ValueBytes));
}

// One pass over the saved settings against File: the status a load would
// end with and the number of changes; with Print, the report's lines.
EFI_STATUS CompareWithFile(ToolContext &C, INI_PARSER_LOOKUP Lookup, const char *File, const char *Export,
                           UINTN ExportLength, bool Print, UINTN &Changes) {
  Changes = 0;
  char Value[VALUE_BYTES];
  if (LookUpKey(Lookup, "BIOS", "", File, Value, VALUE_BYTES) == INI_LOOKUP_SECTION_NOT_FOUND) {
    return BCFG_INI_E_BIOS_SECTION;
  }
  SerialCheckFile Check{Lookup, File};
  if (SerialPortsConflict(ReadForSerialCheck, &Check)) {
    if (Print) PrintSerialConflict(C.Out);
    return BCFG_INI_E_SERIAL_CONFLICT;
  }
  SavedBlock Block(Export, ExportLength);
  SavedEntry Entry{};
  char Deferring[SECTION_BYTES] = {};  // the section a reshaping change holds back
  while (Block.Next(Entry)) {
    char Section[SECTION_BYTES];
    char Key[SECTION_BYTES];
    CopySpan(Entry.Section, false, Section);
    CopySpan(Entry.Key, true, Key);
    if (Deferring[0] != '\0' && crt::strcmp(Deferring, Section) != 0) Deferring[0] = '\0';
    if (LookUpKey(Lookup, Section, Key, File, Value, VALUE_BYTES) != INI_LOOKUP_FOUND) continue;
    const INT32 New = SpanNumber(Value, Value + crt::strlen(Value));
    if (New == Entry.Value) continue;
    DiffLine Line{DiffKind::Change, Section, Key, ValueWithText(Entry, Entry.Value), ValueWithText(Entry, New)};
    if (Deferring[0] != '\0') {
      Line.Kind = DiffKind::AfterReload;
    } else if (!Accepts(Entry, New)) {
      Line.Kind = DiffKind::OutOfRange;
      if (Print) PrintDiffLine(C.Out, Line);
      return BCFG_INI_E_OUT_OF_RANGE;
    } else if (KeyReshapesForms(Key) && New != 0) {
      Line.Kind = DiffKind::ReshapingChange;
      crt::memcpy(Deferring, Section, SECTION_BYTES);
    }
    ++Changes;
    if (Print) PrintDiffLine(C.Out, Line);
  }
  return EFI_SUCCESS;
}

// The import's results that carry no text of the driver's, in words.
void ExplainImportResult(ConsoleWriter &Out, EFI_STATUS Status) {
  if (Status == BCFG_INI_E_BIOS_SECTION) {
    PrintToolError(Out, "the file has no [BIOS] section (or there is no such file in the TORVEL_PATH folder)", nullptr, "");
  } else if (Status == BCFG_INI_E_SERIAL_CONFLICT) {
    PrintToolError(Out, "the file gives serial ports A and B the same address or IRQ; nothing was written", nullptr, "");
  }
}

EFI_STATUS DryRun(ToolContext &C, const char *File) {
  INI_PARSER_LOOKUP Lookup = FindIniParser();
  if (Lookup == nullptr) return Refuse(C, "the INI parser iniparse.efi can't be loaded from the TORVEL_PATH folder", nullptr, "");
  crt::HeapPtr<char> Export;
  UINTN Length = 0;
  EFI_STATUS Status = ExportNow(C, Export, Length);
  if (Status != EFI_SUCCESS) return Status;
  UINTN Changes = 0;
  // The result first, as for every command, then the lines.
  Status = CompareWithFile(C, Lookup, File, Export.Get(), Length, false, Changes);
  PrintResult(C.Out, Status);
  if (Status == BCFG_INI_E_BIOS_SECTION) ExplainImportResult(C.Out, Status);
  (void)CompareWithFile(C, Lookup, File, Export.Get(), Length, true, Changes);
  PrintDiffCount(C.Out, Changes);
  return Status;
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
  if (C.Args.DryRun) return DryRun(C, File);
  // Nothing to load: no backup to make either (the driver says why).
  const bool Named = crt::strchr(File, ':') == nullptr;
  if (!C.Args.NoBackup && (!Named || IniFileExists(File))) {
    char Backup[INI_FILE_PATH_BUFFER_SIZE];
    if (!FreeBackupName(File, Backup)) return Refuse(C, "no free backup name for ", C.Args.Operands[0], "");
    const EFI_STATUS Saved = C.Protocol->SaveSettingsToIni(C.Protocol, Bytes(Backup));
    if (Saved != EFI_SUCCESS) {
      PrintResult(C.Out, Saved);
      PrintLastErrorText(C.Out, C.Protocol);
      PrintToolError(C.Out, "the backup could not be saved; nothing was loaded", nullptr, "");
      return Saved;
    }
    C.Out.Text("backup: ").Text(Backup).EndLine();
    C.Out.Text("restore: bioscfg-tool load --no-backup ").Text(Backup).EndLine();
  }
  const EFI_STATUS Status = C.Protocol->LoadSettingsFromIni(C.Protocol, Bytes(File));
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, C.Protocol);
  ExplainImportResult(C.Out, Status);
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
