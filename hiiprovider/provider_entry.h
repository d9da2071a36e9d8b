// The HII provider image's entry point and unload handler.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

// Entry point: seeds the platform's variables and installs the Framework
// HII protocol (and, where the firmware has none, the device I/O stand-in)
// on the image handle. EFI_SUCCESS; EFI_ALREADY_STARTED (a Framework HII
// protocol is installed already: this provider loaded before, or firmware
// with its own database); EFI_UNSUPPORTED (firmware older than EFI 1.10);
// EFI_LOAD_ERROR (no loaded-image protocol, or a bad line in the variable
// store text); a file's status from LoadPlatformSource; or the status of
// an install that failed. On failure nothing stays installed.
EFI_STATUS ProviderEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

// Unload handler: removes the protocols and releases the runtime. Returns
// the first failing uninstall's status (everything then stays in place) or
// EFI_SUCCESS.
EFI_STATUS EFIAPI ProviderUnload(EFI_HANDLE ImageHandle);

}  // namespace hiiprovider
