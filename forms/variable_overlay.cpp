#include "forms/variable_overlay.h"

#include "runtime/crt.h"
#include "runtime/owned.h"

struct VariableOverlay::Entry {
  Entry *Next;
  EFI_GUID Guid;
  CHAR16 *Name;  // aligned copy, NUL-terminated
  // As the store below has it (or had it when the last Flush wrote it).
  bool StoredExists;
  UINT32 StoredAttributes;
  UINTN StoredSize;
  UINT8 *Stored;
  // As the overlay has it now.
  bool Exists;
  UINT32 Attributes;
  UINTN Size;
  UINT8 *Data;
  UINT32 ChangeOrder;  // 0: never changed through the overlay
};

namespace {

constexpr UINT32 ACCESS_ATTRIBUTES = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
// A first read of this many bytes when the caller gives no size.
constexpr UINTN FIRST_READ_BYTES = 64;
// Names longer than any firmware keeps are refused.
constexpr UINTN NAME_UNITS_MAX = 2048;

// Characters before the NUL, read byte-wise (names need not be aligned);
// NAME_UNITS_MAX when there is none within that many.
UINTN NameUnits(const CHAR16 *Name) {
  const auto *Bytes = reinterpret_cast<const UINT8 *>(Name);
  for (UINTN Index = 0; Index < NAME_UNITS_MAX; ++Index) {
    if (Bytes[2 * Index] == 0 && Bytes[2 * Index + 1] == 0) return Index;
  }
  return NAME_UNITS_MAX;
}

bool SameName(const CHAR16 *Aligned, const CHAR16 *Other) {
  const auto *A = reinterpret_cast<const UINT8 *>(Aligned);
  const auto *B = reinterpret_cast<const UINT8 *>(Other);
  for (UINTN Byte = 0;; Byte += 2) {
    if (A[Byte] != B[Byte] || A[Byte + 1] != B[Byte + 1]) return false;
    if (A[Byte] == 0 && A[Byte + 1] == 0) return true;
  }
}

bool SameContents(bool ExistsA, UINT32 AttributesA, UINTN SizeA, const UINT8 *A, bool ExistsB, UINT32 AttributesB,
                  UINTN SizeB, const UINT8 *B) {
  if (ExistsA != ExistsB) return false;
  if (!ExistsA) return true;
  return AttributesA == AttributesB && SizeA == SizeB && (SizeA == 0 || crt::memcmp(A, B, SizeA) == 0);
}

// A copy of Size bytes (one byte for none, so the pointer is never NULL).
UINT8 *CopyOf(const void *Data, UINTN Size) {
  auto *Copy = static_cast<UINT8 *>(crt::malloc(Size == 0 ? 1 : Size));
  if (Copy != nullptr && Size != 0) crt::memcpy(Copy, Data, Size);
  return Copy;
}

}  // namespace

VariableOverlay::VariableOverlay(const VariableServices *Under)
    : Under(Under), Own{GetThunk, SetThunk, this}, Head(nullptr), Tail(nullptr), Changes(0) {}

VariableOverlay::~VariableOverlay() {
  for (Entry *E = Head; E != nullptr;) {
    Entry *Next = E->Next;
    crt::free(E->Name);
    crt::free(E->Stored);
    crt::free(E->Data);
    crt::free(E);
    E = Next;
  }
}

VariableOverlay::Entry *VariableOverlay::Find(const CHAR16 *Name, const EFI_GUID &Guid) const {
  for (Entry *E = Head; E != nullptr; E = E->Next) {
    if (crt::memcmp(&E->Guid, &Guid, sizeof Guid) == 0 && SameName(E->Name, Name)) return E;
  }
  return nullptr;
}

