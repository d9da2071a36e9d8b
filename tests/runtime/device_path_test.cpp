// Device paths: the size of a path from firmware (which may be malformed),
// the order the Shell numbers volumes in, the image folder, and
// FileDevicePathOf through the simulated firmware's handle database, and
// the volumes "fsN:" names.
#include "runtime/crt.h"
#include "runtime/file_names.h"
#include "runtime/volumes.h"
#include "sim/device_path.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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

// PCI device 1 function 0, then file-path nodes, then the end node.
Bytes PciPath(UINT8 Device, std::vector<std::u16string> Files = {}) {
  Bytes Path;
  AddNode(Path, HARDWARE_DEVICE_PATH, HW_PCI_DP, {0, Device});
  for (const std::u16string &File : Files) AddFilePath(Path, File);
  AddEnd(Path);
  return Path;
}

using FileDevicePathTest = SimTest;

const EFI_DEVICE_PATH *AsPath(const Bytes &Path) { return reinterpret_cast<const EFI_DEVICE_PATH *>(Path.data()); }

Bytes BytesOf(const EFI_DEVICE_PATH *Path) {
  const auto *Start = reinterpret_cast<const UINT8 *>(Path);
  return Bytes(Start, Start + crt::detail::DevicePathBytes(Path));
}

TEST(DevicePathBytes, CountsUpToEndNodeAndRejectsMalformedPaths) {
  Bytes Path = PciPath(1, {u"\\a"});
  Path.insert(Path.end(), {0xEE, 0xEE});  // beyond the end node: not counted
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(Path)), Path.size() - 2);

  EXPECT_EQ(crt::detail::DevicePathBytes(nullptr), 0u);
  Bytes ZeroLength = {HARDWARE_DEVICE_PATH, HW_PCI_DP, 0, 0};
  AddEnd(ZeroLength);
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(ZeroLength)), 0u) << "a zero-length node would loop forever";
  // Nodes that never end within the limit, the buffer sized to the limit so
  // ASan sees overreads.
  Bytes Endless;
  while (Endless.size() + 0x4000 <= crt::detail::MAX_DEVICE_PATH_BYTES) {
    AddNode(Endless, HARDWARE_DEVICE_PATH, HW_VENDOR_DP, Bytes(0x4000 - 4, 0));
  }
  EXPECT_EQ(crt::detail::DevicePathBytes(AsPath(Endless)), 0u);
}

TEST(VolumeOrder, SortsBytewiseWithPrefixFirst) {
  auto Compare = [](const Bytes &L, const Bytes &R) {
    return crt::detail::CompareDevicePaths(AsPath(L), L.size(), AsPath(R), R.size());
  };
  EXPECT_LT(Compare(PciPath(1), PciPath(2)), 0);
  EXPECT_GT(Compare(PciPath(2), PciPath(1)), 0);
  EXPECT_EQ(Compare(PciPath(1), PciPath(1)), 0);
  EXPECT_LT(Compare(PciPath(1, {u"x"}), PciPath(1)), 0) << "file-path node type 0x04 sorts before end type 0x7F";
  EXPECT_LT(Compare({1, 2, 3}, {1, 2, 3, 0}), 0) << "a prefix sorts first";
  EXPECT_GT(Compare({1, 2, 3, 0}, {1, 2, 3}), 0);
}

TEST_F(FileDevicePathTest, ImageFolderIsTextUpToLastSeparator) {
  const std::pair<std::vector<std::u16string>, const char *> Cases[] = {
      {{u"\\EFI\\tools\\bioscfg.efi"}, "\\EFI\\tools"}, {{u"\\bioscfg.efi"}, ""}, {{u"bioscfg.efi"}, ""},
      {{u"\\tools", u"\\sub\\x.efi"}, "\\tools\\sub"}, {{}, nullptr}};
  for (const auto &[Files, Expected] : Cases) {
    Bytes Path = PciPath(1, Files);
    CHAR16 *Folder = crt::detail::ImageFolderOf(AsPath(Path));
    if (Expected == nullptr) {
      EXPECT_EQ(Folder, nullptr);
      continue;
    }
    ASSERT_NE(Folder, nullptr) << Expected;
    std::string Text;
    for (CHAR16 *At = Folder; *At != 0; ++At) Text.push_back(static_cast<char>(*At));
    crt::free(Folder);
    EXPECT_EQ(Text, Expected);
  }
}

