// What the provider serves: hii.bin and variables.txt from the folder it
// was loaded from when they exist (the formats of the host tool's --export
// and --variables, so a platform built or captured on the host replays on
// firmware), the embedded sample platform otherwise. Each file replaces its
// own half of the sample, as --export and --variables do in the host tool.
#pragma once

#include "hiiprovider/own_files.h"
#include "runtime/uefi.h"

namespace hiiprovider {

// Bounds for the files: far above any real setup database, far below what
// boot-services memory holds.
constexpr size_t MAX_EXPORT_FILE_BYTES = 16 * 1024 * 1024;
constexpr size_t MAX_VARIABLES_FILE_BYTES = 4 * 1024 * 1024;

// One half of the platform as served: the bytes, and where they come from.
struct PlatformHalf {
  const void *Bytes = nullptr;
  size_t Size = 0;
  const char *Origin = nullptr;  // the file's name, or the sample's
  FileBytes File;                // owns the bytes when they come from a file
};

struct PlatformSource {
  PlatformHalf Export;     // hii.bin
  PlatformHalf Variables;  // variables.txt
};

// EFI_SUCCESS, or the status of a file that exists but cannot be read
// (see ReadOwnFile), after saying which on the console.
[[nodiscard]] EFI_STATUS LoadPlatformSource(PlatformSource &Out);

}  // namespace hiiprovider
