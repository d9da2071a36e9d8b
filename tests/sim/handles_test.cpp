// Handle database: the sizes LocateHandle reports, installation rules, and
// LocateDevicePath's longest-prefix matching.
#include "sim/device_path.h"
#include "tests/sim/platform_helpers.h"

namespace {

class HandleTest : public PlatformTest {
 protected:
  int Interfaces[4] = {};
  EFI_GUID Probe = MakeGuid(0xA0);

  std::vector<EFI_HANDLE> InstallOn(int Count) {
    std::vector<EFI_HANDLE> Handles;
    for (int Index = 0; Index < Count; ++Index) {
      EFI_HANDLE Handle = nullptr;
      EXPECT_EQ(BS()->InstallProtocolInterface(&Handle, &Probe, EFI_NATIVE_INTERFACE, &Interfaces[Index]), EFI_SUCCESS);
      Handles.push_back(Handle);
    }
    return Handles;
  }
};

TEST_F(HandleTest, LocateHandleReportsTheSizeItNeeds) {
  struct Case {
    int Installed;
    UINTN Offered;
    EFI_STATUS Expected;
    UINTN Reported;
  };
  const Case Cases[] = {
      {0, 8, EFI_NOT_FOUND, 8},          // nothing found leaves the size alone
      {1, 8, EFI_SUCCESS, 8},
      {1, 0, EFI_BUFFER_TOO_SMALL, 8},
      {2, 16, EFI_SUCCESS, 16},
      {3, 16, EFI_BUFFER_TOO_SMALL, 24},  // a 16-byte buffer holds two handles
      {1, 7, EFI_BUFFER_TOO_SMALL, 8},
  };
  for (const Case &C : Cases) {
    Probe = MakeGuid(0xB0 + static_cast<uint32_t>(&C - Cases));
    const std::vector<EFI_HANDLE> Installed = InstallOn(C.Installed);
    EFI_HANDLE Buffer[3] = {};
    UINTN Size = C.Offered;
    EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Probe, nullptr, &Size, C.Offered == 0 ? nullptr : Buffer), C.Expected)
        << "installed " << C.Installed << ", offered " << C.Offered;
    EXPECT_EQ(Size, C.Reported);
    if (C.Expected == EFI_SUCCESS) {
      EXPECT_TRUE(std::equal(Installed.begin(), Installed.end(), Buffer)) << "handles in creation order";
    }
  }
}

