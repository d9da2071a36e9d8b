// Volumes (handles carrying the Simple File System protocol) and the
// Shell-style names "fsN:" that designate them.
//
// "fs0:" must name the volume the UEFI Shell calls fs0:, or a file meant for
// one disk is read from (or written to) another. The Shell numbers volumes by
// rules of its own (the text form of their device paths), so when the
// Shell's protocol is present the runtime asks it: GetDevicePathFromMap
// gives the mapped device path, and the volume is the Simple File System
// handle of exactly that path. An image started without a Shell (booted
// directly, say) has no map to ask; then volumes are numbered by their
// device paths compared byte-wise up to and including the end node, a path
// that is a prefix of another first. That order can differ from a Shell's.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

// Most digits a volume number may have (fs9999:).
constexpr size_t MAX_VOLUME_DIGITS = 4;

// Longest device path accepted from firmware, in bytes.
constexpr size_t MAX_DEVICE_PATH_BYTES = 0x10000;

// Size of Path in bytes including its end-of-entire-path node; 0 when Path
// is nullptr, a node is shorter than a node header, or no end node comes
// within MAX_DEVICE_PATH_BYTES.
size_t DevicePathBytes(const EFI_DEVICE_PATH *Path);

// Orders two device paths of the given sizes as volumes are numbered
// without a Shell.
int CompareDevicePaths(const EFI_DEVICE_PATH *A, size_t ABytes, const EFI_DEVICE_PATH *B, size_t BBytes);

// The handle of the volume "fsIndex:" names, or nullptr when there is no
// such volume (or the firmware failed while it was looked for). Uses only
// the boot services it is given, so the simulator's image loader numbers
// volumes by this very routine.
EFI_HANDLE NumberedVolume(EFI_BOOT_SERVICES *Services, size_t Index);

// Opens the root folder of the volume on Volume.
// EFI_SUCCESS, EFI_UNSUPPORTED (no Simple File System), or the firmware's
// status from OpenVolume.
[[nodiscard]] EFI_STATUS OpenVolumeRoot(EFI_HANDLE Volume, EFI_FILE_PROTOCOL **Root);

}  // namespace crt::detail
