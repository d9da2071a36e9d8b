// Package lists of the kinds UEFI firmware registers: the seeds of the
// compatibility image's fuzz target and the inputs its malformed-input test
// cuts up. Their buffer store "Conf" (32 bytes, kExampleStoreGuid) belongs
// to the driver with the vendor device path of kExampleOwnerGuid.
#pragma once

#include "tools/uefihii/uefi_package_builder.h"

#include <string>
#include <utility>
#include <vector>

namespace uefihii {

inline constexpr EFI_GUID kExampleStoreGuid = {0x5eed0001, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x55, 0x55, 0x66, 0x66}};
inline constexpr EFI_GUID kExampleFormSetGuid = {0x5eed0002, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x55, 0x55, 0x66, 0x66}};
inline constexpr EFI_GUID kExampleOwnerGuid = {0x5eed0003, 0x1111, 0x4222, {0x83, 0x33, 0x44, 0x44, 0x55, 0x55, 0x66, 0x66}};

// Named exports (ExportPackageLists results): a form set with every
// question kind and store kind, one with conditions of every expression
// kind, one with strings in every block kind and several languages, and
// two lists back to back.
std::vector<std::pair<std::string, Bytes>> ExampleExports();

}  // namespace uefihii