EFI_STATUS VariableOverlay::Load(CHAR16 *Name, EFI_GUID *Guid, UINTN FirstSize, Entry **Out) {
  EFI_GUID Key;
  crt::memcpy(&Key, Guid, sizeof Key);
  *Out = Find(Name, Key);
  if (*Out != nullptr) return EFI_SUCCESS;
  const UINTN Units = NameUnits(Name);
  if (Units == NAME_UNITS_MAX) return EFI_INVALID_PARAMETER;

  crt::HeapPtr<Entry> Owner(static_cast<Entry *>(crt::calloc(1, sizeof(Entry))));
  if (!Owner) return EFI_OUT_OF_RESOURCES;
  Entry *Fresh = Owner.Get();
  Fresh->Guid = Key;
  Fresh->Name = reinterpret_cast<CHAR16 *>(CopyOf(Name, 2 * (Units + 1)));
  if (Fresh->Name == nullptr) return EFI_OUT_OF_RESOURCES;

  // One read at the size the caller expects; a second only when the
  // variable has grown past it.
  UINTN Size = FirstSize != 0 ? FirstSize : FIRST_READ_BYTES;
  UINT32 Attributes = 0;
  crt::HeapPtr<UINT8> Data(static_cast<UINT8 *>(crt::malloc(Size)));
  EFI_STATUS Status = Data ? Under->Get(Under->Context, Fresh->Name, &Fresh->Guid, &Attributes, &Size, Data.Get())
                           : EFI_OUT_OF_RESOURCES;
  if (Status == EFI_BUFFER_TOO_SMALL && Size != 0) {
    Data.Reset(static_cast<UINT8 *>(crt::malloc(Size)));
    Status = Data ? Under->Get(Under->Context, Fresh->Name, &Fresh->Guid, &Attributes, &Size, Data.Get())
                  : EFI_OUT_OF_RESOURCES;
  }
  if (Status == EFI_NOT_FOUND) {
    Size = 0;
    Attributes = 0;
  } else if (Status != EFI_SUCCESS) {
    // Not kept: the store may answer the next read.
    crt::free(Fresh->Name);
    return Status;
  }
  Fresh->StoredExists = Fresh->Exists = Status == EFI_SUCCESS;
  Fresh->StoredAttributes = Fresh->Attributes = Attributes;
  Fresh->StoredSize = Fresh->Size = Size;
  Fresh->Stored = CopyOf(Data.Get(), Size);
  Fresh->Data = CopyOf(Data.Get(), Size);
  if (Fresh->Stored == nullptr || Fresh->Data == nullptr) {
    crt::free(Fresh->Stored);
    crt::free(Fresh->Data);
    crt::free(Fresh->Name);
    return EFI_OUT_OF_RESOURCES;
  }
  Entry *Kept = Owner.Release();
  if (Tail == nullptr) {
    Head = Kept;
  } else {
    Tail->Next = Kept;
  }
  Tail = Kept;
  *Out = Kept;
  return EFI_SUCCESS;
}

EFI_STATUS VariableOverlay::Get(CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, void *Data) {
  if (Name == nullptr || Guid == nullptr || DataSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Data == nullptr && *DataSize != 0) return EFI_INVALID_PARAMETER;
  Entry *E = nullptr;
  const EFI_STATUS Loaded = Load(Name, Guid, *DataSize, &E);
  if (Loaded != EFI_SUCCESS) return Loaded;
  if (!E->Exists) return EFI_NOT_FOUND;
  if (*DataSize < E->Size) {
    *DataSize = E->Size;
    return EFI_BUFFER_TOO_SMALL;
  }
  if (E->Size != 0) crt::memcpy(Data, E->Data, E->Size);
  *DataSize = E->Size;
  if (Attributes != nullptr) *Attributes = E->Attributes;
  return EFI_SUCCESS;
}

