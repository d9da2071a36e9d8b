// Loading, refusing and unloading the driver image.
#include "driver/image_state.h"
#include "driver/settings_engine.h"
#include "tests/support/driver_harness.h"

namespace {

EFI_GUID ProtocolGuid() { return BIOS_CONFIG_PROTOCOL_GUID; }

size_t InstalledInstances(sim::Firmware &Fw) {
  EFI_GUID Guid = ProtocolGuid();
  EFI_HANDLE Handles[4] = {};
  UINTN Size = sizeof Handles;
  const EFI_STATUS Status =
      Fw.SystemTable()->BootServices->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles);
  return Status == EFI_SUCCESS ? Size / sizeof(EFI_HANDLE) : 0;
}

using DriverEntryTest = DriverTest;

TEST_F(DriverEntryTest, InstallsOneProtocolOnItsImageHandle) {
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  EXPECT_EQ(Proto()->Revision, 0x00010000u);
  void *OnImage = nullptr;
  EFI_GUID Guid = ProtocolGuid();
  ASSERT_EQ(Fw().SystemTable()->BootServices->HandleProtocol(DriverHandle(), &Guid, &OnImage), EFI_SUCCESS);
  EXPECT_EQ(OnImage, Proto());
  // No session exists until a client opens one.
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.Catalog, nullptr);
}

TEST_F(DriverEntryTest, SecondCopyIsRefusedAndTheFirstKeepsWorking) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\tools\\bioscfg.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  UINT8 Flag = 0xFF;
  EXPECT_EQ(Proto()->GetSessionFlag(Proto(), &Flag), EFI_SUCCESS);
  EXPECT_EQ(Flag, 0);
  EXPECT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
}

TEST_F(DriverEntryTest, NoDeviceIoOnTheRootPathIsUnsupported) {
  ASSERT_EQ(UnloadDriver(), EFI_SUCCESS);
  Fw().RemoveRootDeviceIo();
  EXPECT_EQ(LoadDriver(), EFI_UNSUPPORTED);
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
}

TEST_F(DriverEntryTest, FirmwareOlderThanEfi110IsRefusedWithAMessage) {
  ASSERT_EQ(UnloadDriver(), EFI_SUCCESS);
  Fw().ClearConsole();
  Fw().SetRevision(0x00010000);
  EXPECT_EQ(LoadDriver(), EFI_UNSUPPORTED);
  EXPECT_EQ(Fw().ConsoleText(), "Please start this image in EFI higher version \r\n");
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
  EXPECT_EQ(Fw().Calls(sim::Service::Exit), 1u);
}

TEST_F(DriverEntryTest, Efi110ItselfIsAccepted) {
  ASSERT_EQ(UnloadDriver(), EFI_SUCCESS);
  Fw().SetRevision(0x0001000A);
  EXPECT_EQ(LoadDriver(), EFI_SUCCESS);
}

TEST_F(DriverEntryTest, UnloadWithoutSessionRemovesTheProtocol) {
  EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
}

TEST_F(DriverEntryTest, UnloadWithSessionClosesItFirst) {
  InstallEmptyHii();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 1), EFI_SUCCESS);
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  const uint64_t ClosesBefore = Fw().Calls(sim::Service::FileClose);

  EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.CatalogHolder, nullptr);
  EXPECT_EQ(gImage.Catalog, nullptr);
  EXPECT_GT(Fw().Calls(sim::Service::FileClose), ClosesBefore) << "catalog file left open";
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
}

TEST_F(DriverEntryTest, LoadsAgainAfterUnloadWithFreshState) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  gImage.ReloadRequired = 1;
  gImage.DeferAfterReloadChange = 0;
  ASSERT_EQ(UnloadDriver(), EFI_SUCCESS);

  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  EXPECT_EQ(gImage.ReloadRequired, 0);
  EXPECT_EQ(gImage.DeferAfterReloadChange, 1);
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

}  // namespace
