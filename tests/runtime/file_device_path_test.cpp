// Volume numbering, the image folder and FileDevicePathOf through the
// simulated firmware's handle database.
#include "runtime/crt.h"
#include "runtime/file_names.h"
#include "runtime/volumes.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<UINT8>;
using FileDevicePathTest = SimTest;

Bytes PathBytes(const EFI_DEVICE_PATH *Path) {
  const auto *Data = reinterpret_cast<const UINT8 *>(Path);
  return Bytes(Data, Data + crt::detail::DevicePathBytes(Path));
}

Bytes VolumePathWithoutEnd(EFI_HANDLE Volume) {
  EFI_DEVICE_PATH *Path = nullptr;
  EXPECT_EQ(crt::SystemTable()->BootServices->HandleProtocol(Volume, &gEfiDevicePathProtocolGuid,
                                                              reinterpret_cast<void **>(&Path)),
            EFI_SUCCESS);
  Bytes Out = PathBytes(Path);
  Out.resize(Out.size() - 4);
  return Out;
}

Bytes FileNode(const std::u16string &Text) {
  size_t Length = 4 + (Text.size() + 1) * 2;
  Bytes Node = {MEDIA_DEVICE_PATH, MEDIA_FILEPATH_DP, static_cast<UINT8>(Length), static_cast<UINT8>(Length >> 8)};
  for (char16_t Unit : Text) Node.insert(Node.end(), {static_cast<UINT8>(Unit), static_cast<UINT8>(Unit >> 8)});
  Node.insert(Node.end(), {0, 0, END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});
  return Node;
}

TEST_F(FileDevicePathTest, VolumesAreNumberedAsTheShellNumbersThem) {
  MountExtraVolume();
  MountExtraVolume();
  for (size_t Index = 0; Index < 3; ++Index) {
    EXPECT_EQ(crt::detail::VolumeHandle(Index), Fw().VolumeHandle(Index)) << "fs" << Index;
  }
  EXPECT_EQ(crt::detail::VolumeHandle(3), nullptr);
}

TEST_F(FileDevicePathTest, PathIsVolumeThenFileNode) {
  MountExtraVolume();
  struct Case {
    const char *Name;
    size_t Volume;
    std::u16string OnVolume;
  } Cases[] = {
      {"iniparse.efi", 0, u"\\tools\\iniparse.efi"},
      {"fs1:\\bin\\iniparse.efi", 1, u"\\bin\\iniparse.efi"},
      {"fs0:/a//b.efi", 0, u"\\a\\b.efi"},
      {"\\root.efi", 0, u"\\root.efi"},
  };
  for (const Case &C : Cases) {
    size_t LiveBefore = crt::LiveBlockCount();
    EFI_DEVICE_PATH *Path = crt::FileDevicePathOf(C.Name);
    ASSERT_NE(Path, nullptr) << C.Name;
    Bytes Expected = VolumePathWithoutEnd(Fw().VolumeHandle(C.Volume));
    Bytes Node = FileNode(C.OnVolume);
    Expected.insert(Expected.end(), Node.begin(), Node.end());
    EXPECT_EQ(PathBytes(Path), Expected) << C.Name;
    crt::FreeDevicePath(Path);
    EXPECT_EQ(crt::LiveBlockCount(), LiveBefore);
  }
  EXPECT_EQ(crt::FileDevicePathOf("fs5:\\x.efi"), nullptr);
  EXPECT_EQ(crt::FileDevicePathOf("net0:\\x.efi"), nullptr);
  EXPECT_EQ(crt::FileDevicePathOf(nullptr), nullptr);
  crt::FreeDevicePath(nullptr);
}

TEST_F(FileDevicePathTest, FirmwareCanLoadWhatItNames) {
  // The simulator's LoadImage reads the file the path names.
  Fw().RegisterImage(sim::ImageDescriptor{"probe.efi", nullptr, nullptr, EfiBootServicesData});
  std::FILE *Host = std::fopen((VolumeDir(0) + "/tools/probe.efi").c_str(), "wb");
  ASSERT_NE(Host, nullptr);
  std::fclose(Host);
  EFI_DEVICE_PATH *Path = crt::FileDevicePathOf("probe.efi");
  ASSERT_NE(Path, nullptr);
  EFI_HANDLE Loaded = nullptr;
  EXPECT_EQ(crt::SystemTable()->BootServices->LoadImage(FALSE, Image(), Path, nullptr, 0, &Loaded), EFI_SUCCESS);
  crt::FreeDevicePath(Path);
  if (Loaded != nullptr) {
    EXPECT_EQ(Fw().UnloadImage(Loaded), EFI_SUCCESS);
  }
}

void AddNode(Bytes &Path, UINT8 Type, UINT8 SubType, const Bytes &Payload) {
  size_t Length = 4 + Payload.size();
  Path.insert(Path.end(), {Type, SubType, static_cast<UINT8>(Length), static_cast<UINT8>(Length >> 8)});
  Path.insert(Path.end(), Payload.begin(), Payload.end());
}

struct FolderCase {
  const char *Name;
  std::vector<std::u16string> Nodes;
  const char *Expected;  // nullptr: no folder
};

class ImageFolder : public SimTest, public ::testing::WithParamInterface<FolderCase> {};

TEST_P(ImageFolder, IsTextUpToLastSeparator) {
  Bytes Path;
  AddNode(Path, HARDWARE_DEVICE_PATH, HW_PCI_DP, {0, 1});
  for (const std::u16string &Text : GetParam().Nodes) {
    Bytes Node = FileNode(Text);
    Path.insert(Path.end(), Node.begin(), Node.end() - 4);  // without its end node
  }
  AddNode(Path, END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {});
  CHAR16 *Folder = crt::detail::ImageFolderOf(reinterpret_cast<const EFI_DEVICE_PATH *>(Path.data()));
  if (GetParam().Expected == nullptr) {
    EXPECT_EQ(Folder, nullptr);
    return;
  }
  ASSERT_NE(Folder, nullptr);
  std::string Text;
  for (CHAR16 *At = Folder; *At != 0; ++At) Text.push_back(static_cast<char>(*At));
  crt::free(Folder);
  EXPECT_EQ(Text, GetParam().Expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ImageFolder,
    ::testing::Values(FolderCase{"Nested", {u"\\tools\\test.efi"}, "\\tools"},
                      FolderCase{"Deep", {u"\\EFI\\tools\\bin\\bioscfg.efi"}, "\\EFI\\tools\\bin"},
                      FolderCase{"Root", {u"\\bioscfg.efi"}, ""},
                      FolderCase{"NoSeparator", {u"bioscfg.efi"}, ""},
                      FolderCase{"SplitOverNodes", {u"\\tools", u"\\sub\\x.efi"}, "\\tools\\sub"},
                      FolderCase{"NoFilePathNode", {}, nullptr}),
    [](const ::testing::TestParamInfo<FolderCase> &Info) { return std::string(Info.param.Name); });

}  // namespace
