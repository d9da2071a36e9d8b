// Simulated drivers that own buffer stores through
// EFI_HII_CONFIG_ACCESS_PROTOCOL, behaving as EDK2 drivers built on its HII
// library do: a <ConfigHdr> whose GUID or NAME text differs from the store's
// (lower-case hex, compared as written) is EFI_NOT_FOUND; a request without
// elements gets the whole store; an element beyond the store is
// EFI_DEVICE_ERROR; a change is applied to a copy that the owner's check may
// refuse, and only an accepted copy replaces the store.
#include "sim/config_strings.h"
#include "sim/device_path.h"
#include "sim/uefi_hii_state.h"

#include <cstdlib>

namespace sim {
namespace {

StoreOwnerRecord &OwnerOf(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This) {
  return *reinterpret_cast<StoreOwnerRecord *>(const_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL *>(This));
}

BufferStore *StoreFor(StoreOwnerRecord &Owner, const ConfigBlock &Block) {
  for (BufferStore &Store : Owner.Stores)
    if (GuidHex(Store.Guid) == Block.Guid && NameHex(Store.Name) == Block.Name) return &Store;
  return nullptr;
}

// The one block of a caller's text, or the status to return.
EFI_STATUS ReadBlock(const EFI_STRING Text, EFI_STRING *Progress, ConfigBlock &Block) {
  *Progress = Text;
  const auto Read = ReadConfigText(Text);
  if (!Read) return EFI_INVALID_PARAMETER;
  size_t Failed = 0;
  const auto Blocks = ParseConfig(*Read, &Failed);
  if (!Blocks) {
    *Progress = Text + Failed;
    return EFI_INVALID_PARAMETER;
  }
  if (Blocks->size() != 1) return EFI_INVALID_PARAMETER;
  Block = (*Blocks)[0];
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI OwnerExtract(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This, const EFI_STRING Request,
                               EFI_STRING *Progress, EFI_STRING *Results) {
  if (This == nullptr || Progress == nullptr || Results == nullptr) return EFI_INVALID_PARAMETER;
  StoreOwnerRecord &Owner = OwnerOf(This);
  BufferStore *Store = nullptr;
  ConfigBlock Block;
  if (Request == nullptr) {
    if (Owner.Stores.empty()) return EFI_NOT_FOUND;
    Store = &Owner.Stores[0];
    Block.Header = ConfigHeader(Store->Guid, Store->Name, Owner.DevicePath);
  } else {
    const EFI_STATUS Status = ReadBlock(Request, Progress, Block);
    if (Status != EFI_SUCCESS) return Status;
    Store = StoreFor(Owner, Block);
    if (Store == nullptr) return EFI_NOT_FOUND;
  }
  if (Block.Elements.empty()) Block.Elements.push_back(ConfigElement{0, Store->Bytes.size(), std::nullopt});
  std::u16string Answer = Block.Header;
  for (const ConfigElement &Element : Block.Elements) {
    if (Element.Width == 0 || Element.Offset > Store->Bytes.size() ||
        Element.Width > Store->Bytes.size() - Element.Offset)
      return EFI_DEVICE_ERROR;
    Answer += ValueElement(Element.Offset, Element.Width, Store->Bytes);
  }
  const EFI_STATUS Status = PoolText(ActiveState(), Answer, Results);
  if (Status != EFI_SUCCESS) return Status;
  if (Request != nullptr) *Progress = Request + ReadConfigText(Request)->size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI OwnerRoute(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This, const EFI_STRING Configuration,
                             EFI_STRING *Progress) {
  if (This == nullptr || Progress == nullptr || Configuration == nullptr) return EFI_INVALID_PARAMETER;
  StoreOwnerRecord &Owner = OwnerOf(This);
  ConfigBlock Block;
  EFI_STATUS Status = ReadBlock(Configuration, Progress, Block);
  if (Status != EFI_SUCCESS) return Status;
  BufferStore *Store = StoreFor(Owner, Block);
  if (Store == nullptr) return EFI_NOT_FOUND;
  BufferStore Proposed = *Store;
  for (const ConfigElement &Element : Block.Elements) {
    if (!Element.Value || Element.Offset > Proposed.Bytes.size() ||
        Element.Width > Proposed.Bytes.size() - Element.Offset)
      return EFI_INVALID_PARAMETER;
    std::copy(Element.Value->begin(), Element.Value->end(), Proposed.Bytes.begin() + static_cast<long>(Element.Offset));
  }
  if (Owner.Check) {
    Status = Owner.Check(Proposed);
    if (Status != EFI_SUCCESS) return Status;
  }
  *Store = std::move(Proposed);
  *Progress = Configuration + ReadConfigText(Configuration)->size();
  return EFI_SUCCESS;
}

// Only a forms browser calls back; nothing in the simulator is one.
EFI_STATUS EFIAPI OwnerCallback(const EFI_HII_CONFIG_ACCESS_PROTOCOL *, EFI_BROWSER_ACTION, EFI_QUESTION_ID, UINT8,
                                VOID *, EFI_BROWSER_ACTION_REQUEST *) {
  return EFI_UNSUPPORTED;
}

}  // namespace

StoreOwnerRecord *OwnerOnHandle(UefiHiiState &Hii, EFI_HANDLE Handle) {
  for (auto &Owner : Hii.Owners)
    if (Owner->Handle == Handle) return Owner.get();
  return nullptr;
}

EFI_HANDLE Firmware::AddStoreOwner(const std::vector<uint8_t> &DevicePath, std::vector<BufferStore> Stores,
                                   StoreCheck Check) {
  UefiHiiState &Hii = ActiveUefiHii();
  auto Owner = std::make_unique<StoreOwnerRecord>();
  Owner->Access.ExtractConfig = OwnerExtract;
  Owner->Access.RouteConfig = OwnerRoute;
  Owner->Access.Callback = OwnerCallback;
  Owner->DevicePath = DevicePath;
  Owner->Stores = std::move(Stores);
  Owner->Check = std::move(Check);
  EFI_HANDLE Handle = nullptr;
  if (InstallInterface(*S, &Handle, gEfiDevicePathProtocolGuid, Owner->DevicePath.data()) != EFI_SUCCESS ||
      InstallInterface(*S, &Handle, gEfiHiiConfigAccessProtocolGuid, &Owner->Access) != EFI_SUCCESS)
    std::abort();
  Owner->Handle = Handle;
  Hii.Owners.push_back(std::move(Owner));
  return Handle;
}

std::optional<BufferStore> Firmware::OwnedStore(EFI_HANDLE Owner, const EFI_GUID &Guid,
                                                const std::u16string &Name) const {
  if (!S->UefiHii) return std::nullopt;
  StoreOwnerRecord *Record = OwnerOnHandle(*S->UefiHii, Owner);
  if (Record == nullptr) return std::nullopt;
  for (const BufferStore &Store : Record->Stores)
    if (SameGuid(Store.Guid, Guid) && Store.Name == Name) return Store;
  return std::nullopt;
}

void Firmware::SetOwnedStore(EFI_HANDLE Owner, const BufferStore &Store) {
  StoreOwnerRecord *Record = OwnerOnHandle(ActiveUefiHii(), Owner);
  if (Record == nullptr) std::abort();
  for (BufferStore &Kept : Record->Stores) {
    if (SameGuid(Kept.Guid, Store.Guid) && Kept.Name == Store.Name) {
      Kept = Store;
      return;
    }
  }
  Record->Stores.push_back(Store);
}

}  // namespace sim
