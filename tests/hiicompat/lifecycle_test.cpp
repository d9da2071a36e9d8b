// Loading and unloading hiicompat: where it refuses to install, what it
// installs, and that unloading (or ExitBootServices, for the wrap) puts
// back everything it changed, the runtime services table's CRC included.
#include "hiicompat/bridged_stores.h"
#include "simimages/images.h"
#include "tests/hiicompat/modern_platform.h"

#include <cstring>

namespace compat_test {
namespace {

constexpr EFI_GUID kDeviceIoGuid = DEVICE_IO_PROTOCOL;

struct TableSnapshot {
  EFI_GET_VARIABLE Get;
  EFI_SET_VARIABLE Set;
  UINT32 Crc;
};

TableSnapshot Snapshot(sim::Firmware &Fw) {
  EFI_RUNTIME_SERVICES *Rt = Fw.SystemTable()->RuntimeServices;
  return TableSnapshot{Rt->GetVariable, Rt->SetVariable, Rt->Hdr.CRC32};
}

bool CrcHolds(sim::Firmware &Fw) {
  EFI_RUNTIME_SERVICES *Rt = Fw.SystemTable()->RuntimeServices;
  EFI_RUNTIME_SERVICES Copy = *Rt;
  Copy.Hdr.CRC32 = 0;
  UINT32 Crc = 0;
  EXPECT_EQ(Fw.SystemTable()->BootServices->CalculateCrc32(&Copy, Copy.Hdr.HeaderSize, &Crc), EFI_SUCCESS);
  return Crc == Rt->Hdr.CRC32;
}

EFI_STATUS EFIAPI ForeignGet(CHAR16 *, EFI_GUID *, UINT32 *, UINTN *, VOID *) { return EFI_NOT_FOUND; }

using LifecycleTest = CompatImageTest;

TEST_F(LifecycleTest, InstallsOnItsOwnHandleAndUnloadingUndoesEverything) {
  const TableSnapshot Before = Snapshot(Fw());
  const size_t Handles = Fw().HandleCount();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_NE(Fw().FindProtocol(Compat(), kFrameworkHiiProtocolGuid), nullptr);
  EXPECT_NE(Fw().FindProtocol(Compat(), kDeviceIoGuid), nullptr);
  EXPECT_NE(Fw().SystemTable()->RuntimeServices->GetVariable, Before.Get);
  EXPECT_TRUE(CrcHolds(Fw())) << "the wrap reseals the table";
  EXPECT_EQ(Fw().EventCount(), 1u) << "an event undoes the wrap at ExitBootServices";

  ASSERT_EQ(Unload(), EFI_SUCCESS);
  const TableSnapshot After = Snapshot(Fw());
  EXPECT_EQ(After.Get, Before.Get);
  EXPECT_EQ(After.Set, Before.Set);
  EXPECT_EQ(After.Crc, Before.Crc);
  EXPECT_EQ(Fw().HandleCount(), Handles) << "the image handle and every protocol are gone";
  EXPECT_EQ(Fw().EventCount(), 0u);
  EXPECT_TRUE(Fw().HandlesWith(kFrameworkHiiProtocolGuid).empty());
  EXPECT_EQ(Load(), EFI_SUCCESS) << "and it loads again";
}

TEST_F(LifecycleTest, RefusesWhereFrameworkHiiExists) {
  Fw().InstallHii(std::vector<uint8_t>(18, 0), kFrameworkHiiProtocolGuid);
  const TableSnapshot Before = Snapshot(Fw());
  const size_t Handles = Fw().HandleCount();
  EFI_HANDLE Image = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\hiicompat.efi", &Image), EFI_ALREADY_STARTED);
  EXPECT_EQ(Fw().HandleCount(), Handles);
  EXPECT_EQ(Snapshot(Fw()).Get, Before.Get);
}

TEST(LifecycleWithoutUefiHii, RefusesWithNothingToTranslate) {
  sim::Firmware Fw;
  sim::TempFolder Folder("bioscfg-compat");
  Fw.MountVolume(Folder.Path());
  Fw.RemoveRootDeviceIo();
  Fw.InstallPciRootBridge();
  ASSERT_TRUE(Fw.InstallImage("fs0:\\hiicompat.efi", simimages::HiiCompatImage()));
  const size_t Handles = Fw.HandleCount();
  EFI_HANDLE Image = nullptr;
  EXPECT_EQ(Fw.LoadAndStart("fs0:\\hiicompat.efi", &Image), EFI_UNSUPPORTED);
  EXPECT_NE(Fw.ConsoleText().find("no UEFI HII database"), std::string::npos);
  EXPECT_EQ(Fw.HandleCount(), Handles);
  EXPECT_EQ(Fw.LivePoolBlocks(), 0u);
}

TEST_F(LifecycleTest, RefusesASecondCopy) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\hiicompat.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_EQ(Fw().HandlesWith(kFrameworkHiiProtocolGuid).size(), 1u);
}

TEST_F(LifecycleTest, UnloadWaitsWhileAnotherDriverWrapsOnTop) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EFI_RUNTIME_SERVICES *Rt = Fw().SystemTable()->RuntimeServices;
  const EFI_GET_VARIABLE Ours = Rt->GetVariable;
  Rt->GetVariable = ForeignGet;
  EXPECT_EQ(Unload(), EFI_ACCESS_DENIED) << "restoring would drop the other driver's entry";
  EXPECT_EQ(Rt->GetVariable, ForeignGet);
  EXPECT_NE(Fw().FindProtocol(Compat(), kFrameworkHiiProtocolGuid), nullptr) << "nothing was undone";
  Rt->GetVariable = Ours;
  EXPECT_EQ(Unload(), EFI_SUCCESS);
}

