#include "client/backup.h"

#include "client/ini_files.h"
#include "client/record_report.h"
#include "client/variable_snapshot.h"

using inicontract::INI_FILE_PATH_BUFFER_SIZE;

namespace {

CHAR8 *Bytes(const char *Text) { return reinterpret_cast<CHAR8 *>(const_cast<char *>(Text)); }

EFI_STATUS Failed(ToolContext &C, EFI_STATUS Status, const char *What) {
  PrintResult(C.Out, Status);
  PrintLastErrorText(C.Out, C.Protocol);
  PrintToolError(C.Out, What, nullptr, "; nothing was written");
  return Status;
}

}  // namespace

EFI_STATUS SaveBackup(ToolContext &C, const char *File) {
  char Ini[INI_FILE_PATH_BUFFER_SIZE];
  char Snapshot[INI_FILE_PATH_BUFFER_SIZE];
  if (!FreeBackupNames(File, Ini, Snapshot)) return Failed(C, EFI_INVALID_PARAMETER, "no free backup name");
  const EFI_STATUS Saved = C.Protocol->SaveSettingsToIni(C.Protocol, Bytes(Ini));
  if (Saved != EFI_SUCCESS) return Failed(C, Saved, "the backup could not be saved");
  const EFI_STATUS Taken = WriteVariableSnapshot(C, Snapshot);
  if (Taken != EFI_SUCCESS) return Failed(C, Taken, "the variables could not be saved");
  C.Out.Text("backup: ").Text(Ini).EndLine();
  C.Out.Text("snapshot: ").Text(Snapshot).EndLine();
  C.Out.Text("restore: bioscfg-tool restore ").Text(Snapshot).EndLine();
  return EFI_SUCCESS;
}

void PrintDryRunNote(ConsoleWriter &Out) { Out.Text("dry-run: nothing was written").EndLine(); }
