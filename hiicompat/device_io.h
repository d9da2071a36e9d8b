// EFI_DEVICE_IO_PROTOCOL (EFI 1.10) over the PCI root bridge of segment 0:
// what the driver requires on the root device path before it starts, and
// what EFI 1.10 firmware had and UEFI 2.x firmware dropped.
//
// Memory, I/O and PCI configuration accesses go to the root bridge's Mem,
// Io and Pci entries with the same width, address and count (the
// configuration address layouts of the two protocols agree: register,
// function, device, bus from the low byte up). The MMIO_COPY widths copy
// memory to memory through the bridge's CopyMem: a write copies from the
// address Buffer holds to Address, a read from Address to Buffer's address.
// Map, Unmap and Flush go to the bridge; AllocateBuffer and FreeBuffer take
// pages from the boot services (common buffers below 4 GiB unless the
// caller says where). PciDevicePath builds the bridge's device path with a
// PCI node per bridge on the way to the bus, found in configuration space.
//
// The protocol and a device path that is only the end node go on the
// image's own handle: seen on OVMF 2022.11, such a path on a new handle
// hangs the Shell after the driver returns, while on the image handle it
// works (drivers loaded after it are started with `load -nc`).
#pragma once

#include "runtime/uefi.h"

extern "C" {
#include <efipciio.h>
}

namespace hiicompat {

// The first handle's EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL of segment 0, or nullptr.
EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *FindRootBridge(EFI_BOOT_SERVICES *Boot, EFI_HANDLE *Handle);

// Installs the end-only device path and the protocol on ImageHandle,
// forwarding to Bridge (nullptr: every access is EFI_UNSUPPORTED). On a
// failure of the second install the first is undone. EFI_SUCCESS or the
// firmware's status.
[[nodiscard]] EFI_STATUS InstallDeviceIo(EFI_HANDLE ImageHandle, EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *Bridge,
                                         EFI_HANDLE BridgeHandle);
// Removes both when they were installed. EFI_SUCCESS or the first failing
// uninstall's status.
[[nodiscard]] EFI_STATUS UninstallDeviceIo(EFI_HANDLE ImageHandle);

// The installed record (tests call through it).
EFI_DEVICE_IO_PROTOCOL *DeviceIoRecord();

}  // namespace hiicompat