TEST_F(LifecycleTest, ExitBootServicesPutsTheVariableServicesBack) {
  const TableSnapshot Before = Snapshot(Fw());
  ASSERT_EQ(Load(), EFI_SUCCESS);
  Fw().SignalExitBootServices();
  EXPECT_EQ(Snapshot(Fw()).Get, Before.Get);
  EXPECT_EQ(Snapshot(Fw()).Set, Before.Set);
  EXPECT_TRUE(CrcHolds(Fw()));
}

TEST_F(LifecycleTest, DeviceIoOnlyWhereNoneIsOnTheRootPath) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  ASSERT_EQ(Unload(), EFI_SUCCESS);
  // A firmware device I/O on an end-only path (a second handle).
  static uint64_t Theirs = 0;
  const uint8_t EndOnly[] = {0x7F, 0xFF, 4, 0};
  static std::vector<uint8_t> Path(EndOnly, EndOnly + 4);
  EFI_HANDLE Handle = Fw().InstallProtocol(nullptr, gEfiDevicePathProtocolGuid, Path.data());
  ASSERT_NE(Fw().InstallProtocol(Handle, kDeviceIoGuid, &Theirs), nullptr);
  Fw().ClearConsole();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_EQ(Fw().FindProtocol(Compat(), kDeviceIoGuid), nullptr);
  EXPECT_NE(Fw().ConsoleText().find("device I/O on the root device path: the firmware's own"), std::string::npos);
}

TEST_F(LifecycleTest, BridgedVariablesAnswerOnlyWhileLoaded) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  std::u16string Name = u"Missing";
  EFI_GUID Guid = hiicompat::gHiiCompatBridgeGuid;
  UINTN Size = 0;
  uint8_t Byte = 0;
  EFI_RUNTIME_SERVICES *Rt = Fw().SystemTable()->RuntimeServices;
  EXPECT_EQ(Rt->SetVariable(reinterpret_cast<CHAR16 *>(Name.data()), &Guid, hiicompat::BRIDGED_ATTRIBUTES, 1, &Byte),
            EFI_WRITE_PROTECTED)
      << "no variable can be made under the bridge's GUID";
  EXPECT_EQ(Rt->GetVariable(reinterpret_cast<CHAR16 *>(Name.data()), &Guid, nullptr, &Size, nullptr), EFI_NOT_FOUND);
  EXPECT_TRUE(Fw().Variables().empty()) << "nothing reached the firmware's store";
}

}  // namespace
}  // namespace compat_test
