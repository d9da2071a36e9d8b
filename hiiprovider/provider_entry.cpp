#include "hiiprovider/provider_entry.h"

#include "hiibuild/served_hii_protocol.h"
#include "hiiprovider/console.h"
#include "hiiprovider/device_io_stand_in.h"
#include "hiiprovider/hii_service.h"
#include "hiiprovider/platform_source.h"
#include "hiiprovider/provider_state.h"
#include "hiiprovider/variable_seeding.h"
#include "runtime/crt.h"
#include "runtime/root_device.h"

namespace hiiprovider {

namespace {

constinit EFI_GUID LoadedImageProtocolGuid = LOADED_IMAGE_PROTOCOL;

// Shuts the runtime down (releasing the heap with any file it read) when the
// entry point leaves early, unless the start-up succeeded.
class RuntimeUntilLoaded {
 public:
  ~RuntimeUntilLoaded() {
    if (Loaded) return;
    crt::Shutdown();
    gProvider = ProviderState{};
  }
  void Succeed() { Loaded = true; }

 private:
  bool Loaded = false;
};

[[nodiscard]] EFI_STATUS RegisterUnload(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Loaded = nullptr;
  const EFI_STATUS Status = crt::SystemTable()->BootServices->HandleProtocol(
      ImageHandle, &LoadedImageProtocolGuid, reinterpret_cast<void **>(&Loaded));
  if (Status != EFI_SUCCESS || Loaded == nullptr) return EFI_LOAD_ERROR;
  Loaded->Unload = ProviderUnload;
  return EFI_SUCCESS;
}

// The device I/O stand-in only where the firmware has no root device I/O:
// two end-only paths would leave LocateDevicePath to choose between them.
[[nodiscard]] EFI_STATUS InstallServices(EFI_HANDLE ImageHandle) {
  if (!crt::RootDeviceIoPresent(crt::SystemTable()->BootServices)) {
    const EFI_STATUS Status = InstallDeviceIoStandIn(ImageHandle);
    if (Status != EFI_SUCCESS) return Status;
  }
  const EFI_STATUS Status = InstallHii(ImageHandle);
  if (Status != EFI_SUCCESS) (void)UninstallDeviceIoStandIn(ImageHandle);
  return Status;
}

void ReportServed(const PlatformSource &Source, const SeedCounts &Counts) {
  CHAR16 Guid[GUID_TEXT_UNITS];
  FormatGuid(gProvider.HiiGuid, Guid);
  Say(W(u"forms from %hs: %lu bytes, Framework HII %ls"), Source.Export.Origin,
      static_cast<unsigned long>(Source.Export.Size), Guid);
  Say(W(u"variables from %hs: %u created, %u kept, %u failed"), Source.Variables.Origin, Counts.Created,
      Counts.Kept, Counts.Failed);
  Say(W(u"device I/O on the root device path: %ls"),
      gProvider.DeviceIoInstalled ? W(u"the provider's stand-in") : W(u"the firmware's own"));
}

}  // namespace

EFI_STATUS ProviderEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) return EFI_INVALID_PARAMETER;
  // Checked before anything touches the image's state or its runtime: the
  // host simulator lets a second copy share the first one's data.
  if (FrameworkHiiPresent(SystemTable->BootServices)) return EFI_ALREADY_STARTED;

  // The runtime's start-up ends the image on firmware older than EFI 1.10;
  // a failed environment or watchdog step (firmware without a watchdog says
  // EFI_UNSUPPORTED) costs the provider nothing. Only a runtime that never
  // took the system table, because Exit came back, is no use.
  (void)crt::Startup(ImageHandle, SystemTable);
  if (crt::SystemTable() == nullptr) return EFI_UNSUPPORTED;
  RuntimeUntilLoaded Runtime;
  EFI_STATUS Status = RegisterUnload(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;

  PlatformSource Source;
  Status = LoadPlatformSource(Source);
  if (Status != EFI_SUCCESS) return Status;
  SeedCounts Counts{};
  Status = SeedVariables(static_cast<const char *>(Source.Variables.Bytes), Source.Variables.Size,
                         Source.Variables.Origin, Counts);
  if (Status != EFI_SUCCESS) return Status;

  gProvider.Export = static_cast<const UINT8 *>(Source.Export.Bytes);
  gProvider.ExportSize = Source.Export.Size;
  Status = InstallServices(ImageHandle);
  if (Status != EFI_SUCCESS) {
    Say(W(u"installing the protocols failed: status 0x%lx"), static_cast<unsigned long>(Status));
    return Status;
  }
  ReportServed(Source, Counts);
  // The export now lives as long as the image; the heap keeps the file's
  // bytes until the unload handler shuts the runtime down.
  (void)Source.Export.File.Bytes.Release();
  Runtime.Succeed();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ProviderUnload(EFI_HANDLE ImageHandle) {
  EFI_STATUS Status = UninstallHii(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;
  Status = UninstallDeviceIoStandIn(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;
  crt::Shutdown();
  gProvider = ProviderState{};
  return EFI_SUCCESS;
}

}  // namespace hiiprovider
