// Volumes (handles carrying the Simple File System protocol) and their
// Shell-style numbers.
//
// An image booted directly gets no Shell mappings, so "fs0:" must be
// resolved here. The Shell numbers volumes by sorting the device paths of
// all Simple File System handles; so do we: byte-wise over each path up to
// and including its end node, a path that is a prefix of another first.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

// Longest device path accepted from firmware, in bytes.
constexpr size_t MAX_DEVICE_PATH_BYTES = 0x10000;

// Size of Path in bytes including its end-of-entire-path node; 0 when Path
// is nullptr, a node is shorter than a node header, or no end node comes
// within MAX_DEVICE_PATH_BYTES.
size_t DevicePathBytes(const EFI_DEVICE_PATH *Path);

// Orders two device paths of the given sizes as the Shell numbers volumes.
int CompareDevicePaths(const EFI_DEVICE_PATH *A, size_t ABytes, const EFI_DEVICE_PATH *B, size_t BBytes);

// The handle of volume fsIndex, or nullptr when there is no such volume.
EFI_HANDLE VolumeHandle(size_t Index);

// Opens the root folder of the volume on Volume.
// EFI_SUCCESS, EFI_UNSUPPORTED (no Simple File System), or the firmware's
// status from OpenVolume.
[[nodiscard]] EFI_STATUS OpenVolumeRoot(EFI_HANDLE Volume, EFI_FILE_PROTOCOL **Root);

}  // namespace crt::detail
