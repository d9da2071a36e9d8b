// Copying the firmware's Framework HII database into the form database.
//
// The export is taken in two calls: one with no buffer to learn the size,
// one into a buffer of exactly that size. The buffer lies below 4 GiB because
// one-of option texts point into it and clients read them through 32-bit
// addresses.
#include "hiibuild/framework_hii.h"
#include "forms/hii_retrieval.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace {

// Room for two handles, as the firmware's own setup browser asks for.
constexpr UINTN HII_HANDLE_SLOTS = 2;

// Looks for the protocol under one GUID. NoHandle is set when no handle
// carries it at all (LocateHandle's EFI_NOT_FOUND), which is the only case
// in which the caller may try another GUID: a handle whose HandleProtocol
// fails, even with EFI_NOT_FOUND, means the firmware has the protocol.
[[nodiscard]] EFI_STATUS LocateByGuid(SetupFormDatabase &Db, const EFI_GUID &ProtocolGuid, bool &NoHandle) {
  NoHandle = false;
  EFI_SYSTEM_TABLE *System = crt::SystemTable();
  EFI_BOOT_SERVICES *Boot = System != nullptr ? System->BootServices : nullptr;
  if (Boot == nullptr) return EFI_NOT_READY;
  EFI_GUID Guid = ProtocolGuid;
  EFI_HANDLE Handles[HII_HANDLE_SLOTS] = {};
  UINTN Size = sizeof(Handles);
  EFI_STATUS Status = Boot->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles);
  NoHandle = Status == EFI_NOT_FOUND;
  if (EFI_ERROR(Status)) return Status;

  Db.Hii = nullptr;
  UINTN Count = Size / sizeof(EFI_HANDLE);
  if (Count > HII_HANDLE_SLOTS) Count = HII_HANDLE_SLOTS;
  EFI_STATUS Last = EFI_NOT_FOUND;
  for (UINTN Index = 0; Index < Count; ++Index) {
    VOID *Interface = nullptr;
    Last = Boot->HandleProtocol(Handles[Index], &Guid, &Interface);
    if (EFI_ERROR(Last)) continue;
    if (Interface == nullptr) {
      Last = EFI_NOT_FOUND;
      continue;
    }
    Db.Hii = static_cast<EFI_HII_PROTOCOL *>(Interface);
    Db.HiiHandle = 0;
    return EFI_SUCCESS;
  }
  return Last;
}

}  // namespace

EFI_STATUS LocateHiiProtocol(SetupFormDatabase &Db) {
  bool NoHandle = false;
  EFI_STATUS Status = LocateByGuid(Db, gFrameworkHiiProtocolGuid, NoHandle);
  if (!NoHandle) return Status;
  return LocateByGuid(Db, gFrameworkHiiLaterProtocolGuid, NoHandle);
}

void ReadExportHeader(SetupFormDatabase &Db) {
  crt::memset(Db.ExportHeader, 0, sizeof(Db.ExportHeader));
  Db.ExportHeaderSize = EXPORT_HEADER_SIZE;
  Db.DataTableCount = 0;
  if (Db.ExportBuffer == nullptr) return;
  UINT32 Copied = Db.ExportSize < EXPORT_HEADER_SIZE ? Db.ExportSize : EXPORT_HEADER_SIZE;
  crt::memcpy(Db.ExportHeader, Db.ExportBuffer, Copied);
  if (Db.ExportSize < EXPORT_HEADER_SIZE) return;

  // The later firmware's 20-byte header is told apart by where its revision
  // GUID sits: at byte 4 behind a 32-bit count instead of at byte 2.
  if (Db.ExportSize >= WIDE_EXPORT_HEADER_SIZE &&
      GuidBytesEqual(Db.ExportBuffer + 4, gFrameworkHiiLaterProtocolGuid) &&
      !GuidBytesEqual(Db.ExportBuffer + 2, gFrameworkHiiLaterProtocolGuid)) {
    Db.ExportHeaderSize = WIDE_EXPORT_HEADER_SIZE;
    Db.DataTableCount = Le32(Db.ExportBuffer);
    return;
  }
  Db.DataTableCount = Le16(Db.ExportBuffer);
}

EFI_STATUS SetupFormDatabase::RetrieveForms() {
  // A buffer still held belongs to records that would dangle; start afresh.
  if (ExportBuffer != nullptr || Questions != nullptr) (void)DiscardForms();

  if (ExportSize == 0 || Hii == nullptr) {
    EFI_STATUS Located = LocateHiiProtocol(*this);
    if (EFI_ERROR(Located)) {
      ExportSize = 0;
      return Located;
    }
    UINTN Measured = 0;
    EFI_STATUS Measure = Hii->ExportDatabase(Hii, HiiHandle, &Measured, nullptr);
    if (Measured == 0) {
      ExportSize = 0;
      return EFI_ERROR(Measure) && Measure != EFI_BUFFER_TOO_SMALL ? Measure : EFI_NOT_FOUND;
    }
    if (Measured > 0xFFFFFFFFu) {
      ExportSize = 0;
      return EFI_OUT_OF_RESOURCES;
    }
    ExportSize = static_cast<UINT32>(Measured);
  }

  UINT32 Allocated = ExportSize;
  crt::PagesBelow4G<UINT8> Buffer(static_cast<UINT8 *>(crt::AllocateBelow4G(Allocated)));
  if (!Buffer) {
    ExportSize = 0;
    return EFI_OUT_OF_RESOURCES;
  }
  crt::memset(Buffer.Get(), 0, Allocated);
  UINTN Written = Allocated;
  EFI_STATUS Status = Hii->ExportDatabase(Hii, HiiHandle, &Written, Buffer.Get());
  if (EFI_ERROR(Status)) {
    ExportSize = 0;
    return Status;
  }
  // Never trust a reported size beyond what was handed over.
  ExportSize = Written < Allocated ? static_cast<UINT32>(Written) : Allocated;
  ExportBuffer = Buffer.Release();
  ReadExportHeader(*this);
  return EFI_SUCCESS;
}
