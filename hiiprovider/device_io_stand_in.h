// An EFI_DEVICE_IO_PROTOCOL stand-in on a device path that is only the end
// node: the root device that EFI 1.10 platforms publish and that a setup
// driver for them requires before it starts. UEFI 2.x firmware such as OVMF
// has none, so the provider brings one whose services all report
// EFI_UNSUPPORTED: clients only test that it is there.
//
// Both interfaces go on the provider's own image handle, so they live and
// go with the image and no handle of the provider's outlives it. Seen on
// OVMF 2022.11: once any handle carries a device path that is only the end
// node, the connect-all step the Shell runs after a plain `load` hangs
// (whether the path sits on a new handle or on this one); drivers loaded
// after the provider are started with `load -nc`, which skips that step.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

// Installs the end-only device path and the stand-in on ImageHandle; on a
// failure of the second, the first is removed again. EFI_SUCCESS or the
// firmware's status.
[[nodiscard]] EFI_STATUS InstallDeviceIoStandIn(EFI_HANDLE ImageHandle);
// Removes both when they were installed. EFI_SUCCESS or the first failing
// uninstall's status (the interfaces then stay).
[[nodiscard]] EFI_STATUS UninstallDeviceIoStandIn(EFI_HANDLE ImageHandle);

}  // namespace hiiprovider
