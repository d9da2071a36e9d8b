// The driver image's entry point and unload handler.
#pragma once

#include "runtime/uefi.h"

// Entry point: installs BIOS_CONFIG_PROTOCOL on the image handle.
// EFI_SUCCESS; EFI_UNSUPPORTED (firmware older than EFI 1.10, or no device
// I/O protocol on the root device path); EFI_ALREADY_STARTED (an instance is
// installed); EFI_LOAD_ERROR (no loaded-image protocol); or the status of
// InstallProtocolInterface.
EFI_STATUS DriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

// Unload handler stored in the image's EFI_LOADED_IMAGE_PROTOCOL: closes an
// open session, uninstalls the protocol, shuts the runtime down. Returns the
// status of UninstallProtocolInterface.
EFI_STATUS EFIAPI DriverUnload(EFI_HANDLE ImageHandle);
