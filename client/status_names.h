// Statuses by name, as the tool prints them.
#pragma once

#include "runtime/uefi.h"

// "EFI_SUCCESS", "BCFG_E_OUT_OF_RANGE", "EFI_NOT_FOUND" ...; nullptr for a
// status without a name (the caller prints it in hexadecimal).
[[nodiscard]] const char *StatusName(EFI_STATUS Status);
