// Loading, refusing and unloading the driver image.
#include "driver/image_state.h"
#include "driver/settings_engine.h"
#include "tests/support/driver_harness.h"

namespace {

size_t InstalledInstances(sim::Firmware &Fw) {
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  EFI_HANDLE Handles[4] = {};
  UINTN Size = sizeof Handles;
  const EFI_STATUS Status =
      Fw.SystemTable()->BootServices->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles);
  return Status == EFI_SUCCESS ? Size / sizeof(EFI_HANDLE) : 0;
}

using DriverEntryTest = DriverTest;

TEST_F(DriverEntryTest, InstallsOnItsImageHandleAndRefusesASecondCopy) {
  void *OnImage = nullptr;
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  ASSERT_EQ(Fw().SystemTable()->BootServices->HandleProtocol(DriverHandle(), &Guid, &OnImage), EFI_SUCCESS);
  EXPECT_EQ(OnImage, Proto());
  EXPECT_EQ(gImage.SessionOpen, 0) << "no session until a client opens one";

  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\tools\\bioscfg.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  UINT8 Flag = 0xFF;
  EXPECT_EQ(Proto()->GetSessionFlag(Proto(), &Flag), EFI_SUCCESS) << "the first copy keeps its session";
  EXPECT_EQ(Flag, 0);
  EXPECT_EQ(Proto()->GetSessionFlag(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
}

TEST_F(DriverEntryTest, UnsupportedPlatformsInstallNothing) {
  ASSERT_EQ(UnloadDriver(), EFI_SUCCESS) << "unload with no session reports the uninstall status";
  EXPECT_EQ(InstalledInstances(Fw()), 0u);

  Fw().SetRevision(0x00010000);
  EXPECT_EQ(LoadDriver(), EFI_UNSUPPORTED);
  EXPECT_EQ(Fw().ConsoleText(), "Please start this image in EFI higher version \r\n");
  EXPECT_EQ(Fw().Calls(sim::Service::Exit), 1u);
  EXPECT_EQ(InstalledInstances(Fw()), 0u);

  Fw().SetRevision(0x0001000A);
  Fw().RemoveRootDeviceIo();
  EXPECT_EQ(LoadDriver(), EFI_UNSUPPORTED) << "EFI 1.10 passes, the missing device I/O does not";
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
}

TEST_F(DriverEntryTest, UnloadClosesTheSessionAndTheDriverLoadsAgainFresh) {
  InstallEmptyHii();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(gImage.Engine->EnsureFormsLoaded(), EFI_SUCCESS);
  gImage.ReloadRequired = 1;
  gImage.DeferAfterReloadChange = 0;
  const uint64_t ClosesBefore = Fw().Calls(sim::Service::FileClose);

  EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.CatalogHolder, nullptr);
  EXPECT_EQ(gImage.Catalog, nullptr);
  EXPECT_GT(Fw().Calls(sim::Service::FileClose), ClosesBefore) << "catalog file left open";
  EXPECT_EQ(InstalledInstances(Fw()), 0u);

  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  EXPECT_EQ(gImage.ReloadRequired, 0);
  EXPECT_EQ(gImage.DeferAfterReloadChange, 1);
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

}  // namespace