TEST_F(HandleTest, LocateHandleRejectsBadArguments) {
  UINTN Size = 8;
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, nullptr, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Probe, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
  InstallOn(1);
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Probe, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  Size = 0;
  EXPECT_EQ(BS()->LocateHandle(AllHandles, nullptr, nullptr, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, Fw.HandleCount() * sizeof(EFI_HANDLE));
}

TEST_F(HandleTest, InstallationRulesAndTheLastProtocolTakingItsHandle) {
  EFI_HANDLE Handle = InstallOn(1)[0];
  EXPECT_EQ(BS()->InstallProtocolInterface(&Handle, &Probe, EFI_NATIVE_INTERFACE, &Interfaces[1]), EFI_INVALID_PARAMETER)
      << "the GUID is already on the handle";
  EFI_GUID Second = MakeGuid(0xA1);
  ASSERT_EQ(BS()->InstallProtocolInterface(&Handle, &Second, EFI_NATIVE_INTERFACE, nullptr), EFI_SUCCESS);
  EXPECT_EQ(BS()->UninstallProtocolInterface(Handle, &Probe, &Interfaces[1]), EFI_NOT_FOUND) << "other interface";
  EXPECT_EQ(BS()->UninstallProtocolInterface(Handle, &Probe, &Interfaces[0]), EFI_SUCCESS);
  void *Found = &Found;
  EXPECT_EQ(BS()->HandleProtocol(Handle, &Probe, &Found), EFI_UNSUPPORTED);
  EXPECT_EQ(Found, nullptr);
  const size_t Before = Fw.HandleCount();
  EXPECT_EQ(BS()->UninstallProtocolInterface(Handle, &Second, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Fw.HandleCount(), Before - 1);
  EXPECT_EQ(BS()->HandleProtocol(Handle, &Second, &Found), EFI_INVALID_PARAMETER) << "stale handle";
  EFI_HANDLE Stale = Handle;
  EXPECT_EQ(BS()->InstallProtocolInterface(&Stale, &Probe, EFI_NATIVE_INTERFACE, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HandleTest, LocateProtocolAndBufferFindTheFirstInstalled) {
  const std::vector<EFI_HANDLE> Handles = InstallOn(2);
  void *Interface = nullptr;
  ASSERT_EQ(BS()->LocateProtocol(&Probe, nullptr, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Interface, &Interfaces[0]);
  UINTN Count = 0;
  EFI_HANDLE *Buffer = nullptr;
  ASSERT_EQ(BS()->LocateHandleBuffer(ByProtocol, &Probe, nullptr, &Count, &Buffer), EFI_SUCCESS);
  ASSERT_EQ(Count, 2u);
  EXPECT_EQ(Buffer[1], Handles[1]);
  EXPECT_EQ(Fw.LivePoolBlocks(), 1u) << "the buffer is pool memory";
  EXPECT_EQ(BS()->FreePool(Buffer), EFI_SUCCESS);
  EFI_GUID Absent = MakeGuid(0xA9);
  EXPECT_EQ(BS()->LocateProtocol(&Absent, nullptr, &Interface), EFI_NOT_FOUND);
  EXPECT_EQ(Interface, nullptr);
}

// LocateDevicePath over three handles: the root (end node only), a volume
// (vendor node), and a partition-like child of the volume.
class DevicePathTest : public HandleTest {
 protected:
  sim::DevicePathBytes Volume = sim::VolumeDevicePath(7);
  sim::DevicePathBytes File = sim::AppendDevicePath(Volume, sim::FilePathDevicePath(u"\\a.efi"));
  sim::DevicePathBytes Child;
  EFI_HANDLE VolumeHandle = nullptr;

  void SetUp() override {
    VolumeHandle = Fw.InstallProtocol(nullptr, gEfiDevicePathProtocolGuid, Volume.data());
    Fw.InstallProtocol(VolumeHandle, gEfiDeviceIoProtocolGuid, &Interfaces[0]);
  }

  EFI_STATUS Locate(sim::DevicePathBytes &Path, EFI_HANDLE *Device, size_t *Consumed) {
    EFI_DEVICE_PATH *Cursor = reinterpret_cast<EFI_DEVICE_PATH *>(Path.data());
    const EFI_STATUS Status = BS()->LocateDevicePath(&gEfiDeviceIoProtocolGuid, &Cursor, Device);
    *Consumed = static_cast<size_t>(reinterpret_cast<uint8_t *>(Cursor) - Path.data());
    return Status;
  }
};

TEST_F(DevicePathTest, EndOnlyPathFindsTheRootDevice) {
  sim::DevicePathBytes Root = sim::EndOnlyDevicePath();
  EFI_HANDLE Device = nullptr;
  size_t Consumed = 99;
  ASSERT_EQ(Locate(Root, &Device, &Consumed), EFI_SUCCESS);
  EXPECT_EQ(Device, Fw.RootDeviceIoHandle());
  EXPECT_EQ(Consumed, 0u);
  void *Interface = nullptr;
  EXPECT_EQ(BS()->HandleProtocol(Device, &gEfiDeviceIoProtocolGuid, &Interface), EFI_SUCCESS);
  EXPECT_NE(Interface, nullptr);
}

TEST_F(DevicePathTest, LongestPrefixWinsAndThePathAdvancesPastIt) {
  EFI_HANDLE Device = nullptr;
  size_t Consumed = 0;
  ASSERT_EQ(Locate(File, &Device, &Consumed), EFI_SUCCESS);
  EXPECT_EQ(Device, VolumeHandle);
  EXPECT_EQ(Consumed, Volume.size() - 4) << "past the vendor node, at the file node";
  EXPECT_EQ(File[Consumed], sim::MEDIA_DEVICE_PATH_TYPE);

  // A path that differs inside the vendor node falls back to the root.
  sim::DevicePathBytes Other = sim::VolumeDevicePath(8);
  ASSERT_EQ(Locate(Other, &Device, &Consumed), EFI_SUCCESS);
  EXPECT_EQ(Device, Fw.RootDeviceIoHandle());
  EXPECT_EQ(Consumed, 0u);
}

TEST_F(DevicePathTest, NothingMatchesWithoutTheRootDevice) {
  Fw.RemoveRootDeviceIo();
  EXPECT_EQ(Fw.RootDeviceIoHandle(), nullptr);
  sim::DevicePathBytes Root = sim::EndOnlyDevicePath();
  EFI_HANDLE Device = nullptr;
  size_t Consumed = 0;
  EXPECT_EQ(Locate(Root, &Device, &Consumed), EFI_NOT_FOUND);
  sim::DevicePathBytes Malformed = {0x01, 0x04, 0x02, 0x00};  // node length below 4
  EXPECT_EQ(Locate(Malformed, &Device, &Consumed), EFI_INVALID_PARAMETER);
}

}  // namespace
