// How the driver's variable calls reach buffer stores: while the image is
// loaded, the runtime services table's GetVariable and SetVariable point at
// wrappers that answer calls for gHiiCompatBridgeGuid from the bridged
// stores (bridged_stores.h) and hand every other call, unchanged, to the
// entries that were there before. The table's CRC is recomputed after each
// change, as UEFI requires of anyone who edits a service table.
//
// The wrappers are boot-services code, gone once an operating system owns
// the machine, so an EVT_SIGNAL_EXIT_BOOT_SERVICES event puts the saved
// entries back before that happens.
//
// The driver copies the system table at its entry but keeps calling
// through the runtime services table it points at, so the wrap reaches it
// whether it was loaded before or after this image, without anything in
// the driver knowing about buffer stores.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

// Puts the wrappers in place. EFI_SUCCESS; EFI_ALREADY_STARTED when they
// are in place already; CreateEvent's status when the event that undoes
// them at ExitBootServices cannot be had (nothing is wrapped then).
[[nodiscard]] EFI_STATUS WrapVariableServices();

// Puts the saved entries back and closes the event. EFI_SUCCESS (also when
// nothing was wrapped); EFI_ACCESS_DENIED when someone has replaced the
// wrappers since: their entries would be lost with ours, so the table is
// left as it is.
[[nodiscard]] EFI_STATUS UnwrapVariableServices();

// The wrappers themselves (exposed for tests). For gHiiCompatBridgeGuid:
// GetVariable answers as firmware does (EFI_NOT_FOUND for a name no store
// has, EFI_BUFFER_TOO_SMALL with the size and attributes, EFI_INVALID_PARAMETER
// for missing arguments) from ExtractConfig; SetVariable takes only a whole
// store written with BRIDGED_ATTRIBUTES (EFI_INVALID_PARAMETER otherwise,
// EFI_WRITE_PROTECTED for a deletion or a name no store has) and returns
// the owner's answer to the change.
EFI_STATUS EFIAPI WrappedGetVariable(CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, VOID *Data);
EFI_STATUS EFIAPI WrappedSetVariable(CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, VOID *Data);

}  // namespace hiicompat
