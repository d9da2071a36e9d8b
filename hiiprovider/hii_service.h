// The Framework HII protocol the provider serves (EFI_HII_PROTOCOL, as the
// pre-UEFI-2.1 HII specification defines it) for firmware that has none.
//
// ExportDatabase hands out the platform's export with the two-call size
// protocol: a buffer too small (size 0, no buffer) gets EFI_BUFFER_TOO_SMALL
// and the size needed, the second call the bytes. Handle 0 stands for the
// whole database, the only export a client of this provider needs; the
// other entries (packs, strings, glyphs, forms, keyboard) report
// EFI_UNSUPPORTED.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

// The protocol GUID an export is served under, told by its header as the
// host tool tells it: the later revision's GUID at byte 4 marks the 20-byte
// header of that revision; any other export is the classic one.
const EFI_GUID &HiiProtocolGuidFor(const UINT8 *Export, UINTN Size);

// Installs the protocol on ImageHandle under HiiProtocolGuidFor(the export
// in gProvider). EFI_SUCCESS or InstallProtocolInterface's status.
[[nodiscard]] EFI_STATUS InstallHii(EFI_HANDLE ImageHandle);
[[nodiscard]] EFI_STATUS UninstallHii(EFI_HANDLE ImageHandle);

}  // namespace hiiprovider
