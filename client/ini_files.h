// INI files of the tool, named as the driver names them: a name is joined
// onto the TORVEL_PATH folder exactly as SaveSettingsToIni joins it, so the
// tool looks where the driver writes.
#pragma once

#include "inicontract/ini_file_path.h"
#include "runtime/owned.h"
#include "runtime/uefi.h"

// Whether a file of that name exists in the folder.
[[nodiscard]] bool IniFileExists(const char *Name);
// Creates the file, or empties it. False when it can't be.
[[nodiscard]] bool EmptyIniFile(const char *Name);
// The whole file, NUL-terminated (at most MAX_TOOL_INI_BYTES). False when
// it can't be read.
constexpr UINTN MAX_TOOL_INI_BYTES = 16 * 1024 * 1024;
[[nodiscard]] bool ReadIniFile(const char *Name, crt::HeapPtr<char> &Text, UINTN &Length);

// Backup names for File that name no existing file: File's name with
// "-backup-N" before its extension (Ini) and the same with the extension
// ".vars" (Snapshot), N from 1 up, the first N for which neither exists.
// False when none is free or a name would be too long.
[[nodiscard]] bool FreeBackupNames(const char *File, char (&Ini)[inicontract::INI_FILE_PATH_BUFFER_SIZE],
                                   char (&Snapshot)[inicontract::INI_FILE_PATH_BUFFER_SIZE]);
