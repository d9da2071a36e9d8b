// Handle database: the sizes LocateHandle reports, installation rules, and
// LocateDevicePath's longest-prefix matching.
#include "sim/device_path.h"
#include "tests/sim/platform_helpers.h"

namespace {

class HandleTest : public PlatformTest {
 protected:
  int Interfaces[3] = {};
  EFI_GUID Probe = MakeGuid(0xA0);

  std::vector<EFI_HANDLE> InstallOn(int Count) {
    std::vector<EFI_HANDLE> Handles(Count, nullptr);
    for (int Index = 0; Index < Count; ++Index)
      EXPECT_EQ(BS()->InstallProtocolInterface(&Handles[Index], &Probe, EFI_NATIVE_INTERFACE, &Interfaces[Index]), EFI_SUCCESS);
    return Handles;
  }

  // LocateDevicePath for Device IO: the handle found and the bytes of Path consumed.
  std::pair<EFI_HANDLE, size_t> Locate(sim::DevicePathBytes Path, EFI_STATUS Expected = EFI_SUCCESS) {
    EFI_DEVICE_PATH *Cursor = reinterpret_cast<EFI_DEVICE_PATH *>(Path.data());
    EFI_HANDLE Device = nullptr;
    EXPECT_EQ(BS()->LocateDevicePath(&gEfiDeviceIoProtocolGuid, &Cursor, &Device), Expected);
    return {Device, static_cast<size_t>(reinterpret_cast<uint8_t *>(Cursor) - Path.data())};
  }
};

TEST_F(HandleTest, LocateHandleReportsTheSizeItNeeds) {
  struct Case { int Installed; UINTN Offered, Reported; EFI_STATUS Expected; };
  const Case Cases[] = {
      {0, 8, 8, EFI_NOT_FOUND},  // nothing found leaves the size alone
      {1, 0, 8, EFI_BUFFER_TOO_SMALL},
      {2, 16, 16, EFI_SUCCESS},
      {3, 16, 24, EFI_BUFFER_TOO_SMALL},  // a 16-byte buffer holds two handles
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
      EXPECT_TRUE(std::equal(Installed.begin(), Installed.end(), Buffer)) << "creation order";
    }
  }
  UINTN Size = 8;
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, nullptr, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Probe, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Probe, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER) << "size without buffer";
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
  EXPECT_EQ(BS()->InstallProtocolInterface(&Handle, &Probe, EFI_NATIVE_INTERFACE, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(HandleTest, LocateProtocolAndBufferFindTheFirstInstalled) {
  const std::vector<EFI_HANDLE> Handles = InstallOn(2);
  void *Interface = nullptr;
  ASSERT_EQ(BS()->LocateProtocol(&Probe, nullptr, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Interface, &Interfaces[0]);
  UINTN Count = 0;
  EFI_HANDLE *Buffer = nullptr;
  ASSERT_EQ(BS()->LocateHandleBuffer(ByProtocol, &Probe, nullptr, &Count, &Buffer), EFI_SUCCESS);
  EXPECT_EQ(std::vector<EFI_HANDLE>(Buffer, Buffer + Count), Handles);
  EXPECT_EQ(BS()->FreePool(Buffer), EFI_SUCCESS) << "the buffer is pool memory";
  Probe = MakeGuid(0xA9);
  EXPECT_EQ(BS()->LocateProtocol(&Probe, nullptr, &Interface), EFI_NOT_FOUND);
  EXPECT_EQ(Interface, nullptr);
}

// Over the root (end node only) and a volume (vendor node).
TEST_F(HandleTest, DevicePathLongestPrefixWinsAndTheEndOnlyPathFindsTheRootWhileThereIsOne) {
  sim::DevicePathBytes Volume = sim::VolumeDevicePath(7);
  EFI_HANDLE VolumeHandle = Fw.InstallProtocol(nullptr, gEfiDevicePathProtocolGuid, Volume.data());
  Fw.InstallProtocol(VolumeHandle, gEfiDeviceIoProtocolGuid, &Interfaces[0]);
  const sim::DevicePathBytes File = sim::AppendDevicePath(Volume, sim::FilePathDevicePath(u"\\a.efi"));
  const auto [Device, Consumed] = Locate(File);
  EXPECT_EQ(Device, VolumeHandle);
  EXPECT_EQ(Consumed, Volume.size() - 4) << "past the vendor node, at the file node";
  EXPECT_EQ(File[Consumed], sim::MEDIA_DEVICE_PATH_TYPE);
  const std::pair<EFI_HANDLE, size_t> AtRoot{Fw.RootDeviceIoHandle(), 0};
  EXPECT_EQ(Locate(sim::EndOnlyDevicePath()), AtRoot);
  EXPECT_EQ(Locate(sim::VolumeDevicePath(8)), AtRoot) << "differs inside the vendor node";
  void *Interface = nullptr;
  EXPECT_EQ(BS()->HandleProtocol(AtRoot.first, &gEfiDeviceIoProtocolGuid, &Interface), EFI_SUCCESS);
  EXPECT_NE(Interface, nullptr);
  Fw.RemoveRootDeviceIo();
  Locate(sim::EndOnlyDevicePath(), EFI_NOT_FOUND);
  Locate({0x01, 0x04, 0x02, 0x00}, EFI_INVALID_PARAMETER);  // node length below 4
}

}  // namespace
