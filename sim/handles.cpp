// The handle database: protocol installation and every way of finding a
// handle or an interface.
//
// Handles are opaque ids that are never reused, so a stale handle is always
// reported as invalid instead of aliasing a newer one.
#include "sim/device_path.h"
#include "sim/firmware_state.h"

#include <algorithm>
#include <cstring>

namespace sim {
namespace {

// Ids are spaced so that handles look like (and print like) aligned pointers.
constexpr uintptr_t HANDLE_BASE = 0x5100000;
constexpr uintptr_t HANDLE_STRIDE = 0x10;

EFI_HANDLE HandleOf(const HandleRecord &Record) {
  return reinterpret_cast<EFI_HANDLE>(HANDLE_BASE + Record.Id * HANDLE_STRIDE);
}

ProtocolEntry *FindEntry(HandleRecord &Record, const EFI_GUID &Guid) {
  for (ProtocolEntry &Entry : Record.Protocols)
    if (SameGuid(Entry.Guid, Guid)) return &Entry;
  return nullptr;
}

std::vector<EFI_HANDLE> Matching(const State &S, EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol) {
  std::vector<EFI_HANDLE> Found;
  for (const auto &Record : S.Handles) {
    if (SearchType == ByProtocol && FindEntry(*Record, *Protocol) == nullptr) continue;
    Found.push_back(HandleOf(*Record));
  }
  return Found;
}

// The search types this firmware serves; ByRegisterNotify needs events.
EFI_STATUS CheckSearch(EFI_LOCATE_SEARCH_TYPE SearchType, const EFI_GUID *Protocol) {
  if (SearchType == AllHandles) return EFI_SUCCESS;
  if (SearchType == ByProtocol) return Protocol == nullptr ? EFI_INVALID_PARAMETER : EFI_SUCCESS;
  return SearchType == ByRegisterNotify ? EFI_UNSUPPORTED : EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI InstallProtocolInterface(EFI_HANDLE *Handle, EFI_GUID *Protocol, EFI_INTERFACE_TYPE InterfaceType,
                                           VOID *Interface) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::InstallProtocolInterface, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Handle == nullptr || Protocol == nullptr || InterfaceType != EFI_NATIVE_INTERFACE) return EFI_INVALID_PARAMETER;
  return InstallInterface(S, Handle, *Protocol, Interface);
}

EFI_STATUS EFIAPI UninstallProtocolInterface(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID *Interface) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::UninstallProtocolInterface, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry *Entry = FindEntry(*Record, *Protocol);
  if (Entry == nullptr || Entry->Interface != Interface) return EFI_NOT_FOUND;
  Record->Protocols.erase(Record->Protocols.begin() + (Entry - Record->Protocols.data()));
  if (Record->Protocols.empty()) RemoveHandle(S, Handle);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID **Interface) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::HandleProtocol, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Protocol == nullptr || Interface == nullptr) return EFI_INVALID_PARAMETER;
  *Interface = nullptr;
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry *Entry = FindEntry(*Record, *Protocol);
  if (Entry == nullptr) return EFI_UNSUPPORTED;
  *Interface = Entry->Interface;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI OpenProtocol(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID **Interface, EFI_HANDLE AgentHandle,
                               EFI_HANDLE ControllerHandle, UINT32 Attributes) {
  (void)AgentHandle;
  (void)ControllerHandle;
  State &S = ActiveState();
  const bool TestOnly = Attributes == EFI_OPEN_PROTOCOL_TEST_PROTOCOL;
  if (Protocol == nullptr || (!TestOnly && Interface == nullptr)) return EFI_INVALID_PARAMETER;
  if (Interface != nullptr) *Interface = nullptr;
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  ProtocolEntry *Entry = FindEntry(*Record, *Protocol);
  if (Entry == nullptr) return EFI_UNSUPPORTED;
  if (!TestOnly) *Interface = Entry->Interface;
  return EFI_SUCCESS;
}

