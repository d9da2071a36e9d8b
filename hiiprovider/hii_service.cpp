#include "hiiprovider/hii_service.h"

#include "hiibuild/served_hii_protocol.h"
#include "hiiprovider/provider_state.h"
#include "runtime/crt.h"

namespace hiiprovider {

namespace {

EFI_STATUS EFIAPI ExportDatabase(ServedHiiProtocol *This, UINT16 Handle, UINTN *BufferSize, VOID *Buffer) {
  if (This == nullptr || BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Handle != 0) return EFI_NOT_FOUND;
  const UINTN Needed = gProvider.ExportSize;
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Buffer == nullptr && Needed != 0) return EFI_INVALID_PARAMETER;
  if (Needed != 0) crt::memcpy(Buffer, gProvider.Export, Needed);
  *BufferSize = Needed;
  return EFI_SUCCESS;
}

constinit ServedHiiProtocol Served = ServedHiiRecord(ExportDatabase);

// The later revision's header: a 32-bit table count, then its GUID.
constexpr UINTN LATER_HEADER_GUID_OFFSET = 4;

}  // namespace

const EFI_GUID &HiiProtocolGuidFor(const UINT8 *Export, UINTN Size) {
  if (Size >= LATER_HEADER_GUID_OFFSET + sizeof(EFI_GUID) &&
      crt::memcmp(Export + LATER_HEADER_GUID_OFFSET, &gFrameworkHiiLaterProtocolGuid, sizeof(EFI_GUID)) == 0)
    return gFrameworkHiiLaterProtocolGuid;
  return gFrameworkHiiProtocolGuid;
}

EFI_STATUS InstallHii(EFI_HANDLE ImageHandle) {
  gProvider.HiiGuid = HiiProtocolGuidFor(gProvider.Export, gProvider.ExportSize);
  EFI_HANDLE Handle = ImageHandle;
  const EFI_STATUS Status = crt::SystemTable()->BootServices->InstallProtocolInterface(
      &Handle, &gProvider.HiiGuid, EFI_NATIVE_INTERFACE, &Served);
  gProvider.HiiInstalled = Status == EFI_SUCCESS;
  return Status;
}

EFI_STATUS UninstallHii(EFI_HANDLE ImageHandle) {
  if (!gProvider.HiiInstalled) return EFI_SUCCESS;
  const EFI_STATUS Status =
      crt::SystemTable()->BootServices->UninstallProtocolInterface(ImageHandle, &gProvider.HiiGuid, &Served);
  if (Status == EFI_SUCCESS) gProvider.HiiInstalled = FALSE;
  return Status;
}

}  // namespace hiiprovider
