// The buffer stores of the latest export, as the driver sees them: each one
// a variable under the compatibility image's own GUID, named after the
// store. A buffer store (EFI_IFR_VARSTORE) has no UEFI variable behind it:
// only its owner's Config Access protocol knows its bytes, so reads of such
// a variable are answered through Config Routing's ExtractConfig and writes
// go out as RouteConfig (variable_wrap.h routes the calls here).
#pragma once

#include "hiicompat/config_text.h"

namespace hiicompat {

// {6A5E3C0F-1E47-4B8B-9B61-2D7F0C4E8A31}: the vendor GUID of the variables
// that stand for buffer stores.
inline constexpr EFI_GUID gHiiCompatBridgeGuid = {
    0x6a5e3c0f, 0x1e47, 0x4b8b, {0x9b, 0x61, 0x2d, 0x7f, 0x0c, 0x4e, 0x8a, 0x31}};

// The attributes such a variable reports and must be written with: its
// owner keeps the store across resets, and only boot-time code reaches it.
constexpr UINT32 BRIDGED_ATTRIBUTES = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

// Longest variable name given to a store (units, without the NUL): the
// store's name, with "#2", "#3", ... when another store has it already.
constexpr UINT32 MAX_BRIDGED_NAME = 120;

struct BridgedStore {
  CHAR16 *VariableName;  // NUL-terminated
  CHAR16 *StoreName;     // the varstore's name, NUL-terminated
  UINT32 StoreNameLength;
  EFI_GUID Guid;
  UINT8 *DevicePath;
  UINT32 DevicePathLength;
  UINT32 Size;

  StoreAddress Address() const {
    return StoreAddress{Guid, StoreName, StoreNameLength, DevicePath, DevicePathLength};
  }
};

// The stores one export presents; owns every name and path it holds.
// Trivially destructible, so the image-wide instance needs no constructor
// or destructor at load: whoever fills a list calls Clear (a local list
// through ScopedStoreList).
class BridgedStoreList {
 public:
  constexpr BridgedStoreList() = default;
  BridgedStoreList(const BridgedStoreList &) = delete;
  BridgedStoreList &operator=(const BridgedStoreList &) = delete;

  // Adds a store (Name is ASCII from the forms, NameLength bytes). Returns
  // the name of its variable, or nullptr when memory runs out or the list
  // is full.
  const CHAR16 *Add(const EFI_GUID &Guid, const UINT8 *Name, UINT32 NameLength, const UINT8 *DevicePath,
                    UINT32 DevicePathLength, UINT32 Size);
  // The store whose variable is called Name (NUL-terminated, at most
  // MAX_BRIDGED_NAME units read), or nullptr.
  BridgedStore *Find(const CHAR16 *Name) const;
  UINT32 Count() const { return Used; }
  void Clear();
  // Takes Other's stores, dropping its own.
  void TakeFrom(BridgedStoreList &Other);
  // Drops every store without freeing (the heap itself is being reset).
  void Forget() {
    Stores = nullptr;
    Used = 0;
    Capacity = 0;
  }

 private:
  bool NameTaken(const CHAR16 *Name) const;
  BridgedStore *Stores = nullptr;
  UINT32 Used = 0;
  UINT32 Capacity = 0;
};

// A list that clears itself when it goes out of scope.
class ScopedStoreList {
 public:
  ScopedStoreList() = default;
  ~ScopedStoreList() { List.Clear(); }
  ScopedStoreList(const ScopedStoreList &) = delete;
  ScopedStoreList &operator=(const ScopedStoreList &) = delete;
  BridgedStoreList &Get() { return List; }

 private:
  BridgedStoreList List;
};

// Reads the store's Size bytes into Out through ExtractConfig. Bytes that
// no question covers (routing answers per question) read as 0. When routing
// finds no owner for the forms' name (EFI_NOT_FOUND), the store takes the
// name its owner answers to, if OwnersName finds one, and is read again.
// EFI_SUCCESS, EFI_NOT_READY (no Config Routing), EFI_OUT_OF_RESOURCES,
// EFI_DEVICE_ERROR (an answer that is not text for the store), or routing's
// status.
[[nodiscard]] EFI_STATUS ReadBridgedStore(BridgedStore &Store, UINT8 *Out);

// Writes Data (Size bytes) to the store: reads it first, and routes the
// runs of bytes that differ in one RouteConfig (nothing when none does).
// EFI_SUCCESS, the owner's refusal as routing returns it, or a read's
// status.
[[nodiscard]] EFI_STATUS WriteBridgedStore(BridgedStore &Store, const UINT8 *Data);

// The name a store's owner answers to, when it is not the name its forms
// declare. Seen on OVMF 2022.11: PlatformDxe's Config Access answers only to
// NAME=PlatformConfig while its forms declare the store MainFormState (EDK2
// fixed it in December 2022), so Config Routing finds no owner for the
// forms' name and not even the firmware's own browser can read the form.
// The owner (the handle on the store's device path) is asked for all its
// configuration with no request, as UEFI lets a caller ask; when the
// headers of its answer that carry the store's GUID all name one store,
// that name (at most Capacity units) goes to Out. False otherwise.
bool OwnersName(const StoreAddress &Store, CHAR16 *Out, UINT32 Capacity, UINT32 &Length);

// Reads a store for a caller that keeps no BridgedStore (conditions decided
// at export): as ReadBridgedStore, with the owner's name tried in a buffer
// of the caller's.
[[nodiscard]] EFI_STATUS ReadStoreAt(StoreAddress &Store, CHAR16 *NameSpace, UINT32 NameCapacity, UINT8 *Out,
                                     UINT32 Size);

}  // namespace hiicompat
