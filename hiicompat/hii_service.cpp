#include "hiicompat/hii_service.h"

#include "hiibuild/framework_hii.h"
#include "hiicompat/compat_state.h"
#include "hiicompat/framework_export.h"
#include "runtime/crt.h"

namespace hiicompat {

namespace {

// The record as this image fills it: EFI_HII_PROTOCOL's layout with every
// entry typed, so it can be constant-initialised.
struct ServedHiiProtocol;
using UnservedEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This);
using ExportEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This, UINT16 Handle, UINTN *BufferSize, VOID *Buffer);
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
  FrameworkExport Export{};
  const EFI_STATUS Status = BuildFrameworkExport(Export);
  if (Status != EFI_SUCCESS) {
    Export.Release();
    return Status;
  }
  const UINTN Needed = Export.Size;
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    Export.Release();
    return EFI_BUFFER_TOO_SMALL;
  }
  if (Buffer == nullptr) {
    Export.Release();
    return EFI_INVALID_PARAMETER;
  }
  crt::memcpy(Buffer, Export.Bytes, Needed);
  *BufferSize = Needed;
  // The driver reads and writes the stores this export names.
  gCompat.Bridged.TakeFrom(Export.Stores);
  Export.Release();
  return EFI_SUCCESS;
}

constinit ServedHiiProtocol Served = {
    Unserved, Unserved, Unserved, ExportDatabase,
    {Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved, Unserved,
     Unserved, Unserved}};
constinit EFI_GUID ClassicGuid = gFrameworkHiiProtocolGuid;

bool Present(EFI_BOOT_SERVICES *Boot, const EFI_GUID &Guid) {
  EFI_GUID Wanted = Guid;
  EFI_HANDLE Found[1] = {nullptr};
  UINTN Size = sizeof Found;
  // EFI_BUFFER_TOO_SMALL means several handles: present all the same.
  return Boot->LocateHandle(ByProtocol, &Wanted, nullptr, &Size, Found) != EFI_NOT_FOUND;
}

}  // namespace

bool FrameworkHiiPresent(EFI_BOOT_SERVICES *Boot) {
  return Present(Boot, gFrameworkHiiProtocolGuid) || Present(Boot, gFrameworkHiiLaterProtocolGuid);
}

EFI_STATUS InstallFrameworkHii(EFI_HANDLE ImageHandle) {
  EFI_HANDLE Handle = ImageHandle;
  const EFI_STATUS Status =
      crt::SystemTable()->BootServices->InstallProtocolInterface(&Handle, &ClassicGuid, EFI_NATIVE_INTERFACE, &Served);
  gCompat.HiiInstalled = Status == EFI_SUCCESS;
  return Status;
}

EFI_STATUS UninstallFrameworkHii(EFI_HANDLE ImageHandle) {
  if (!gCompat.HiiInstalled) return EFI_SUCCESS;
  const EFI_STATUS Status =
      crt::SystemTable()->BootServices->UninstallProtocolInterface(ImageHandle, &ClassicGuid, &Served);
  if (Status == EFI_SUCCESS) gCompat.HiiInstalled = FALSE;
  return Status;
}

}  // namespace hiicompat
