#include "hiicompat/bridged_stores.h"

#include "hiicompat/compat_state.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace hiicompat {

namespace {

constexpr UINT32 MAX_STORES = 4096;
constexpr UINT32 MAX_OWNER_NAME = 256;
constinit EFI_GUID DevicePathGuid = DEVICE_PATH_PROTOCOL;
constinit EFI_GUID ConfigAccessGuid = gEfiHiiConfigAccessProtocolGuid;
constexpr UINT32 MAX_DUPLICATES = 999;

void FreeStore(BridgedStore &Store) {
  crt::free(Store.VariableName);
  crt::free(Store.StoreName);
  crt::free(Store.DevicePath);
  Store = BridgedStore{};
}

bool SameName(const CHAR16 *A, const CHAR16 *B) {
  for (UINT32 Index = 0; Index <= MAX_BRIDGED_NAME; ++Index) {
    if (A[Index] != B[Index]) return false;
    if (A[Index] == 0) return true;
  }
  return false;
}

// Base (NameLength ASCII bytes, cut to fit), then "#N" when N > 1.
CHAR16 *MakeName(const UINT8 *Base, UINT32 BaseLength, UINT32 N) {
  CHAR16 Suffix[8] = {};
  UINT32 SuffixLength = 0;
  if (N > 1) {
    Suffix[SuffixLength++] = '#';
    CHAR16 Digits[4];
    UINT32 Count = 0;
    for (UINT32 Value = N; Value != 0 && Count < 4; Value /= 10) Digits[Count++] = static_cast<CHAR16>('0' + Value % 10);
    while (Count > 0) Suffix[SuffixLength++] = Digits[--Count];
  }
  const UINT32 Kept = BaseLength + SuffixLength > MAX_BRIDGED_NAME ? MAX_BRIDGED_NAME - SuffixLength : BaseLength;
  auto *Name = static_cast<CHAR16 *>(crt::malloc((Kept + SuffixLength + 1) * sizeof(CHAR16)));
  if (Name == nullptr) return nullptr;
  for (UINT32 Index = 0; Index < Kept; ++Index) Name[Index] = Base[Index];
  for (UINT32 Index = 0; Index < SuffixLength; ++Index) Name[Kept + Index] = Suffix[Index];
  Name[Kept + SuffixLength] = 0;
  return Name;
}

EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing() { return gCompat.Routing; }

// Owns routing's answers (pool memory).
struct PoolText {
  EFI_STRING Text = nullptr;
  ~PoolText() {
    if (Text != nullptr) crt::SystemTable()->BootServices->FreePool(Text);
  }
};

}  // namespace

bool BridgedStoreList::NameTaken(const CHAR16 *Name) const {
  for (UINT32 Index = 0; Index < Used; ++Index)
    if (SameName(Stores[Index].VariableName, Name)) return true;
  return false;
}

const CHAR16 *BridgedStoreList::Add(const EFI_GUID &Guid, const UINT8 *Name, UINT32 NameLength,
                                    const UINT8 *DevicePath, UINT32 DevicePathLength, UINT32 Size) {
  if (Used == MAX_STORES) return nullptr;
  if (Used == Capacity) {
    const UINT32 Grown = Capacity == 0 ? 8 : Capacity * 2;
    auto *More = static_cast<BridgedStore *>(crt::realloc(Stores, Grown * sizeof(BridgedStore)));
    if (More == nullptr) return nullptr;
    Stores = More;
    Capacity = Grown;
  }
  BridgedStore Store{};
  for (UINT32 N = 1; N <= MAX_DUPLICATES && Store.VariableName == nullptr; ++N) {
    CHAR16 *Candidate = MakeName(Name, NameLength, N);
    if (Candidate == nullptr) return nullptr;
    if (NameTaken(Candidate)) {
      crt::free(Candidate);
      continue;
    }
    Store.VariableName = Candidate;
  }
  if (Store.VariableName == nullptr) return nullptr;
  Store.StoreName = static_cast<CHAR16 *>(crt::malloc((NameLength + 1) * sizeof(CHAR16)));
  Store.DevicePath = static_cast<UINT8 *>(crt::malloc(DevicePathLength > 0 ? DevicePathLength : 1));
  if (Store.StoreName == nullptr || Store.DevicePath == nullptr) {
    FreeStore(Store);
    return nullptr;
  }
  for (UINT32 Index = 0; Index < NameLength; ++Index) Store.StoreName[Index] = Name[Index];
  Store.StoreName[NameLength] = 0;
  Store.StoreNameLength = NameLength;
  crt::memcpy(Store.DevicePath, DevicePath, DevicePathLength);
  Store.DevicePathLength = DevicePathLength;
  Store.Guid = Guid;
  Store.Size = Size;
  Stores[Used++] = Store;
  return Store.VariableName;
}

BridgedStore *BridgedStoreList::Find(const CHAR16 *Name) const {
  for (UINT32 Index = 0; Index < Used; ++Index)
    if (SameName(Stores[Index].VariableName, Name)) return &Stores[Index];
  return nullptr;
}

void BridgedStoreList::Clear() {
  for (UINT32 Index = 0; Index < Used; ++Index) FreeStore(Stores[Index]);
  crt::free(Stores);
  Stores = nullptr;
  Used = 0;
  Capacity = 0;
}

