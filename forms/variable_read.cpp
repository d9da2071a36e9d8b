#include "forms/variable_read.h"

#include "runtime/crt.h"

namespace {

// Characters before the NUL of Name, read byte-wise (names inside the export
// need not be aligned); false when there is no NUL within the copy buffer.
[[nodiscard]] bool NameUnits(const CHAR16 *Name, UINT32 *Units) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Name);
  for (UINT32 Index = 0; Index < VARIABLE_NAME_CHARS; ++Index) {
    if (Bytes[2 * Index] == 0 && Bytes[2 * Index + 1] == 0) {
      *Units = Index;
      return true;
    }
  }
  return false;
}

void Fetch(const VariableServices &Source, VariableSnapshot *Snapshot) {
  UINT32 Attributes = 0;
  UINTN Size = VARIABLE_READ_BYTES;
  Snapshot->Status = Source.Get(Source.Context, Snapshot->Name, &Snapshot->Guid, &Attributes, &Size, Snapshot->Data);
  // Only EFI_SUCCESS vouches for the buffer; a warning is no data either.
  if (Snapshot->Status != EFI_SUCCESS) return;
  if (Size > VARIABLE_READ_BYTES) Snapshot->Status = EFI_BAD_BUFFER_SIZE;
  Snapshot->Attributes = Attributes;
  Snapshot->Size = static_cast<UINT32>(Size);
}

}  // namespace

VariableRead::VariableRead(SetupFormDatabase &Db) : Snapshot(nullptr), Owned(nullptr) {
  // GetVariable refuses a NULL GUID; there is nothing to ask.
  if (Db.CurrentVariableName == nullptr || Db.CurrentVariableGuid == nullptr) return;
  if (Db.Variables.IsActive()) Snapshot = Db.Variables.FindRecent(Db.CurrentVariableName, Db.CurrentVariableGuid);
  if (Snapshot != nullptr) {
    Settle(Db);
    return;
  }
  UINT32 Units = 0;
  if (!NameUnits(Db.CurrentVariableName, &Units)) return;
  const auto *NameBytes = reinterpret_cast<const UINT8 *>(Db.CurrentVariableName);
  EFI_GUID Guid;
  crt::memcpy(&Guid, Db.CurrentVariableGuid, sizeof(Guid));

  if (Db.Variables.IsActive()) Snapshot = Db.Variables.Find(NameBytes, Units, Guid);
  if (Snapshot == nullptr) {
    VariableSnapshot *Fresh = NewVariableSnapshot(NameBytes, Units, Guid);
    if (Fresh == nullptr) return;
    Fetch(*Db.VariableSource, Fresh);
    if (Db.Variables.IsActive()) {
      Db.Variables.Keep(Fresh);
    } else {
      Owned = Fresh;
    }
    Snapshot = Fresh;
  }
  if (Db.Variables.IsActive()) Db.Variables.RememberRecent(Db.CurrentVariableName, Db.CurrentVariableGuid, Snapshot);
  Settle(Db);
}

void VariableRead::Settle(SetupFormDatabase &Db) const {
  if (!HasData()) return;
  Db.CurrentVariableAttributes = Snapshot->Attributes;
  Db.CurrentVariableSize = Snapshot->Size;
}

VariableRead::~VariableRead() { crt::free(Owned); }
