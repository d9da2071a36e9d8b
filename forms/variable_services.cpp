#include "forms/variable_services.h"

#include "runtime/crt.h"

namespace {

EFI_RUNTIME_SERVICES *Runtime() {
  EFI_SYSTEM_TABLE *System = crt::SystemTable();
  return System != nullptr ? System->RuntimeServices : nullptr;
}

EFI_STATUS GetFromFirmware(void *, CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, void *Data) {
  EFI_RUNTIME_SERVICES *Services = Runtime();
  if (Services == nullptr) return EFI_NOT_READY;
  return Services->GetVariable(Name, Guid, Attributes, DataSize, Data);
}

EFI_STATUS SetInFirmware(void *, CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, void *Data) {
  EFI_RUNTIME_SERVICES *Services = Runtime();
  if (Services == nullptr) return EFI_NOT_READY;
  return Services->SetVariable(Name, Guid, Attributes, DataSize, Data);
}

constexpr VariableServices FIRMWARE = {GetFromFirmware, SetInFirmware, nullptr};

}  // namespace

const VariableServices *FirmwareVariables() { return &FIRMWARE; }
