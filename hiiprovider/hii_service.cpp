#include "hiiprovider/hii_service.h"

#include "hiibuild/framework_hii.h"
#include "hiiprovider/provider_state.h"
#include "runtime/crt.h"

namespace hiiprovider {

namespace {

// The record as this image fills it: the same layout as EFI_HII_PROTOCOL,
// with every entry typed so the record can be constant-initialised.
struct ServedHiiProtocol;
using UnservedEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This);
using ExportEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This, UINT16 Handle, UINTN *BufferSize,
                                         VOID *Buffer);
constexpr size_t ENTRIES_AFTER_EXPORT = 13;

struct ServedHiiProtocol {
  UnservedEntry NewPack;
  UnservedEntry RemovePack;
  UnservedEntry FindHandles;
  ExportEntry ExportDatabase;
  UnservedEntry Later[ENTRIES_AFTER_EXPORT];
};
static_assert(sizeof(ServedHiiProtocol) == sizeof(EFI_HII_PROTOCOL));
static_assert(offsetof(ServedHiiProtocol, ExportDatabase) == offsetof(EFI_HII_PROTOCOL, ExportDatabase));

EFI_STATUS EFIAPI Unserved(ServedHiiProtocol *) { return EFI_UNSUPPORTED; }

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

constinit ServedHiiProtocol Served = {
    Unserved, Unserved, Unserved, ExportDatabase,
    {Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved,
     Unserved, Unserved, Unserved}};

// The later revision's header: a 32-bit table count, then its GUID.
constexpr UINTN LATER_HEADER_GUID_OFFSET = 4;

bool Present(EFI_BOOT_SERVICES *Boot, const EFI_GUID &Guid) {
  EFI_GUID Wanted = Guid;
  EFI_HANDLE Found[1] = {nullptr};
  UINTN Size = sizeof Found;
  // EFI_BUFFER_TOO_SMALL means several handles: present all the same.
  return Boot->LocateHandle(ByProtocol, &Wanted, nullptr, &Size, Found) != EFI_NOT_FOUND;
}

}  // namespace

const EFI_GUID &HiiProtocolGuidFor(const UINT8 *Export, UINTN Size) {
  if (Size >= LATER_HEADER_GUID_OFFSET + sizeof(EFI_GUID) &&
      crt::memcmp(Export + LATER_HEADER_GUID_OFFSET, &gFrameworkHiiLaterProtocolGuid, sizeof(EFI_GUID)) == 0)
    return gFrameworkHiiLaterProtocolGuid;
  return gFrameworkHiiProtocolGuid;
}

bool FrameworkHiiPresent(EFI_BOOT_SERVICES *Boot) {
  return Present(Boot, gFrameworkHiiProtocolGuid) || Present(Boot, gFrameworkHiiLaterProtocolGuid);
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
