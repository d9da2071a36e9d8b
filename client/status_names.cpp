#include "client/status_names.h"

#include "bioscfg_protocol.h"

namespace {

struct NamedStatus {
  EFI_STATUS Status;
  const char *Name;
};

// The driver's own codes first: the import's results are negative numbers
// that would otherwise read as odd UEFI errors.
constexpr NamedStatus NAMES[] = {
    {EFI_SUCCESS, "EFI_SUCCESS"},
    {BCFG_E_GENERAL_FAILURE, "BCFG_E_GENERAL_FAILURE"},
    {BCFG_E_OUT_OF_RANGE, "BCFG_E_OUT_OF_RANGE"},
    {BCFG_E_OUT_OF_MEMORY, "BCFG_E_OUT_OF_MEMORY"},
    {BCFG_E_INVALID_PARAMETER, "BCFG_E_INVALID_PARAMETER"},
    {BCFG_E_VARIABLE_ACCESS, "BCFG_E_VARIABLE_ACCESS"},
    {BCFG_INI_E_OUT_OF_RANGE, "BCFG_INI_E_OUT_OF_RANGE"},
    {BCFG_INI_E_SET_FAILED, "BCFG_INI_E_SET_FAILED"},
    {BCFG_INI_E_BIOS_SECTION, "BCFG_INI_E_BIOS_SECTION"},
    {BCFG_INI_E_SERIAL_CONFLICT, "BCFG_INI_E_SERIAL_CONFLICT"},
    {EFI_LOAD_ERROR, "EFI_LOAD_ERROR"},
    {EFI_INVALID_PARAMETER, "EFI_INVALID_PARAMETER"},
    {EFI_UNSUPPORTED, "EFI_UNSUPPORTED"},
    {EFI_BAD_BUFFER_SIZE, "EFI_BAD_BUFFER_SIZE"},
    {EFI_BUFFER_TOO_SMALL, "EFI_BUFFER_TOO_SMALL"},
    {EFI_NOT_READY, "EFI_NOT_READY"},
    {EFI_DEVICE_ERROR, "EFI_DEVICE_ERROR"},
    {EFI_WRITE_PROTECTED, "EFI_WRITE_PROTECTED"},
    {EFI_OUT_OF_RESOURCES, "EFI_OUT_OF_RESOURCES"},
    {EFI_NOT_FOUND, "EFI_NOT_FOUND"},
    {EFI_ACCESS_DENIED, "EFI_ACCESS_DENIED"},
    {EFI_ALREADY_STARTED, "EFI_ALREADY_STARTED"},
    {EFI_ABORTED, "EFI_ABORTED"},
    {TOOL_SETTINGS_DIFFER, "SETTINGS_DIFFER"},
};

}  // namespace

const char *StatusName(EFI_STATUS Status) {
  for (const NamedStatus &Entry : NAMES) {
    if (Entry.Status == Status) return Entry.Name;
  }
  return nullptr;
}