// Opens are not tracked: closing succeeds whenever the protocol is there.
EFI_STATUS EFIAPI CloseProtocol(EFI_HANDLE Handle, EFI_GUID *Protocol, EFI_HANDLE, EFI_HANDLE) {
  State &S = ActiveState();
  if (Protocol == nullptr) return EFI_INVALID_PARAMETER;
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  return FindEntry(*Record, *Protocol) == nullptr ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, EFI_GUID *Protocol, VOID *SearchKey,
                               UINTN *BufferSize, EFI_HANDLE *Buffer) {
  (void)SearchKey;
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::LocateHandle, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (BufferSize == nullptr || (*BufferSize != 0 && Buffer == nullptr)) return EFI_INVALID_PARAMETER;
  const EFI_STATUS Search = CheckSearch(SearchType, Protocol);
  if (Search != EFI_SUCCESS) return Search;
  const std::vector<EFI_HANDLE> Found = Matching(S, SearchType, Protocol);
  if (Found.empty()) return EFI_NOT_FOUND;
  const UINTN Needed = Found.size() * sizeof(EFI_HANDLE);
  const UINTN Available = *BufferSize;
  *BufferSize = Needed;
  if (Available < Needed) return EFI_BUFFER_TOO_SMALL;
  std::memcpy(Buffer, Found.data(), Needed);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType, EFI_GUID *Protocol, VOID *SearchKey,
                                     UINTN *NoHandles, EFI_HANDLE **Buffer) {
  (void)SearchKey;
  State &S = ActiveState();
  if (NoHandles == nullptr || Buffer == nullptr) return EFI_INVALID_PARAMETER;
  const EFI_STATUS Search = CheckSearch(SearchType, Protocol);
  if (Search != EFI_SUCCESS) return Search;
  *NoHandles = 0;
  *Buffer = nullptr;
  const std::vector<EFI_HANDLE> Found = Matching(S, SearchType, Protocol);
  if (Found.empty()) return EFI_NOT_FOUND;
  void *Block = nullptr;
  const EFI_STATUS Status = AllocatePoolInternal(S, Found.size() * sizeof(EFI_HANDLE), &Block);
  if (Status != EFI_SUCCESS) return Status;
  std::memcpy(Block, Found.data(), Found.size() * sizeof(EFI_HANDLE));
  *Buffer = static_cast<EFI_HANDLE *>(Block);
  *NoHandles = Found.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI LocateProtocol(EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
  (void)Registration;
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::LocateProtocol, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Protocol == nullptr || Interface == nullptr) return EFI_INVALID_PARAMETER;
  *Interface = nullptr;
  for (const auto &Record : S.Handles) {
    ProtocolEntry *Entry = FindEntry(*Record, *Protocol);
    if (Entry == nullptr) continue;
    *Interface = Entry->Interface;
    return EFI_SUCCESS;
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI LocateDevicePath(EFI_GUID *Protocol, EFI_DEVICE_PATH **DevicePath, EFI_HANDLE *Device) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::LocateDevicePath, Protocol);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Protocol == nullptr || DevicePath == nullptr || *DevicePath == nullptr || Device == nullptr)
    return EFI_INVALID_PARAMETER;
  if (!DevicePathPayloadSize(*DevicePath)) return EFI_INVALID_PARAMETER;
  // The handle whose own device path is the longest node-wise prefix wins;
  // an end-only device path is a prefix of every path (0 bytes).
  EFI_HANDLE Best = nullptr;
  size_t BestSize = 0;
  for (const auto &Record : S.Handles) {
    if (FindEntry(*Record, *Protocol) == nullptr) continue;
    ProtocolEntry *PathEntry = FindEntry(*Record, gEfiDevicePathProtocolGuid);
    if (PathEntry == nullptr) continue;
    const std::optional<size_t> Matched = MatchDevicePathPrefix(PathEntry->Interface, *DevicePath);
    if (!Matched || (Best != nullptr && *Matched <= BestSize)) continue;
    Best = HandleOf(*Record);
    BestSize = *Matched;
  }
  if (Best == nullptr) return EFI_NOT_FOUND;
  *Device = Best;
  *DevicePath = reinterpret_cast<EFI_DEVICE_PATH *>(reinterpret_cast<uint8_t *>(*DevicePath) + BestSize);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID ***ProtocolBuffer, UINTN *ProtocolBufferCount) {
  State &S = ActiveState();
  if (ProtocolBuffer == nullptr || ProtocolBufferCount == nullptr) return EFI_INVALID_PARAMETER;
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  void *Block = nullptr;
  const EFI_STATUS Status = AllocatePoolInternal(S, Record->Protocols.size() * sizeof(EFI_GUID *), &Block);
  if (Status != EFI_SUCCESS) return Status;
  auto **Guids = static_cast<EFI_GUID **>(Block);
  for (size_t Index = 0; Index < Record->Protocols.size(); ++Index) {
    const EFI_GUID &Guid = Record->Protocols[Index].Guid;
    auto Interned = std::find_if(S.InternedGuids.begin(), S.InternedGuids.end(),
                                 [&](const EFI_GUID &G) { return SameGuid(G, Guid); });
    if (Interned == S.InternedGuids.end()) {
      S.InternedGuids.push_back(Guid);
      Interned = S.InternedGuids.end() - 1;
    }
    Guids[Index] = &*Interned;
  }
  *ProtocolBuffer = Guids;
  *ProtocolBufferCount = Record->Protocols.size();
  return EFI_SUCCESS;
}

}  // namespace

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B) { return std::memcmp(&A, &B, sizeof(EFI_GUID)) == 0; }

