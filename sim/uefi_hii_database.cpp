// The UEFI HII database (EFI_HII_DATABASE_PROTOCOL): package lists added by
// drivers, listed, exported with the two-call size protocol and removed.
//
// As EDK2's database does, NewPackageList keeps the packages of the types it
// knows (others are dropped), refuses a second list with the same GUID for
// the same driver handle, gives the list its driver handle's device path as
// a device path package, and exports each list's packages grouped by type:
// GUID, forms, keyboard layouts, strings, fonts, images, simple fonts, the
// device path, then the end package.
#include "sim/device_path.h"
#include "sim/uefi_hii_state.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

constexpr uintptr_t HII_HANDLE_BASE = 0x7100000;
constexpr uintptr_t HII_HANDLE_STRIDE = 0x10;

constexpr uint8_t EXPORT_ORDER[] = {EFI_HII_PACKAGE_TYPE_GUID,       EFI_HII_PACKAGE_FORMS,
                                    EFI_HII_PACKAGE_KEYBOARD_LAYOUT, EFI_HII_PACKAGE_STRINGS,
                                    EFI_HII_PACKAGE_FONTS,           EFI_HII_PACKAGE_IMAGES,
                                    EFI_HII_PACKAGE_SIMPLE_FONTS,    EFI_HII_PACKAGE_DEVICE_PATH};

void PutPackageHeader(std::vector<uint8_t> &Out, uint32_t Length, uint8_t Type) {
  Out.push_back(static_cast<uint8_t>(Length));
  Out.push_back(static_cast<uint8_t>(Length >> 8));
  Out.push_back(static_cast<uint8_t>(Length >> 16));
  Out.push_back(Type);
}

struct Package {
  const uint8_t *Bytes;
  uint32_t Length;
  uint8_t Type;
};

// The packages of a caller's list, up to its end package; nullopt when a
// package runs past the length the header gives or none ends the list.
std::optional<std::vector<Package>> SplitPackages(const uint8_t *List) {
  uint32_t Total = 0;
  std::memcpy(&Total, List + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), sizeof Total);
  if (Total < sizeof(EFI_HII_PACKAGE_LIST_HEADER) + EFI_HII_PACKAGE_HEADER_SIZE) return std::nullopt;
  std::vector<Package> Packages;
  for (uint32_t At = sizeof(EFI_HII_PACKAGE_LIST_HEADER); At + EFI_HII_PACKAGE_HEADER_SIZE <= Total;) {
    const Package P{List + At, HiiPackageLengthAt(List + At), HiiPackageTypeAt(List + At)};
    if (P.Length < EFI_HII_PACKAGE_HEADER_SIZE || P.Length > Total - At) return std::nullopt;
    if (P.Type == EFI_HII_PACKAGE_END) return Packages;
    Packages.push_back(P);
    At += P.Length;
  }
  return std::nullopt;
}

std::vector<uint8_t> Assemble(const EFI_GUID &Guid, const std::vector<Package> &Packages,
                              const std::optional<std::vector<uint8_t>> &DriverPath) {
  std::vector<uint8_t> Out(sizeof(EFI_HII_PACKAGE_LIST_HEADER));
  std::memcpy(Out.data(), &Guid, sizeof Guid);
  bool HasPath = false;
  for (uint8_t Type : EXPORT_ORDER) {
    for (const Package &P : Packages) {
      if (P.Type != Type) continue;
      if (Type == EFI_HII_PACKAGE_DEVICE_PATH) {
        if (HasPath) continue;  // one device path per list
        HasPath = true;
      }
      Out.insert(Out.end(), P.Bytes, P.Bytes + P.Length);
    }
    if (Type == EFI_HII_PACKAGE_DEVICE_PATH && !HasPath && DriverPath) {
      PutPackageHeader(Out, static_cast<uint32_t>(EFI_HII_PACKAGE_HEADER_SIZE + DriverPath->size()),
                       EFI_HII_PACKAGE_DEVICE_PATH);
      Out.insert(Out.end(), DriverPath->begin(), DriverPath->end());
    }
  }
  PutPackageHeader(Out, EFI_HII_PACKAGE_HEADER_SIZE, EFI_HII_PACKAGE_END);
  const auto Length = static_cast<uint32_t>(Out.size());
  std::memcpy(Out.data() + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), &Length, sizeof Length);
  return Out;
}

PackageListRecord *FindList(UefiHiiState &Hii, EFI_HII_HANDLE Handle) {
  for (PackageListRecord &Record : Hii.Lists)
    if (HiiHandleOf(Record) == Handle) return &Record;
  return nullptr;
}

