// The compatibility image's entry point and unload handler.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

// Entry point. Refuses (EFI_ALREADY_STARTED, nothing changed) when any
// handle carries the Framework HII protocol: firmware with its own Framework
// database needs no translation, and a second database would leave the
// driver to pick one; a second load of this image is refused the same way.
// EFI_UNSUPPORTED when the firmware has no UEFI HII database (nothing to
// translate) or is older than EFI 1.10; EFI_LOAD_ERROR without a
// loaded-image protocol. Otherwise, on the image's own handle: device I/O
// on the root device path (unless a handle has it already) over the PCI
// root bridge of segment 0, and EFI_HII_PROTOCOL; then the runtime
// services' variable entries are wrapped for the bridged buffer stores, and
// the first translation's counts go to the console. An install or wrap
// that fails returns its status with everything before it undone.
EFI_STATUS CompatEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

// Unload handler: restores the runtime services' entries (EFI_ACCESS_DENIED
// when another driver has wrapped them since: then nothing is undone), then
// removes the protocols and releases the runtime. Returns the first failing
// step's status (what remains stays in place) or EFI_SUCCESS.
EFI_STATUS EFIAPI CompatUnload(EFI_HANDLE ImageHandle);

}  // namespace hiicompat
