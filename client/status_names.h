// Statuses by name, as the tool prints them.
#pragma once

#include "runtime/uefi.h"

// What compare ends with when the two files hold different settings: a
// warning (not an error: the comparison itself worked), so the Shell's
// %lasterror% and the host tool's exit status say "different" while a
// script can still tell it from a failure. UEFI's EFI_WARN_STALE_DATA.
constexpr EFI_STATUS TOOL_SETTINGS_DIFFER = 5;

// "EFI_SUCCESS", "BCFG_E_OUT_OF_RANGE", "EFI_NOT_FOUND" ...; nullptr for a
// status without a name (the caller prints it in hexadecimal).
[[nodiscard]] const char *StatusName(EFI_STATUS Status);
