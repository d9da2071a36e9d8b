// Loading, refusing and unloading the driver image.
#include "driver/image_state.h"
#include "messages/messages_state.h"
#include "settings/reload_flags.h"
#include "settings/settings_engine.h"
#include "sim/device_path.h"
#include "tests/support/driver_harness.h"

#include <functional>

namespace {

EFI_GUID gProtocolGuid = BIOS_CONFIG_PROTOCOL_GUID;

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
  gReloadFlags.ReloadRequired = 1;
  gReloadFlags.DeferAfterReloadChange = 0;
  const uint64_t ClosesBefore = Fw().Calls(sim::Service::FileClose);

  EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.CatalogHolder, nullptr);
  EXPECT_EQ(gMessages.Catalog, nullptr);
  EXPECT_GT(Fw().Calls(sim::Service::FileClose), ClosesBefore) << "catalog file left open";
  EXPECT_EQ(InstalledInstances(Fw()), 0u);

  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  EXPECT_EQ(InstalledInstances(Fw()), 1u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 1);
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

// The entry point's early exits and the failed installation, each made to
// happen by one fault; afterwards nothing is installed and nothing is left
// in the pool (the harness checks that after every test).
class DriverEntryFaultTest : public DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(UnloadDriver(), EFI_SUCCESS);
  }
  // Loads a copy of the driver, lets Arm prepare the platform, starts it.
  EFI_STATUS Start(const std::function<void()> &Arm) {
    EFI_HANDLE Image = nullptr;
    EXPECT_EQ(Fw().LoadImageFile("fs0:\\tools\\bioscfg.efi", &Image), EFI_SUCCESS);
    Arm();
    const EFI_STATUS Status = Fw().StartImage(Image);
    Fw().ClearFaults();
    return Status;
  }
};

TEST_F(DriverEntryFaultTest, EachCheckEndsTheLoadWithItsStatus) {
  const EFI_GUID DeviceIo = DEVICE_IO_PROTOCOL;
  static sim::DevicePathBytes EndOnly = sim::EndOnlyDevicePath();
  sim::Firmware &F = Fw();
  struct Case {
    const char *What;
    std::function<void()> Arm;
    EFI_STATUS Expected;
  };
  const Case Cases[] = {
      // Anything but "not found" from the already-installed check means installed.
      {"instance lookup fails", [&] { F.FailNthCall(sim::Service::LocateHandle, 1, EFI_DEVICE_ERROR, gProtocolGuid); },
       EFI_ALREADY_STARTED},
      {"instance lookup finds several",
       [&] { F.FailNthCall(sim::Service::LocateHandle, 1, EFI_BUFFER_TOO_SMALL, gProtocolGuid); }, EFI_ALREADY_STARTED},
      {"instance lookup warns",
       [&] { F.FailNthCall(sim::Service::LocateHandle, 1, EFI_WARN_BUFFER_TOO_SMALL, gProtocolGuid); },
       EFI_ALREADY_STARTED},
      {"no device I/O device path",
       [&] { F.FailNthCall(sim::Service::LocateDevicePath, 1, EFI_NOT_FOUND, DeviceIo); }, EFI_UNSUPPORTED},
      {"device I/O interface refused",
       [&] { F.FailNthCall(sim::Service::HandleProtocol, 1, EFI_UNSUPPORTED, DeviceIo); }, EFI_UNSUPPORTED},
      {"installation fails", [&] { F.FailNthCall(sim::Service::InstallProtocolInterface, 1, EFI_OUT_OF_RESOURCES); },
       EFI_OUT_OF_RESOURCES},
      {"installation refused",
       [&] { F.FailNthCall(sim::Service::InstallProtocolInterface, 1, EFI_INVALID_PARAMETER); },
       EFI_INVALID_PARAMETER},
      {"device I/O interface is NULL",
       [&] {
         F.RemoveRootDeviceIo();
         EFI_HANDLE Root = F.InstallProtocol(nullptr, gEfiDevicePathProtocolGuid, EndOnly.data());
         F.InstallProtocol(Root, DeviceIo, nullptr);
       },
       EFI_UNSUPPORTED},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(Start(C.Arm), C.Expected) << C.What;
    EXPECT_EQ(InstalledInstances(Fw()), 0u) << C.What;
    EXPECT_EQ(Fw().LivePoolBlocks(), 0u) << C.What << ": pool left behind";
  }
}

TEST_F(DriverEntryFaultTest, NoLoadedImageProtocolIsALoadError) {
  const EFI_STATUS Status = Start([&] {
    const EFI_HANDLE Image = Fw().HandlesWith(gEfiLoadedImageProtocolGuid).back();
    void *Loaded = Fw().FindProtocol(Image, gEfiLoadedImageProtocolGuid);
    ASSERT_EQ(Fw().SystemTable()->BootServices->UninstallProtocolInterface(Image, &gEfiLoadedImageProtocolGuid, Loaded),
              EFI_SUCCESS);
  });
  EXPECT_EQ(Status, EFI_LOAD_ERROR);
  EXPECT_EQ(InstalledInstances(Fw()), 0u);
}

TEST_F(DriverEntryFaultTest, UnloadReturnsTheUninstallStatusUnchanged) {
  for (const EFI_STATUS Fault : {EFI_ACCESS_DENIED, EFI_INVALID_PARAMETER, EFI_STATUS{EFI_WARN_DELETE_FAILURE}}) {
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
    Fw().FailNthCall(sim::Service::UninstallProtocolInterface, 1, Fault);
    EXPECT_EQ(Fw().UnloadImage(DriverHandle()), Fault);
    if (EFI_ERROR(Fault)) {
      EXPECT_EQ(UnloadDriver(), EFI_SUCCESS) << "the retry";
    } else {
      ForgetDriver();  // a warning still unloads the image
    }
    EXPECT_EQ(Fw().LivePoolBlocks(), 0u) << "the runtime is shut down either way";
  }
}

}  // namespace