void BridgedStoreList::TakeFrom(BridgedStoreList &Other) {
  Clear();
  Stores = Other.Stores;
  Used = Other.Used;
  Capacity = Other.Capacity;
  Other.Stores = nullptr;
  Other.Used = 0;
  Other.Capacity = 0;
}

// One ExtractConfig of the whole store into Out.
EFI_STATUS ExtractOnce(const StoreAddress &Store, UINT8 *Out, UINT32 Size) {
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Router = Routing();
  if (Router == nullptr) return EFI_NOT_READY;
  ConfigText Request;
  AppendConfigHeader(Request, Store);
  if (Request.Text() == nullptr) return EFI_OUT_OF_RESOURCES;
  EFI_STRING Progress = nullptr;
  PoolText Answer;
  const EFI_STATUS Status = Router->ExtractConfig(Router, Request.Mutable(), &Progress, &Answer.Text);
  if (Status != EFI_SUCCESS) return Status;
  crt::memset(Out, 0, Size);
  return ReadConfigAnswer(Answer.Text, Store, Out, Size);
}

bool OwnersName(const StoreAddress &Store, CHAR16 *Out, UINT32 Capacity, UINT32 &Length) {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  crt::HeapPtr<UINT8> Path(static_cast<UINT8 *>(crt::malloc(Store.DevicePathLength)));
  if (!Path || Store.DevicePathLength < 4) return false;
  crt::memcpy(Path.Get(), Store.DevicePath, Store.DevicePathLength);
  auto *Remaining = reinterpret_cast<EFI_DEVICE_PATH *>(Path.Get());
  EFI_HANDLE Owner = nullptr;
  if (Boot->LocateDevicePath(&DevicePathGuid, &Remaining, &Owner) != EFI_SUCCESS) return false;
  // The owner's own path must be the whole of the store's.
  if (reinterpret_cast<UINT8 *>(Remaining) != Path.Get() + Store.DevicePathLength - 4) return false;
  VOID *Interface = nullptr;
  if (Boot->HandleProtocol(Owner, &ConfigAccessGuid, &Interface) != EFI_SUCCESS || Interface == nullptr) return false;
  auto *Access = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL *>(Interface);
  EFI_STRING Progress = nullptr;
  PoolText Answer;
  if (Access->ExtractConfig(Access, nullptr, &Progress, &Answer.Text) != EFI_SUCCESS) return false;
  if (!NameForGuid(Answer.Text, Store.Guid, Out, Capacity, Length)) return false;
  return Length != Store.NameLength || crt::memcmp(Out, Store.Name, Length * sizeof(CHAR16)) != 0;
}

EFI_STATUS ReadStoreAt(StoreAddress &Store, CHAR16 *NameSpace, UINT32 NameCapacity, UINT8 *Out, UINT32 Size) {
  EFI_STATUS Status = ExtractOnce(Store, Out, Size);
  UINT32 Length = 0;
  if (Status != EFI_NOT_FOUND || !OwnersName(Store, NameSpace, NameCapacity, Length)) return Status;
  Store.Name = NameSpace;
  Store.NameLength = Length;
  return ExtractOnce(Store, Out, Size);
}

EFI_STATUS ReadBridgedStore(BridgedStore &Store, UINT8 *Out) {
  EFI_STATUS Status = ExtractOnce(Store.Address(), Out, Store.Size);
  if (Status != EFI_NOT_FOUND) return Status;
  CHAR16 Name[MAX_OWNER_NAME];
  UINT32 Length = 0;
  if (!OwnersName(Store.Address(), Name, MAX_OWNER_NAME, Length)) return Status;
  auto *Kept = static_cast<CHAR16 *>(crt::malloc((Length + 1) * sizeof(CHAR16)));
  if (Kept == nullptr) return EFI_OUT_OF_RESOURCES;
  crt::memcpy(Kept, Name, Length * sizeof(CHAR16));
  Kept[Length] = 0;
  crt::free(Store.StoreName);
  Store.StoreName = Kept;
  Store.StoreNameLength = Length;
  return ExtractOnce(Store.Address(), Out, Store.Size);
}

EFI_STATUS WriteBridgedStore(BridgedStore &Store, const UINT8 *Data) {
  crt::HeapPtr<UINT8> Now(static_cast<UINT8 *>(crt::malloc(Store.Size > 0 ? Store.Size : 1)));
  if (!Now) return EFI_OUT_OF_RESOURCES;
  EFI_STATUS Status = ReadBridgedStore(Store, Now.Get());
  if (Status != EFI_SUCCESS) return Status;

  ConfigText Change;
  AppendConfigHeader(Change, Store.Address());
  bool Any = false;
  for (UINT32 Start = 0; Start < Store.Size;) {
    if (Now.Get()[Start] == Data[Start]) {
      ++Start;
      continue;
    }
    UINT32 End = Start;
    while (End < Store.Size && Now.Get()[End] != Data[End]) ++End;
    AppendValueElement(Change, Start, End - Start, Data);
    Any = true;
    Start = End;
  }
  if (!Any) return EFI_SUCCESS;
  if (Change.Text() == nullptr) return EFI_OUT_OF_RESOURCES;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Router = Routing();
  EFI_STRING Progress = nullptr;
  return Router->RouteConfig(Router, Change.Mutable(), &Progress);
}

}  // namespace hiicompat
