// Files next to the provider image: hii.bin and variables.txt, read whole
// into the runtime heap.
#pragma once

#include "runtime/owned.h"
#include "runtime/uefi.h"

namespace hiiprovider {

struct FileBytes {
  crt::HeapPtr<UINT8> Bytes;  // Size bytes (a one-byte block for an empty file)
  size_t Size = 0;
};

// Reads Name from the folder the image was loaded from. EFI_SUCCESS;
// EFI_NOT_FOUND when there is no such file; EFI_BAD_BUFFER_SIZE when it is
// larger than MaxBytes; EFI_OUT_OF_RESOURCES; EFI_END_OF_FILE when it
// shrinks while being read; or the firmware's status.
[[nodiscard]] EFI_STATUS ReadOwnFile(const char *Name, size_t MaxBytes, FileBytes &Out);

}  // namespace hiiprovider
