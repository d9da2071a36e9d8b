// Device path bytes as the simulator builds and compares them.
//
// Device paths arrive from callers as bare pointers with no size: every walk
// here stops at the end node, at a malformed node (length below 4) or after
// MAX_DEVICE_PATH_BYTES, whichever comes first.
#pragma once

#include "runtime/uefi.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

constexpr size_t MAX_DEVICE_PATH_BYTES = 64 * 1024;
constexpr uint8_t MEDIA_DEVICE_PATH_TYPE = 0x04;
constexpr uint8_t FILE_PATH_SUBTYPE = 0x04;
constexpr uint8_t HARDWARE_DEVICE_PATH_TYPE = 0x01;
constexpr uint8_t VENDOR_SUBTYPE = 0x04;
constexpr uint8_t PCI_SUBTYPE = 0x01;
constexpr uint8_t ACPI_DEVICE_PATH_TYPE = 0x02;
constexpr uint8_t ACPI_SUBTYPE = 0x01;

using DevicePathBytes = std::vector<uint8_t>;

// The end-of-entire-device-path node alone (7F FF 04 00).
DevicePathBytes EndOnlyDevicePath();
// A hardware vendor node carrying Index big-endian, then the end node: such
// paths sort byte-wise in Index order.
DevicePathBytes VolumeDevicePath(size_t Index);
// PciRoot(0x0)/Pci(Device,Function), then the end node: the path of a disk
// controller, for volumes whose byte order and text order differ.
DevicePathBytes PciDevicePath(uint8_t Device, uint8_t Function = 0);
// One media file-path node holding Path (NUL-terminated), then the end node.
DevicePathBytes FilePathDevicePath(const std::u16string &Path);
// A without its end node, followed by B.
DevicePathBytes AppendDevicePath(const DevicePathBytes &A, const DevicePathBytes &B);

// Size in bytes of the nodes before the first end node (of either end
// subtype), or nullopt when the path is malformed or too long.
std::optional<size_t> DevicePathPayloadSize(const void *Path);
// The path's bytes including its end-of-entire node, or nullopt.
std::optional<DevicePathBytes> CopyDevicePath(const void *Path);

// When the nodes of Prefix (up to its end) equal the first nodes of Path,
// node by node, the number of bytes they cover; otherwise nullopt.
std::optional<size_t> MatchDevicePathPrefix(const void *Prefix, const void *Path);

// The text form of a device path, as firmware's device-path-to-text gives
// it for the node kinds the simulator builds: "PciRoot(0x0)/Pci(0x1F,0x2)",
// "VenHw(GUID,DATA)", "\\tools\\x.efi"; any other node becomes
// "Path(TYPE,SUBTYPE)". Empty for a malformed path.
std::u16string DevicePathText(const void *Path);

// The text of the media file-path nodes at Path, joined with '\' where a
// node does not already end or start with one; nullopt when Path holds any
// other kind of node or is malformed.
std::optional<std::u16string> FilePathText(const void *Path);

}  // namespace sim
