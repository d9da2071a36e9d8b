#include "hiicompat/variable_wrap.h"

#include "hiicompat/byte_span.h"
#include "hiicompat/compat_state.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace hiicompat {

namespace {

EFI_RUNTIME_SERVICES *Runtime() { return crt::SystemTable()->RuntimeServices; }

// Recomputes the table's header CRC, as the boot service computes it: over
// HeaderSize bytes with the CRC field 0.
void SealRuntimeTable() {
  EFI_RUNTIME_SERVICES *Table = Runtime();
  Table->Hdr.CRC32 = 0;
  UINT32 Crc = 0;
  if (crt::SystemTable()->BootServices->CalculateCrc32(Table, Table->Hdr.HeaderSize, &Crc) == EFI_SUCCESS)
    Table->Hdr.CRC32 = Crc;
}

bool ForBridge(const EFI_GUID *Guid) { return Guid != nullptr && SameGuid(*Guid, gHiiCompatBridgeGuid); }

// Puts the saved entries back if ours are still there.
bool Restore() {
  EFI_RUNTIME_SERVICES *Table = Runtime();
  if (Table->GetVariable != WrappedGetVariable || Table->SetVariable != WrappedSetVariable) return false;
  Table->GetVariable = gCompat.OriginalGetVariable;
  Table->SetVariable = gCompat.OriginalSetVariable;
  SealRuntimeTable();
  return true;
}

VOID EFIAPI BeforeExitBootServices(EFI_EVENT, VOID *) {
  if (gCompat.VariablesWrapped && Restore()) gCompat.VariablesWrapped = FALSE;
}

}  // namespace

EFI_STATUS EFIAPI WrappedGetVariable(CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, VOID *Data) {
  if (!ForBridge(Guid)) return gCompat.OriginalGetVariable(Name, Guid, Attributes, DataSize, Data);
  if (Name == nullptr || DataSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Data == nullptr && *DataSize != 0) return EFI_INVALID_PARAMETER;
  BridgedStore *Store = gCompat.Bridged.Find(Name);
  if (Store == nullptr) return EFI_NOT_FOUND;
  if (Attributes != nullptr) *Attributes = BRIDGED_ATTRIBUTES;
  if (*DataSize < Store->Size) {
    *DataSize = Store->Size;
    return EFI_BUFFER_TOO_SMALL;
  }
  // Read into a block of our own: a failed read leaves the caller's buffer.
  crt::HeapPtr<UINT8> Bytes(static_cast<UINT8 *>(crt::malloc(Store->Size > 0 ? Store->Size : 1)));
  if (!Bytes) return EFI_OUT_OF_RESOURCES;
  const EFI_STATUS Status = ReadBridgedStore(*Store, Bytes.Get());
  if (Status != EFI_SUCCESS) return Status;
  crt::memcpy(Data, Bytes.Get(), Store->Size);
  *DataSize = Store->Size;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI WrappedSetVariable(CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, VOID *Data) {
  if (!ForBridge(Guid)) return gCompat.OriginalSetVariable(Name, Guid, Attributes, DataSize, Data);
  if (Name == nullptr || (DataSize != 0 && Data == nullptr)) return EFI_INVALID_PARAMETER;
  BridgedStore *Store = gCompat.Bridged.Find(Name);
  // A store is its owner's: it can be neither created nor deleted here.
  if (Store == nullptr || Attributes == 0 || DataSize == 0) return EFI_WRITE_PROTECTED;
  if (Attributes != BRIDGED_ATTRIBUTES || DataSize != Store->Size) return EFI_INVALID_PARAMETER;
  return WriteBridgedStore(*Store, static_cast<const UINT8 *>(Data));
}

EFI_STATUS WrapVariableServices() {
  if (gCompat.VariablesWrapped) return EFI_ALREADY_STARTED;
  EFI_EVENT Event = nullptr;
  const EFI_STATUS Status = crt::SystemTable()->BootServices->CreateEvent(
      EVT_SIGNAL_EXIT_BOOT_SERVICES, TPL_NOTIFY, BeforeExitBootServices, nullptr, &Event);
  if (Status != EFI_SUCCESS) return Status;
  gCompat.ExitBootServicesEvent = Event;
  EFI_RUNTIME_SERVICES *Table = Runtime();
  gCompat.OriginalGetVariable = Table->GetVariable;
  gCompat.OriginalSetVariable = Table->SetVariable;
  Table->GetVariable = WrappedGetVariable;
  Table->SetVariable = WrappedSetVariable;
  SealRuntimeTable();
  gCompat.VariablesWrapped = TRUE;
  return EFI_SUCCESS;
}

EFI_STATUS UnwrapVariableServices() {
  if (gCompat.VariablesWrapped) {
    if (!Restore()) return EFI_ACCESS_DENIED;
    gCompat.VariablesWrapped = FALSE;
  }
  if (gCompat.ExitBootServicesEvent != nullptr) {
    (void)crt::SystemTable()->BootServices->CloseEvent(gCompat.ExitBootServicesEvent);
    gCompat.ExitBootServicesEvent = nullptr;
  }
  return EFI_SUCCESS;
}

}  // namespace hiicompat
