#include "driver/driver_entry.h"

#include "driver/bios_config_protocol.h"
#include "driver/extensions_protocol.h"
#include "driver/image_state.h"
#include "runtime/crt.h"
#include "runtime/root_device.h"

namespace {

// EFI 1.10: older firmware lacks services the driver and its runtime use.
constexpr UINT32 MINIMUM_SYSTEM_TABLE_REVISION = 0x0001000A;

constinit EFI_GUID LoadedImageProtocolGuid = LOADED_IMAGE_PROTOCOL;

// Old firmware: say so on the console and end the image. Exit does not
// return on real firmware; the return covers one that does.
EFI_STATUS RefuseOldFirmware(EFI_HANDLE ImageHandle) {
  EFI_SYSTEM_TABLE &System = gImage.SystemTableCopy;
  if (System.ConOut != nullptr) {
    System.ConOut->OutputString(
        System.ConOut, WMutable(const_cast<char16_t *>(u"Please start this image in EFI higher version \r\n")));
  }
  System.BootServices->Exit(ImageHandle, EFI_UNSUPPORTED, 0, nullptr);
  return EFI_UNSUPPORTED;
}

bool AlreadyInstalled(EFI_BOOT_SERVICES *Boot) {
  EFI_HANDLE Found[1] = {nullptr};
  UINTN Size = sizeof Found;
  // EFI_BUFFER_TOO_SMALL means several instances: installed all the same.
  return Boot->LocateHandle(ByProtocol, &gBiosConfigProtocolGuid, nullptr, &Size, Found) !=
         EFI_NOT_FOUND;
}

}  // namespace

EFI_STATUS DriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  // The driver and its libraries work from their own copy of the table.
  gImage.SystemTableCopy = *SystemTable;
  InitializeLib(ImageHandle, &gImage.SystemTableCopy);
  if (gImage.SystemTableCopy.Hdr.Revision < MINIMUM_SYSTEM_TABLE_REVISION) {
    return RefuseOldFirmware(ImageHandle);
  }

  EFI_BOOT_SERVICES *Boot = gImage.SystemTableCopy.BootServices;
  if (AlreadyInstalled(Boot)) return EFI_ALREADY_STARTED;
  // The platforms this driver serves publish their device I/O protocol on
  // the root device; without it the driver has nothing to work with.
  if (!crt::RootDeviceIoPresent(Boot)) return EFI_UNSUPPORTED;

  EFI_LOADED_IMAGE *LoadedImage = nullptr;
  if (Boot->HandleProtocol(ImageHandle, &LoadedImageProtocolGuid,
                           reinterpret_cast<void **>(&LoadedImage)) != EFI_SUCCESS ||
      LoadedImage == nullptr) {
    return EFI_LOAD_ERROR;
  }
  LoadedImage->Unload = DriverUnload;

  // A runtime that failed part of its start-up still serves the protocol:
  // an environment that a firmware failure cut short is read again when a
  // name is missing, and a watchdog the firmware would not turn off only
  // means a firmware timeout stays armed.
  (void)crt::Startup(ImageHandle, &gImage.SystemTableCopy);

  gImage.ImageHandle = ImageHandle;
  EFI_STATUS Status = Boot->InstallProtocolInterface(&ImageHandle, &gBiosConfigProtocolGuid,
                                                     EFI_NATIVE_INTERFACE, &BiosConfigProtocolInterface);
  if (Status == EFI_SUCCESS) {
    Status = Boot->InstallProtocolInterface(&ImageHandle, &gBiosConfigExtensionsProtocolGuid, EFI_NATIVE_INTERFACE,
                                            &BiosConfigExtensionsInterface);
    if (Status != EFI_SUCCESS) {
      (void)Boot->UninstallProtocolInterface(ImageHandle, &gBiosConfigProtocolGuid, &BiosConfigProtocolInterface);
    }
  }
  // Firmware discards an image whose installation failed, but not what the
  // runtime took from the pool (the environment, above all): give it back.
  // A warning is no plain success either: the interface may not be there.
  if (Status != EFI_SUCCESS) crt::Shutdown();
  return Status;
}

EFI_STATUS EFIAPI DriverUnload(EFI_HANDLE ImageHandle) {
  // With no session open this fails harmlessly; with one, it releases the
  // engine and the catalog before the interface goes away.
  (void)BiosConfigProtocolInterface.CloseSession(&BiosConfigProtocolInterface);
  // A failed uninstall leaves the image loaded: both interfaces stay, so
  // that a later unload can try again. A warning unloads all the same.
  EFI_BOOT_SERVICES *Boot = gImage.SystemTableCopy.BootServices;
  const EFI_STATUS Extensions =
      Boot->UninstallProtocolInterface(ImageHandle, &gBiosConfigExtensionsProtocolGuid, &BiosConfigExtensionsInterface);
  if (EFI_ERROR(Extensions)) return Extensions;
  const EFI_STATUS Status =
      Boot->UninstallProtocolInterface(ImageHandle, &gBiosConfigProtocolGuid, &BiosConfigProtocolInterface);
  if (EFI_ERROR(Status)) {
    (void)Boot->InstallProtocolInterface(&ImageHandle, &gBiosConfigExtensionsProtocolGuid, EFI_NATIVE_INTERFACE,
                                         &BiosConfigExtensionsInterface);
    return Status;
  }
  crt::Shutdown();
  return Extensions != EFI_SUCCESS ? Extensions : Status;
}