EFI_STATUS VariableOverlay::Set(CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, void *Data) {
  if (Name == nullptr || Guid == nullptr || NameUnits(Name) == 0) return EFI_INVALID_PARAMETER;
  if (DataSize != 0 && Data == nullptr) return EFI_INVALID_PARAMETER;
  Entry *E = nullptr;
  const EFI_STATUS Loaded = Load(Name, Guid, DataSize, &E);
  if (Loaded != EFI_SUCCESS) return Loaded;

  const bool Deletes = DataSize == 0 || (Attributes & ACCESS_ATTRIBUTES) == 0;
  if (Deletes) {
    if (!E->Exists) return EFI_NOT_FOUND;
    E->Exists = false;
    E->Size = 0;
  } else {
    // An existing variable keeps its attributes.
    if (E->Exists && E->Attributes != Attributes) return EFI_INVALID_PARAMETER;
    if (E->Exists && E->Size == DataSize) {
      crt::memcpy(E->Data, Data, DataSize);  // the usual rewrite: same size, in place
    } else {
      UINT8 *Copy = CopyOf(Data, DataSize);
      if (Copy == nullptr) return EFI_OUT_OF_RESOURCES;
      crt::free(E->Data);
      E->Data = Copy;
    }
    E->Size = DataSize;
    E->Attributes = Attributes;
    E->Exists = true;
  }
  if (E->ChangeOrder == 0) E->ChangeOrder = ++Changes;
  return EFI_SUCCESS;
}

EFI_STATUS VariableOverlay::Flush() {
  for (UINT32 Order = 1; Order <= Changes; ++Order) {
    Entry *E = Head;
    while (E != nullptr && E->ChangeOrder != Order) E = E->Next;
    if (E == nullptr) continue;
    if (SameContents(E->Exists, E->Attributes, E->Size, E->Data, E->StoredExists, E->StoredAttributes, E->StoredSize,
                     E->Stored)) {
      continue;
    }
    const EFI_STATUS Status = E->Exists ? Under->Set(Under->Context, E->Name, &E->Guid, E->Attributes, E->Size, E->Data)
                                        : Under->Set(Under->Context, E->Name, &E->Guid, E->StoredAttributes, 0, nullptr);
    if (Status != EFI_SUCCESS) return Status;
    UINT8 *Copy = CopyOf(E->Data, E->Size);
    if (Copy == nullptr) return EFI_OUT_OF_RESOURCES;  // written, but forgotten as such: a later Flush writes again
    crt::free(E->Stored);
    E->Stored = Copy;
    E->StoredExists = E->Exists;
    E->StoredAttributes = E->Attributes;
    E->StoredSize = E->Size;
  }
  return EFI_SUCCESS;
}

bool VariableOverlay::HasUnwrittenChange(const CHAR16 *Name, const EFI_GUID *Guid) const {
  if (Name == nullptr || Guid == nullptr) return false;
  EFI_GUID Key;
  crt::memcpy(&Key, Guid, sizeof Key);
  const Entry *E = Find(Name, Key);
  return E != nullptr && !SameContents(E->Exists, E->Attributes, E->Size, E->Data, E->StoredExists,
                                       E->StoredAttributes, E->StoredSize, E->Stored);
}

UINT32 VariableOverlay::ChangedVariables() const {
  UINT32 Count = 0;
  for (const Entry *E = Head; E != nullptr; E = E->Next) {
    if (!SameContents(E->Exists, E->Attributes, E->Size, E->Data, E->StoredExists, E->StoredAttributes, E->StoredSize,
                      E->Stored)) {
      ++Count;
    }
  }
  return Count;
}

void VariableOverlay::ForEach(void (*Visit)(void *Context, const Contents &Variable), void *Context) const {
  for (const Entry *E = Head; E != nullptr; E = E->Next) {
    Visit(Context, Contents{E->Name, &E->Guid, E->Exists, E->Attributes, E->Size, E->Data});
  }
}

EFI_STATUS VariableOverlay::GetThunk(void *Self, CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize,
                                     void *Data) {
  return static_cast<VariableOverlay *>(Self)->Get(Name, Guid, Attributes, DataSize, Data);
}

EFI_STATUS VariableOverlay::SetThunk(void *Self, CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize,
                                     void *Data) {
  return static_cast<VariableOverlay *>(Self)->Set(Name, Guid, Attributes, DataSize, Data);
}
