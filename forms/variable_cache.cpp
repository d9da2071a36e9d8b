#include "forms/variable_cache.h"

#include "runtime/crt.h"

VariableSnapshot *NewVariableSnapshot(const UINT8 *NameBytes, UINT32 NameUnits, const EFI_GUID &Guid) {
  UINTN NameBytesWithNul = (static_cast<UINTN>(NameUnits) + 1) * sizeof(CHAR16);
  // Header, then the name (aligned as the header is), then the data.
  UINTN Total = sizeof(VariableSnapshot) + NameBytesWithNul + VARIABLE_READ_BYTES;
  auto *Block = static_cast<UINT8 *>(crt::calloc(1, Total));
  if (Block == nullptr) return nullptr;
  auto *Snapshot = reinterpret_cast<VariableSnapshot *>(Block);
  Snapshot->Guid = Guid;
  Snapshot->Status = EFI_NOT_READY;
  Snapshot->NameUnits = NameUnits;
  Snapshot->Name = reinterpret_cast<CHAR16 *>(Block + sizeof(VariableSnapshot));
  crt::memcpy(Snapshot->Name, NameBytes, static_cast<UINTN>(NameUnits) * sizeof(CHAR16));
  Snapshot->Data = Block + sizeof(VariableSnapshot) + NameBytesWithNul;
  return Snapshot;
}

void VariableCache::Start() {
  Stop();
  Active = true;
}

void VariableCache::Stop() {
  while (Head != nullptr) {
    VariableSnapshot *Next = Head->Next;
    crt::free(Head);
    Head = Next;
  }
  Active = false;
  RememberRecent(nullptr, nullptr, nullptr);
}

const VariableSnapshot *VariableCache::Find(const UINT8 *NameBytes, UINT32 NameUnits,
                                            const EFI_GUID &Guid) const {
  for (const VariableSnapshot *Entry = Head; Entry != nullptr; Entry = Entry->Next) {
    if (Entry->NameUnits != NameUnits) continue;
    if (crt::memcmp(&Entry->Guid, &Guid, sizeof(EFI_GUID)) != 0) continue;
    if (crt::memcmp(Entry->Name, NameBytes, static_cast<UINTN>(NameUnits) * sizeof(CHAR16)) != 0) continue;
    return Entry;
  }
  return nullptr;
}

void VariableCache::Keep(VariableSnapshot *Snapshot) {
  Snapshot->Next = Head;
  Head = Snapshot;
}
