#include "hiicompat/hii_service.h"

#include "hiibuild/served_hii_protocol.h"
#include "hiicompat/compat_state.h"
#include "hiicompat/framework_export.h"
#include "runtime/crt.h"

namespace hiicompat {

namespace {

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

constinit ServedHiiProtocol Served = ServedHiiRecord(ExportDatabase);
constinit EFI_GUID ClassicGuid = gFrameworkHiiProtocolGuid;

}  // namespace

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
