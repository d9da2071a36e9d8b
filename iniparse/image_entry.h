// The parser image's entry point, and its reset for a fresh load.
#pragma once

#include "runtime/uefi.h"

namespace iniparse {

// Installs IniParserProtocol on ImageHandle, the lookup function as its
// interface, and returns: the image then stays resident (it registers no
// unload handler). EFI_SUCCESS; EFI_ALREADY_STARTED when some image already
// serves the protocol (nothing is installed and the image's state is left
// as it was); EFI_INVALID_PARAMETER without a system table; EFI_UNSUPPORTED
// on firmware older than EFI 1.10; or the status of
// InstallProtocolInterface.
EFI_STATUS IniParserEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

// Returns the image's state and its runtime to their load-time values, as
// firmware gives every loaded image fresh data; only a loader calls it.
void ResetImageState();

}  // namespace iniparse