HandleRecord *FindHandle(const State &S, EFI_HANDLE Handle) {
  const auto Value = reinterpret_cast<uintptr_t>(Handle);
  if (Value < HANDLE_BASE || (Value - HANDLE_BASE) % HANDLE_STRIDE != 0) return nullptr;
  const uintptr_t Id = (Value - HANDLE_BASE) / HANDLE_STRIDE;
  for (const auto &Record : S.Handles)
    if (Record->Id == Id) return Record.get();
  return nullptr;
}

void *FindInterface(const State &S, EFI_HANDLE Handle, const EFI_GUID &Guid) {
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return nullptr;
  ProtocolEntry *Entry = FindEntry(*Record, Guid);
  return Entry == nullptr ? nullptr : Entry->Interface;
}

EFI_STATUS InstallInterface(State &S, EFI_HANDLE *Handle, const EFI_GUID &Guid, void *Interface) {
  HandleRecord *Record = nullptr;
  if (*Handle != nullptr) {
    Record = FindHandle(S, *Handle);
    if (Record == nullptr) return EFI_INVALID_PARAMETER;
    if (FindEntry(*Record, Guid) != nullptr) return EFI_INVALID_PARAMETER;
  } else {
    auto Fresh = std::make_unique<HandleRecord>();
    Fresh->Id = S.NextHandleId++;
    Record = Fresh.get();
    S.Handles.push_back(std::move(Fresh));
  }
  Record->Protocols.push_back(ProtocolEntry{Guid, Interface});
  *Handle = HandleOf(*Record);
  return EFI_SUCCESS;
}

void RemoveHandle(State &S, EFI_HANDLE Handle) {
  HandleRecord *Record = FindHandle(S, Handle);
  if (Record == nullptr) return;
  if (S.RootDeviceIo == Handle) S.RootDeviceIo = nullptr;
  std::erase_if(S.Handles, [&](const std::unique_ptr<HandleRecord> &R) { return R.get() == Record; });
}

void WireHandleServices(EFI_BOOT_SERVICES &Boot) {
  Boot.InstallProtocolInterface = InstallProtocolInterface;
  Boot.UninstallProtocolInterface = UninstallProtocolInterface;
  Boot.HandleProtocol = HandleProtocol;
  Boot.PCHandleProtocol = HandleProtocol;
  Boot.OpenProtocol = OpenProtocol;
  Boot.CloseProtocol = CloseProtocol;
  Boot.LocateHandle = LocateHandle;
  Boot.LocateHandleBuffer = LocateHandleBuffer;
  Boot.LocateProtocol = LocateProtocol;
  Boot.LocateDevicePath = LocateDevicePath;
  Boot.ProtocolsPerHandle = ProtocolsPerHandle;
}

EFI_HANDLE Firmware::InstallProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid, void *Interface) {
  EFI_HANDLE Target = Handle;
  return InstallInterface(*S, &Target, Guid, Interface) == EFI_SUCCESS ? Target : nullptr;
}

void *Firmware::FindProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid) const { return FindInterface(*S, Handle, Guid); }

std::vector<EFI_HANDLE> Firmware::HandlesWith(const EFI_GUID &Guid) const { return Matching(*S, ByProtocol, &Guid); }

void Firmware::RemoveRootDeviceIo() {
  if (S->RootDeviceIo != nullptr) RemoveHandle(*S, S->RootDeviceIo);
}

EFI_HANDLE Firmware::RootDeviceIoHandle() const { return S->RootDeviceIo; }

size_t Firmware::HandleCount() const { return S->Handles.size(); }

}  // namespace sim