// Two disks whose device paths sort one way byte-wise and the other way as
// text: PciRoot(0x0)/Pci(0x2,0x0) has the smaller device byte, while the
// Shell, comparing text, puts "Pci(0x10,0x0)" first. The fixture's own fs0:
// (a vendor node, type 0x01) comes first byte-wise and last as text.
TEST_F(FileDevicePathTest, FsNamesFollowTheShellsMapAndByteOrderWithoutAShell) {
  const std::string FolderA = VolumeDir(0) + "/disk-a", FolderB = VolumeDir(0) + "/disk-b";
  for (const std::string &Folder : {FolderA, FolderB}) {
    std::filesystem::create_directory(Folder);
    std::ofstream(Folder + "/which.txt") << Folder.back();
  }
  std::ofstream(VolumeDir(0) + "/which.txt") << 'f';
  const EFI_HANDLE Fixture = Fw().VolumeHandle(0);
  const EFI_HANDLE A = Fw().MountVolume(FolderA, sim::PciDevicePath(0x2));
  const EFI_HANDLE B = Fw().MountVolume(FolderB, sim::PciDevicePath(0x10));

  auto Which = [](const char *Name) {
    crt::FILE *File = crt::fopen(Name, "r");
    if (File == nullptr) return '?';
    char Byte = '?';
    EXPECT_EQ(crt::fread(&Byte, 1, 1, File), 1u);
    EXPECT_EQ(crt::fclose(File), 0);
    return Byte;
  };
  EFI_BOOT_SERVICES *Boot = Fw().SystemTable()->BootServices;
  struct Numbering {
    const char *Name;
    std::vector<EFI_HANDLE> Order;
    std::string Files;  // which.txt of fs0:, fs1:, fs2:
  };
  const Numbering Without{"without a Shell: device path bytes", {Fixture, A, B}, "fab"};
  const Numbering With{"with a Shell: its map, by text", {B, A, Fixture}, "baf"};
  for (const Numbering *N : {&Without, &With}) {
    SCOPED_TRACE(N->Name);
    if (N == &With) Fw().InstallShell();
    for (size_t Index = 0; Index < 3; ++Index) {
      EXPECT_EQ(crt::detail::NumberedVolume(Boot, Index), N->Order[Index]) << "fs" << Index;
    }
    EXPECT_EQ(crt::detail::NumberedVolume(Boot, 3), nullptr);
    EXPECT_EQ((std::string{Which("fs0:\\which.txt"), Which("FS1:/which.txt"), Which("fs2:which.txt")}), N->Files);
  }
  // The simulator's loader numbers the same way.
  ASSERT_TRUE(Fw().InstallImage("fs0:\\probe.efi", {"probe.efi", nullptr, nullptr}));
  EFI_HANDLE Probe = nullptr;
  ASSERT_EQ(Fw().LoadImageFile("fs0:\\probe.efi", &Probe), EFI_SUCCESS);
  auto *Loaded = static_cast<EFI_LOADED_IMAGE *>(Fw().FindProtocol(Probe, gEfiLoadedImageProtocolGuid));
  ASSERT_NE(Loaded, nullptr);
  EXPECT_EQ(Loaded->DeviceHandle, B);
  EXPECT_EQ(Fw().UnloadImage(Probe), EFI_SUCCESS);
}

TEST_F(FileDevicePathTest, PathIsVolumeThenFileNode) {
  MountExtraVolume();
  const std::tuple<const char *, size_t, std::u16string> Cases[] = {
      {"iniparse.efi", 0, u"\\tools\\iniparse.efi"},
      {"fs1:\\bin\\iniparse.efi", 1, u"\\bin\\iniparse.efi"},
      {"fs0:/a//b.efi", 0, u"\\a\\b.efi"},
      {"\\root.efi", 0, u"\\root.efi"}};
  for (const auto &[Name, Volume, OnVolume] : Cases) {
    size_t LiveBefore = crt::LiveBlockCount();
    EFI_DEVICE_PATH *Path = crt::FileDevicePathOf(Name);
    ASSERT_NE(Path, nullptr) << Name;
    EFI_DEVICE_PATH *VolumePath = nullptr;
    ASSERT_EQ(crt::SystemTable()->BootServices->HandleProtocol(Fw().VolumeHandle(Volume), &gEfiDevicePathProtocolGuid,
                                                               reinterpret_cast<void **>(&VolumePath)),
              EFI_SUCCESS);
    Bytes Expected = BytesOf(VolumePath);
    Expected.resize(Expected.size() - 4);  // without its end node
    AddFilePath(Expected, OnVolume);
    AddEnd(Expected);
    EXPECT_EQ(BytesOf(Path), Expected) << Name;
    crt::FreeDevicePath(Path);
    EXPECT_EQ(crt::LiveBlockCount(), LiveBefore);
  }
  for (const char *Bad : {"fs5:\\x.efi", "net0:\\x.efi", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(crt::FileDevicePathOf(Bad), nullptr);
  }
  crt::FreeDevicePath(nullptr);
}

}  // namespace
