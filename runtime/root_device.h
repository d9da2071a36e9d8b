// The root device of EFI 1.10 platforms: a handle whose device path is only
// the end-of-entire-device-path node, carrying EFI_DEVICE_IO_PROTOCOL. The
// setup driver requires it before it starts; images that provide one on
// firmware without it (UEFI 2.x) must not add a second.
#pragma once

#include "runtime/uefi.h"

namespace crt {

// The end-only device path (type 0x7F, subtype 0xFF, length 4), one per
// image, to search for the root device or to install on a handle.
EFI_DEVICE_PATH *RootDevicePath();

// Whether a handle on the root device path carries EFI_DEVICE_IO_PROTOCOL
// with an interface.
[[nodiscard]] bool RootDeviceIoPresent(EFI_BOOT_SERVICES *Boot);

}  // namespace crt
