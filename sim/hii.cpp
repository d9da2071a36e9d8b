// Framework HII database: ExportDatabase with the two-call size protocol
// (measure with a short buffer, then export), under either protocol GUID.
#include "sim/firmware_state.h"
#include "sim/hii_record.h"

#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

EFI_STATUS EFIAPI NewPack(SIM_FRAMEWORK_HII_PROTOCOL *, VOID *, UINT16 *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI RemovePack(SIM_FRAMEWORK_HII_PROTOCOL *, UINT16) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI FindHandles(SIM_FRAMEWORK_HII_PROTOCOL *, UINT16 *, UINT16 *) { return EFI_UNSUPPORTED; }
EFI_STATUS EFIAPI Unserved(SIM_FRAMEWORK_HII_PROTOCOL *) { return EFI_UNSUPPORTED; }

// Handle 0 is the whole database; the simulator holds one export and has
// no per-handle tables, so other handles are not found.
EFI_STATUS EFIAPI ExportDatabase(SIM_FRAMEWORK_HII_PROTOCOL *This, UINT16 Handle, UINTN *BufferSize, VOID *Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::HiiExportDatabase);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (Handle != 0) return EFI_NOT_FOUND;
  const UINTN Available = *BufferSize;
  *BufferSize = S.HiiExport.size();
  if (Available < S.HiiExport.size()) return EFI_BUFFER_TOO_SMALL;
  if (S.HiiExport.empty()) return EFI_SUCCESS;
  if (Buffer == nullptr) return EFI_INVALID_PARAMETER;
  std::memcpy(Buffer, S.HiiExport.data(), S.HiiExport.size());
  return EFI_SUCCESS;
}

}  // namespace

std::vector<EFI_HANDLE> Firmware::InstallHii(std::vector<uint8_t> Export, const EFI_GUID &ProtocolGuid, int HandleCount) {
  S->HiiExport = std::move(Export);
  std::vector<EFI_HANDLE> Handles;
  for (int Index = 0; Index < HandleCount; ++Index) {
    auto Record = std::make_unique<HiiRecord>();
    Record->Protocol.NewPack = NewPack;
    Record->Protocol.RemovePack = RemovePack;
    Record->Protocol.FindHandles = FindHandles;
    Record->Protocol.ExportDatabase = ExportDatabase;
    for (SIM_HII_UNSERVED &Entry : Record->Protocol.Unserved) Entry = Unserved;
    Record->Guid = ProtocolGuid;
    EFI_HANDLE Handle = nullptr;
    if (InstallInterface(*S, &Handle, ProtocolGuid, &Record->Protocol) != EFI_SUCCESS) std::abort();
    Handles.push_back(Handle);
    S->HiiRecords.push_back(std::move(Record));
  }
  return Handles;
}

void Firmware::SetHiiExport(std::vector<uint8_t> Export) { S->HiiExport = std::move(Export); }

}  // namespace sim
