// Opening a file on a Simple File System volume for a stream.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

enum class OpenMode { Read, Truncate, Append };

// Parses a C mode string: "r"/"rb", "w"/"wb", "a"/"ab". False otherwise.
bool ParseOpenMode(const char *Mode, OpenMode &Out);

// Resolves Name (see file_names.h) and opens it. Writing modes create the
// file when missing and always open READ|WRITE (OVMF refuses WRITE without
// READ); Truncate empties an existing file. A folder is never opened.
// EFI_SUCCESS, the resolution's status, EFI_ACCESS_DENIED for a folder, or
// the firmware's status.
[[nodiscard]] EFI_STATUS OpenFile(const char *Name, OpenMode Mode, EFI_FILE_PROTOCOL **File);

// Resolves Name and creates it as a folder unless one is there (its parent
// must exist, as on FAT). EFI_SUCCESS, the resolution's status,
// EFI_ACCESS_DENIED when a file holds the name, or the firmware's status.
[[nodiscard]] EFI_STATUS MakeFolder(const char *Name);

}  // namespace crt::detail
