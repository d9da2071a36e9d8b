#include "hiiprovider/device_io_stand_in.h"

#include "hiiprovider/provider_state.h"
#include "runtime/crt.h"
#include "runtime/root_device.h"

namespace hiiprovider {

namespace {

constinit EFI_GUID DeviceIoProtocolGuid = DEVICE_IO_PROTOCOL;
constinit EFI_GUID DevicePathProtocolGuid = DEVICE_PATH_PROTOCOL;

EFI_STATUS EFIAPI UnsupportedAccess(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_WIDTH, UINT64, UINTN, VOID *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI UnsupportedMap(EFI_DEVICE_IO_PROTOCOL *, EFI_IO_OPERATION_TYPE, EFI_PHYSICAL_ADDRESS *,
                                 UINTN *, EFI_PHYSICAL_ADDRESS *, VOID **) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI UnsupportedPciDevicePath(EFI_DEVICE_IO_PROTOCOL *, UINT64, EFI_DEVICE_PATH **) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI UnsupportedUnmap(EFI_DEVICE_IO_PROTOCOL *, VOID *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedAllocate(EFI_DEVICE_IO_PROTOCOL *, EFI_ALLOCATE_TYPE, EFI_MEMORY_TYPE, UINTN,
                                      EFI_PHYSICAL_ADDRESS *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI UnsupportedFlush(EFI_DEVICE_IO_PROTOCOL *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI UnsupportedFree(EFI_DEVICE_IO_PROTOCOL *, UINTN, EFI_PHYSICAL_ADDRESS) { return EFI_UNSUPPORTED; }

constinit EFI_DEVICE_IO_PROTOCOL StandIn = {
    {UnsupportedAccess, UnsupportedAccess}, {UnsupportedAccess, UnsupportedAccess},
    {UnsupportedAccess, UnsupportedAccess}, UnsupportedMap, UnsupportedPciDevicePath, UnsupportedUnmap,
    UnsupportedAllocate, UnsupportedFlush, UnsupportedFree};

}  // namespace

EFI_STATUS InstallDeviceIoStandIn(EFI_HANDLE ImageHandle) {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  EFI_HANDLE Handle = ImageHandle;
  EFI_STATUS Status =
      Boot->InstallProtocolInterface(&Handle, &DevicePathProtocolGuid, EFI_NATIVE_INTERFACE, crt::RootDevicePath());
  if (Status != EFI_SUCCESS) return Status;
  Status = Boot->InstallProtocolInterface(&Handle, &DeviceIoProtocolGuid, EFI_NATIVE_INTERFACE, &StandIn);
  if (Status != EFI_SUCCESS) {
    (void)Boot->UninstallProtocolInterface(ImageHandle, &DevicePathProtocolGuid, crt::RootDevicePath());
    return Status;
  }
  gProvider.DeviceIoInstalled = TRUE;
  return EFI_SUCCESS;
}

EFI_STATUS UninstallDeviceIoStandIn(EFI_HANDLE ImageHandle) {
  if (!gProvider.DeviceIoInstalled) return EFI_SUCCESS;
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  EFI_STATUS Status = Boot->UninstallProtocolInterface(ImageHandle, &DeviceIoProtocolGuid, &StandIn);
  if (Status != EFI_SUCCESS) return Status;
  Status = Boot->UninstallProtocolInterface(ImageHandle, &DevicePathProtocolGuid, crt::RootDevicePath());
  if (Status != EFI_SUCCESS) return Status;
  gProvider.DeviceIoInstalled = FALSE;
  return EFI_SUCCESS;
}

}  // namespace hiiprovider