bool HasPackageOfType(const PackageListRecord &Record, uint8_t Type) {
  if (Type == EFI_HII_PACKAGE_TYPE_ALL) return true;
  const auto Packages = SplitPackages(Record.Bytes.data());
  if (!Packages) return false;
  for (const Package &P : *Packages)
    if (P.Type == Type) return true;
  return false;
}

EFI_STATUS EFIAPI NewPackageList(const EFI_HII_DATABASE_PROTOCOL *This, const EFI_HII_PACKAGE_LIST_HEADER *List,
                                 EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::HiiNewPackageList);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || List == nullptr || Handle == nullptr) return EFI_INVALID_PARAMETER;
  UefiHiiState &Hii = ActiveUefiHii();
  const auto *Bytes = reinterpret_cast<const uint8_t *>(List);
  const auto Packages = SplitPackages(Bytes);
  if (!Packages) return EFI_INVALID_PARAMETER;
  EFI_GUID Guid;
  std::memcpy(&Guid, Bytes, sizeof Guid);
  for (const PackageListRecord &Record : Hii.Lists)
    if (SameGuid(Record.Guid, Guid) && Record.DriverHandle == DriverHandle) return EFI_INVALID_PARAMETER;

  std::optional<std::vector<uint8_t>> DriverPath;
  if (void *Path = FindInterface(S, DriverHandle, gEfiDevicePathProtocolGuid)) DriverPath = CopyDevicePath(Path);
  PackageListRecord Record;
  Record.Id = Hii.NextId++;
  Record.DriverHandle = DriverHandle;
  Record.Guid = Guid;
  Record.Bytes = Assemble(Guid, *Packages, DriverPath);
  Hii.Lists.push_back(std::move(Record));
  *Handle = HiiHandleOf(Hii.Lists.back());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI RemovePackageList(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle) {
  if (This == nullptr) return EFI_INVALID_PARAMETER;
  UefiHiiState &Hii = ActiveUefiHii();
  PackageListRecord *Record = FindList(Hii, Handle);
  if (Record == nullptr) return EFI_NOT_FOUND;
  Hii.Lists.erase(Hii.Lists.begin() + (Record - Hii.Lists.data()));
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI UpdatePackageList(const EFI_HII_DATABASE_PROTOCOL *, EFI_HII_HANDLE,
                                    const EFI_HII_PACKAGE_LIST_HEADER *) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI ListPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType, const EFI_GUID *PackageGuid,
                                   UINTN *HandleBufferLength, EFI_HII_HANDLE *Handle) {
  if (This == nullptr || HandleBufferLength == nullptr) return EFI_INVALID_PARAMETER;
  if (*HandleBufferLength > 0 && Handle == nullptr) return EFI_INVALID_PARAMETER;
  if ((PackageType == EFI_HII_PACKAGE_TYPE_GUID) != (PackageGuid != nullptr)) return EFI_INVALID_PARAMETER;
  // GUID packages are matched by type alone here; nothing in the simulator
  // lists them by their GUID.
  UefiHiiState &Hii = ActiveUefiHii();
  std::vector<EFI_HII_HANDLE> Found;
  for (const PackageListRecord &Record : Hii.Lists)
    if (HasPackageOfType(Record, PackageType)) Found.push_back(HiiHandleOf(Record));
  if (Found.empty()) return EFI_NOT_FOUND;
  const UINTN Needed = Found.size() * sizeof(EFI_HII_HANDLE);
  const UINTN Available = *HandleBufferLength;
  *HandleBufferLength = Needed;
  if (Available < Needed) return EFI_BUFFER_TOO_SMALL;
  std::memcpy(Handle, Found.data(), Needed);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ExportPackageLists(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                     EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::HiiExportPackageLists);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (*BufferSize > 0 && Buffer == nullptr) return EFI_INVALID_PARAMETER;
  UefiHiiState &Hii = ActiveUefiHii();
  std::vector<uint8_t> Out;
  if (Hii.RawExport) {
    Out = *Hii.RawExport;
  } else if (Handle != nullptr) {
    const PackageListRecord *Record = FindList(Hii, Handle);
    if (Record == nullptr) return EFI_NOT_FOUND;
    Out = Record->Bytes;
  } else {
    for (const PackageListRecord &Record : Hii.Lists) Out.insert(Out.end(), Record.Bytes.begin(), Record.Bytes.end());
  }
  if (Out.empty()) return EFI_NOT_FOUND;
  const UINTN Available = *BufferSize;
  *BufferSize = Out.size();
  if (Available < Out.size()) return EFI_BUFFER_TOO_SMALL;
  std::memcpy(Buffer, Out.data(), Out.size());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI RegisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL *, UINT8, const EFI_GUID *, VOID *,
                                        EFI_HII_DATABASE_NOTIFY_TYPE, EFI_HANDLE *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI UnregisterPackageNotify(const EFI_HII_DATABASE_PROTOCOL *, EFI_HANDLE) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI FindKeyboardLayouts(const EFI_HII_DATABASE_PROTOCOL *, UINT16 *, EFI_GUID *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI GetKeyboardLayout(const EFI_HII_DATABASE_PROTOCOL *, const EFI_GUID *, UINT16 *, VOID *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI SetKeyboardLayout(const EFI_HII_DATABASE_PROTOCOL *, const EFI_GUID *) { return EFI_UNSUPPORTED; }

EFI_STATUS EFIAPI GetPackageListHandle(const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE PackageListHandle,
                                       EFI_HANDLE *DriverHandle) {
  if (This == nullptr || DriverHandle == nullptr) return EFI_INVALID_PARAMETER;
  const PackageListRecord *Record = FindList(ActiveUefiHii(), PackageListHandle);
  if (Record == nullptr) return EFI_INVALID_PARAMETER;
  *DriverHandle = Record->DriverHandle;
  return EFI_SUCCESS;
}

}  // namespace

UefiHiiState &ActiveUefiHii() {
  State &S = ActiveState();
  if (!S.UefiHii) {
    std::fprintf(stderr, "sim: a UEFI HII service was called before InstallUefiHii\n");
    std::abort();
  }
  return *S.UefiHii;
}

EFI_HII_HANDLE HiiHandleOf(const PackageListRecord &Record) {
  return reinterpret_cast<EFI_HII_HANDLE>(HII_HANDLE_BASE + Record.Id * HII_HANDLE_STRIDE);
}

void WireHiiDatabase(EFI_HII_DATABASE_PROTOCOL &Database) {
  Database.NewPackageList = NewPackageList;
  Database.RemovePackageList = RemovePackageList;
  Database.UpdatePackageList = UpdatePackageList;
  Database.ListPackageLists = ListPackageLists;
  Database.ExportPackageLists = ExportPackageLists;
  Database.RegisterPackageNotify = RegisterPackageNotify;
  Database.UnregisterPackageNotify = UnregisterPackageNotify;
  Database.FindKeyboardLayouts = FindKeyboardLayouts;
  Database.GetKeyboardLayout = GetKeyboardLayout;
  Database.SetKeyboardLayout = SetKeyboardLayout;
  Database.GetPackageListHandle = GetPackageListHandle;
}

EFI_STATUS PoolText(State &S, const std::u16string &Text, EFI_STRING *Out) {
  void *Block = nullptr;
  const EFI_STATUS Status = AllocatePoolInternal(S, (Text.size() + 1) * sizeof(CHAR16), &Block);
  if (Status != EFI_SUCCESS) return Status;
  auto *Units = static_cast<CHAR16 *>(Block);
  for (size_t Index = 0; Index < Text.size(); ++Index) Units[Index] = Text[Index];
  Units[Text.size()] = 0;
  *Out = Units;
  return EFI_SUCCESS;
}

EFI_HANDLE Firmware::InstallUefiHii() {
  if (S->UefiHii) return S->UefiHii->Handle;
  S->UefiHii = std::make_unique<UefiHiiState>();
  UefiHiiState &Hii = *S->UefiHii;
  WireHiiDatabase(Hii.Database);
  WireConfigRouting(Hii.Routing);
  EFI_HANDLE Handle = nullptr;
  if (InstallInterface(*S, &Handle, gEfiHiiDatabaseProtocolGuid, &Hii.Database) != EFI_SUCCESS ||
      InstallInterface(*S, &Handle, gEfiHiiConfigRoutingProtocolGuid, &Hii.Routing) != EFI_SUCCESS)
    std::abort();
  Hii.Handle = Handle;
  return Handle;
}

EFI_STATUS Firmware::AddPackageList(const std::vector<uint8_t> &List, EFI_HANDLE DriverHandle, void **HiiHandle) {
  UefiHiiState &Hii = ActiveUefiHii();
  if (List.size() < sizeof(EFI_HII_PACKAGE_LIST_HEADER)) return EFI_INVALID_PARAMETER;
  uint32_t Length = 0;
  std::memcpy(&Length, List.data() + offsetof(EFI_HII_PACKAGE_LIST_HEADER, PackageLength), sizeof Length);
  if (Length > List.size()) return EFI_INVALID_PARAMETER;
  EFI_HII_HANDLE Handle = nullptr;
  const EFI_STATUS Status = Hii.Database.NewPackageList(
      &Hii.Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()), DriverHandle, &Handle);
  if (HiiHandle != nullptr) *HiiHandle = Handle;
  return Status;
}

void Firmware::ServeRawPackageLists(std::optional<std::vector<uint8_t>> Raw) {
  ActiveUefiHii().RawExport = std::move(Raw);
}

}  // namespace sim
