// The INI export and import behind SaveSettingsToIni and
// LoadSettingsFromIni.
#pragma once

#include "runtime/uefi.h"

class SettingsEngine;

// The import's result for a missing file name (LoadSettingsFromIni refuses
// that case before, so clients never see it).
constexpr EFI_STATUS BCFG_INI_E_NO_FILE_NAME = 0xFFFFFFFFFFFFFFFDull;

// Appends a [BIOS] block to the file IniFileName in the TORVEL_PATH folder:
// one section per saved form, one line per visible question with its value
// and, as a comment, its options. EFI_SUCCESS, or BCFG_E_INVALID_PARAMETER
// when the file can't be opened for appending (including no TORVEL_PATH,
// or a joined path over 256 characters) or the run's buffer can't be had.
[[nodiscard]] EFI_STATUS WriteBiosSection(SettingsEngine &Engine, const char *IniFileName);

// Restores the values of a [BIOS] block: every visible question's key is
// looked up in its section, and values that differ from the question's are
// range-checked and written. EFI_SUCCESS or one of the BCFG_INI_E_* results
// (which LoadSettingsFromIni hands the client unchanged); BCFG_E_OUT_OF_MEMORY
// when the run's buffers can't be had (nothing written then).
[[nodiscard]] EFI_STATUS ReadBiosSection(SettingsEngine &Engine, const char *IniFileName);

// 0 when the file gives serial ports A and B different addresses and IRQs
// (or lacks what it takes to tell), -1 when they share one.
[[nodiscard]] INT32 CheckSerialPortConflict(const char *IniFileName);
