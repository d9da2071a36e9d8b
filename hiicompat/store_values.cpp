#include "hiicompat/store_values.h"

#include "hiicompat/compat_state.h"
#include "hiicompat/bridged_stores.h"
#include "runtime/crt.h"

namespace hiicompat {

namespace {

// Stores beyond this size are not read for conditions (nor by the driver).
constexpr UINT32 MAX_STORE_BYTES = 4096;
constexpr UINT32 MAX_NAME = 256;

EFI_GET_VARIABLE FirmwareGetVariable() {
  return gCompat.VariablesWrapped ? gCompat.OriginalGetVariable : crt::SystemTable()->RuntimeServices->GetVariable;
}

bool ReadEfiStore(const StoreInfo &Store, ByteView Ifr, UINT8 *Out, UINT32 &Size) {
  CHAR16 Name[MAX_NAME + 1];
  if (Store.NameLength > MAX_NAME) return false;
  for (UINT32 Index = 0; Index < Store.NameLength; ++Index) Name[Index] = Ifr.U8(Store.NameOffset + Index);
  Name[Store.NameLength] = 0;
  EFI_GUID Guid = Store.Guid;
  UINTN DataSize = MAX_STORE_BYTES;
  UINT32 Attributes = 0;
  if (FirmwareGetVariable()(Name, &Guid, &Attributes, &DataSize, Out) != EFI_SUCCESS) return false;
  Size = static_cast<UINT32>(DataSize);
  return true;
}

bool ReadBufferStore(const StoreInfo &Store, ByteView Ifr, ByteView Path, UINT8 *Out, UINT32 &Size) {
  if (Path.Size == 0 || Store.Size > MAX_STORE_BYTES || Store.NameLength > MAX_NAME) return false;
  CHAR16 Name[MAX_NAME];
  for (UINT32 Index = 0; Index < Store.NameLength; ++Index) Name[Index] = Ifr.U8(Store.NameOffset + Index);
  StoreAddress Address{Store.Guid, Name, Store.NameLength, Path.Data, static_cast<UINT32>(Path.Size)};
  CHAR16 OwnersName[MAX_NAME];
  if (ReadStoreAt(Address, OwnersName, MAX_NAME, Out, Store.Size) != EFI_SUCCESS) return false;
  Size = Store.Size;
  return true;
}

}  // namespace

StoreValues::~StoreValues() {
  for (UINT32 Index = 0; Index < Count; ++Index) crt::free(Items[Index].Bytes);
  crt::free(Items);
}

const StoreValues::Cached *StoreValues::Load(const StoreInfo &Store) {
  for (UINT32 Index = 0; Index < Count; ++Index)
    if (Items[Index].StoreId == Store.Id) return &Items[Index];
  if (Count == Capacity) {
    const UINT32 Grown = Capacity == 0 ? 8 : Capacity * 2;
    auto *More = static_cast<Cached *>(crt::realloc(Items, Grown * sizeof(Cached)));
    if (More == nullptr) return nullptr;
    Items = More;
    Capacity = Grown;
  }
  Cached Entry{Store.Id, static_cast<UINT8 *>(crt::malloc(MAX_STORE_BYTES)), 0};
  bool Read = false;
  if (Entry.Bytes != nullptr) {
    if (Store.Kind == StoreKind::Efi) Read = ReadEfiStore(Store, Ifr, Entry.Bytes, Entry.Size);
    if (Store.Kind == StoreKind::Buffer) Read = ReadBufferStore(Store, Ifr, Path, Entry.Bytes, Entry.Size);
  }
  if (!Read) {
    crt::free(Entry.Bytes);
    Entry.Bytes = nullptr;
  }
  Items[Count] = Entry;
  return &Items[Count++];
}

bool StoreValues::QuestionValue(UINT16 Question, UINT64 &Value) {
  const QuestionInfo *Q = Model.Question(Question);
  if (Q == nullptr || Q->BitField || Q->VarStoreId == 0) return false;
  if (Q->Width != 1 && Q->Width != 2 && Q->Width != 4 && Q->Width != 8) return false;
  const StoreInfo *Store = Model.Store(Q->VarStoreId);
  if (Store == nullptr) return false;
  const Cached *Entry = Load(*Store);
  if (Entry == nullptr || Entry->Bytes == nullptr) return false;
  if (static_cast<UINT32>(Q->Offset) + Q->Width > Entry->Size) return false;
  Value = 0;
  for (UINT32 Index = 0; Index < Q->Width; ++Index)
    Value |= static_cast<UINT64>(Entry->Bytes[Q->Offset + Index]) << (8 * Index);
  return true;
}

}  // namespace hiicompat
