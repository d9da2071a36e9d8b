#include "runtime/root_device.h"

namespace crt {

namespace {

constinit EFI_GUID DeviceIoProtocolGuid = DEVICE_IO_PROTOCOL;
constinit EFI_DEVICE_PATH EndOnlyPath = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE,
                                         {END_DEVICE_PATH_LENGTH, 0}};

}  // namespace

EFI_DEVICE_PATH *RootDevicePath() { return &EndOnlyPath; }

bool RootDeviceIoPresent(EFI_BOOT_SERVICES *Boot) {
  EFI_DEVICE_PATH *Remaining = &EndOnlyPath;
  EFI_HANDLE Device = nullptr;
  if (Boot->LocateDevicePath(&DeviceIoProtocolGuid, &Remaining, &Device) != EFI_SUCCESS) return false;
  void *DeviceIo = nullptr;
  if (Boot->HandleProtocol(Device, &DeviceIoProtocolGuid, &DeviceIo) != EFI_SUCCESS) return false;
  return DeviceIo != nullptr;
}

}  // namespace crt
