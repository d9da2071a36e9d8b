// Device path helpers that need no firmware: the size of a path from
// firmware (which may be malformed) and the order the Shell numbers volumes in.
#include "runtime/crt.h"
#include "runtime/volumes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<UINT8>;

void AddNode(Bytes &Path, UINT8 Type, UINT8 SubType, const Bytes &Payload) {
  size_t Length = 4 + Payload.size();
  Path.insert(Path.end(), {Type, SubType, static_cast<UINT8>(Length), static_cast<UINT8>(Length >> 8)});
  Path.insert(Path.end(), Payload.begin(), Payload.end());
}

void AddEnd(Bytes &Path) { AddNode(Path, END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {}); }

void AddFilePath(Bytes &Path, const std::u16string &Text) {
  Bytes Payload;
  for (char16_t Unit : Text) Payload.insert(Payload.end(), {static_cast<UINT8>(Unit), static_cast<UINT8>(Unit >> 8)});
  Payload.insert(Payload.end(), {0, 0});
  AddNode(Path, MEDIA_DEVICE_PATH, MEDIA_FILEPATH_DP, Payload);
}

const EFI_DEVICE_PATH *AsPath(const Bytes &Path) { return reinterpret_cast<const EFI_DEVICE_PATH *>(Path.data()); }

Bytes PciPath(UINT8 Device, UINT8 Function) {
  Bytes Path;
  AddNode(Path, HARDWARE_DEVICE_PATH, HW_PCI_DP, {Function, Device});
  AddEnd(Path);
  return Path;
}

TEST(DevicePathBytes, CountsUpToAndIncludingEndNode) {
  Bytes Path;
  AddNode(Path, HARDWARE_DEVICE_PATH, HW_PCI_DP, {0, 1});
  AddFilePath(Path, u"\\a");
  AddEnd(Path);
  Path.insert(Path.end(), {0xEE, 0xEE});  // beyond the end node: not counted
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(Path)), Path.size() - 2);
}

TEST(DevicePathBytes, RejectsMalformedPaths) {
  EXPECT_EQ(crt::detail::DevicePathBytes(nullptr), 0u);
  Bytes ZeroLength = {HARDWARE_DEVICE_PATH, HW_PCI_DP, 0, 0};
  AddEnd(ZeroLength);
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(ZeroLength)), 0u) << "a zero-length node would loop forever";

  // Nodes that never end within the limit: 16 KiB nodes of 4-byte-long
  // vendor data, with the buffer sized to the limit so ASan sees overreads.
  Bytes Endless;
  while (Endless.size() + 0x4000 <= crt::detail::MAX_DEVICE_PATH_BYTES) {
    AddNode(Endless, HARDWARE_DEVICE_PATH, HW_VENDOR_DP, Bytes(0x4000 - 4, 0));
  }
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(Endless)), 0u);
}

TEST(VolumeOrder, SortsBytewiseWithPrefixFirst) {
  Bytes A = PciPath(1, 0);
  Bytes B = PciPath(2, 0);
  Bytes Longer;  // PCI 1.0 followed by a file path: shares A's first node
  AddNode(Longer, HARDWARE_DEVICE_PATH, HW_PCI_DP, {0, 1});
  AddFilePath(Longer, u"x");
  AddEnd(Longer);
  auto Compare = [](const Bytes &L, const Bytes &R) {
    return crt::detail::CompareDevicePaths(AsPath(L), L.size(), AsPath(R), R.size());
  };
  EXPECT_LT(Compare(A, B), 0);
  EXPECT_GT(Compare(B, A), 0);
  EXPECT_EQ(Compare(A, A), 0);
  EXPECT_LT(Compare(Longer, A), 0) << "the file-path node type 0x04 sorts before the end node type 0x7F";

  Bytes Prefix = {1, 2, 3};
  Bytes Extended = {1, 2, 3, 0};
  EXPECT_LT(Compare(Prefix, Extended), 0) << "a prefix sorts first";
  EXPECT_GT(Compare(Extended, Prefix), 0);
}

}  // namespace
