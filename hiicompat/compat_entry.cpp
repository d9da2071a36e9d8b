#include "hiicompat/compat_entry.h"

#include "hiicompat/compat_report.h"
#include "hiicompat/compat_state.h"
#include "hiicompat/device_io.h"
#include "hiicompat/framework_export.h"
#include "hiibuild/served_hii_protocol.h"
#include "hiicompat/hii_service.h"
#include "hiicompat/variable_wrap.h"
#include "runtime/crt.h"
#include "runtime/root_device.h"

namespace hiicompat {

namespace {

constinit EFI_GUID LoadedImageGuid = LOADED_IMAGE_PROTOCOL;
constinit EFI_GUID DatabaseGuid = gEfiHiiDatabaseProtocolGuid;
constinit EFI_GUID RoutingGuid = gEfiHiiConfigRoutingProtocolGuid;

// Undoes the start-up when the entry point leaves early, unless it succeeded.
class UntilLoaded {
 public:
  explicit UntilLoaded(EFI_HANDLE Image) : Image(Image) {}
  ~UntilLoaded() {
    if (Loaded) return;
    (void)UnwrapVariableServices();
    (void)UninstallFrameworkHii(Image);
    (void)UninstallDeviceIo(Image);
    gCompat.Bridged.Clear();
    crt::Shutdown();
    ResetCompatState();
  }
  void Succeed() { Loaded = true; }

 private:
  EFI_HANDLE Image;
  bool Loaded = false;
};

[[nodiscard]] EFI_STATUS RegisterUnload(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Loaded = nullptr;
  const EFI_STATUS Status = crt::SystemTable()->BootServices->HandleProtocol(ImageHandle, &LoadedImageGuid,
                                                                            reinterpret_cast<void **>(&Loaded));
  if (Status != EFI_SUCCESS || Loaded == nullptr) return EFI_LOAD_ERROR;
  Loaded->Unload = CompatUnload;
  return EFI_SUCCESS;
}

void LocateHii(EFI_BOOT_SERVICES *Boot) {
  VOID *Interface = nullptr;
  if (Boot->LocateProtocol(&DatabaseGuid, nullptr, &Interface) == EFI_SUCCESS)
    gCompat.Database = static_cast<EFI_HII_DATABASE_PROTOCOL *>(Interface);
  Interface = nullptr;
  if (Boot->LocateProtocol(&RoutingGuid, nullptr, &Interface) == EFI_SUCCESS)
    gCompat.Routing = static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *>(Interface);
}

// Device I/O only where no handle has it on the root path: two would leave
// LocateDevicePath to choose between them.
[[nodiscard]] EFI_STATUS ProvideDeviceIo(EFI_HANDLE ImageHandle, DeviceIoSource &Source) {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  if (crt::RootDeviceIoPresent(Boot)) {
    Source = DeviceIoSource::FirmwareOwn;
    return EFI_SUCCESS;
  }
  EFI_HANDLE BridgeHandle = nullptr;
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *Bridge = FindRootBridge(Boot, &BridgeHandle);
  Source = Bridge != nullptr ? DeviceIoSource::RootBridge : DeviceIoSource::NoRootBridge;
  return InstallDeviceIo(ImageHandle, Bridge, BridgeHandle);
}

// The first translation, for the console: what the driver will see.
void ReportFirstExport() {
  FrameworkExport Export{};
  const EFI_STATUS Status = BuildFrameworkExport(Export);
  if (Status == EFI_SUCCESS) {
    ReportTranslation(Export.Counts, Export.Stores.Count());
  } else {
    Say(W(u"translating the HII database failed: status 0x%lx"), static_cast<unsigned long>(Status));
  }
  Export.Release();
}

}  // namespace

EFI_STATUS CompatEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) return EFI_INVALID_PARAMETER;
  // Checked before anything touches the image's state or its runtime: the
  // host simulator lets a second copy share the first one's data.
  if (FrameworkHiiPresent(SystemTable->BootServices)) return EFI_ALREADY_STARTED;

  // The runtime's start-up ends the image on firmware older than EFI 1.10;
  // a failed environment or watchdog step costs this image nothing.
  (void)crt::Startup(ImageHandle, SystemTable);
  if (crt::SystemTable() == nullptr) return EFI_UNSUPPORTED;
  UntilLoaded Guard(ImageHandle);
  LocateHii(crt::SystemTable()->BootServices);
  if (gCompat.Database == nullptr) {
    Say(W(u"no UEFI HII database: nothing to translate"));
    return EFI_UNSUPPORTED;
  }
  EFI_STATUS Status = RegisterUnload(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;

  DeviceIoSource Source = DeviceIoSource::FirmwareOwn;
  Status = ProvideDeviceIo(ImageHandle, Source);
  if (Status == EFI_SUCCESS) Status = InstallFrameworkHii(ImageHandle);
  if (Status == EFI_SUCCESS) Status = WrapVariableServices();
  if (Status != EFI_SUCCESS) {
    Say(W(u"installing failed: status 0x%lx"), static_cast<unsigned long>(Status));
    return Status;
  }
  ReportFirstExport();
  ReportDeviceIo(Source);
  Guard.Succeed();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CompatUnload(EFI_HANDLE ImageHandle) {
  // The wrap first: once it is undone nothing reaches the bridged stores.
  EFI_STATUS Status = UnwrapVariableServices();
  if (Status != EFI_SUCCESS) return Status;
  Status = UninstallFrameworkHii(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;
  Status = UninstallDeviceIo(ImageHandle);
  if (Status != EFI_SUCCESS) return Status;
  gCompat.Bridged.Clear();
  crt::Shutdown();
  ResetCompatState();
  return EFI_SUCCESS;
}

}  // namespace hiicompat
