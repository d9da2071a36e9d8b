// EFI_HII_PROTOCOL as an image fills it when all it serves is the database
// export: the same layout, with every entry typed so the record can be
// constant-initialised, and every entry but ExportDatabase answering
// EFI_UNSUPPORTED. Shared by the images that stand in for a Framework HII
// database (the sample provider and the UEFI 2.x bridge).
#pragma once

#include "hiibuild/framework_hii.h"

#include <stddef.h>

struct ServedHiiProtocol;
using UnservedHiiEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This);
using ServedExportEntry = EFI_STATUS(EFIAPI *)(ServedHiiProtocol *This, UINT16 Handle, UINTN *BufferSize,
                                               VOID *Buffer);
inline constexpr size_t SERVED_ENTRIES_AFTER_EXPORT = 13;

struct ServedHiiProtocol {
  UnservedHiiEntry NewPack;
  UnservedHiiEntry RemovePack;
  UnservedHiiEntry FindHandles;
  ServedExportEntry ExportDatabase;
  UnservedHiiEntry Later[SERVED_ENTRIES_AFTER_EXPORT];
};
static_assert(sizeof(ServedHiiProtocol) == sizeof(EFI_HII_PROTOCOL));
static_assert(offsetof(ServedHiiProtocol, ExportDatabase) == offsetof(EFI_HII_PROTOCOL, ExportDatabase));

inline EFI_STATUS EFIAPI UnservedHiiCall(ServedHiiProtocol *) { return EFI_UNSUPPORTED; }

constexpr ServedHiiProtocol ServedHiiRecord(ServedExportEntry Export) {
  ServedHiiProtocol Record{UnservedHiiCall, UnservedHiiCall, UnservedHiiCall, Export, {}};
  for (UnservedHiiEntry &Entry : Record.Later) Entry = UnservedHiiCall;
  return Record;
}

// Whether any handle carries the Framework HII protocol under either GUID
// (an image like this one loaded before, or firmware with its own
// database).
inline bool FrameworkHiiPresent(EFI_BOOT_SERVICES *Boot) {
  const EFI_GUID Known[] = {gFrameworkHiiProtocolGuid, gFrameworkHiiLaterProtocolGuid};
  for (const EFI_GUID &Guid : Known) {
    EFI_GUID Wanted = Guid;
    EFI_HANDLE Found[1] = {nullptr};
    UINTN Size = sizeof Found;
    // EFI_BUFFER_TOO_SMALL means several handles: present all the same.
    if (Boot->LocateHandle(ByProtocol, &Wanted, nullptr, &Size, Found) != EFI_NOT_FOUND) return true;
  }
  return false;
}
