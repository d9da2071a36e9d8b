// The simulated firmware's UEFI 2.x HII side: its database of package lists,
// the Config Routing protocol and the simulated drivers that own buffer
// stores through Config Access. Shared by the files that implement them.
#pragma once

#include "sim/firmware_state.h"
#include "uefi/hii_config.h"
#include "uefi/hii_database.h"

#include <functional>

namespace sim {

struct PackageListRecord {
  uintptr_t Id = 0;
  EFI_HANDLE DriverHandle = nullptr;
  EFI_GUID Guid{};
  std::vector<uint8_t> Bytes;  // header and packages in export order, end package included
};

// A simulated driver that owns buffer stores: the device path and Config
// Access protocol on its handle, the stores' bytes, and its check.
struct StoreOwnerRecord {
  EFI_HII_CONFIG_ACCESS_PROTOCOL Access{};  // first: the protocol's address finds the record
  EFI_HANDLE Handle = nullptr;
  std::vector<uint8_t> DevicePath;
  std::vector<BufferStore> Stores;
  StoreCheck Check;
};

struct UefiHiiState {
  EFI_HII_DATABASE_PROTOCOL Database{};
  EFI_HII_CONFIG_ROUTING_PROTOCOL Routing{};
  EFI_HANDLE Handle = nullptr;
  std::vector<PackageListRecord> Lists;  // registration order
  uintptr_t NextId = 1;
  // When set, ExportPackageLists serves exactly these bytes.
  std::optional<std::vector<uint8_t>> RawExport;
  std::vector<std::unique_ptr<StoreOwnerRecord>> Owners;
};

UefiHiiState &ActiveUefiHii();  // aborts when InstallUefiHii was not called
void WireHiiDatabase(EFI_HII_DATABASE_PROTOCOL &Database);
void WireConfigRouting(EFI_HII_CONFIG_ROUTING_PROTOCOL &Routing);
EFI_HII_HANDLE HiiHandleOf(const PackageListRecord &Record);
StoreOwnerRecord *OwnerOnHandle(UefiHiiState &Hii, EFI_HANDLE Handle);

// Pool text for a caller to free: Text and its NUL.
[[nodiscard]] EFI_STATUS PoolText(State &S, const std::u16string &Text, EFI_STRING *Out);

}  // namespace sim
