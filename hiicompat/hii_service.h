// The Framework HII protocol (EFI_HII_PROTOCOL) the image installs: its
// ExportDatabase builds, at every call, a Framework export from the live
// UEFI HII database (framework_export.h), with the two-call size protocol
// the driver uses: a buffer too small (size 0, no buffer) gets
// EFI_BUFFER_TOO_SMALL and the size; a call that fits gets the bytes, and
// from then on the bridged buffer stores are those that export names.
// Handle 0 is the whole database; other handles are EFI_NOT_FOUND. The
// other entries return EFI_UNSUPPORTED.
#pragma once

#include "runtime/uefi.h"

namespace hiicompat {

[[nodiscard]] EFI_STATUS InstallFrameworkHii(EFI_HANDLE ImageHandle);
[[nodiscard]] EFI_STATUS UninstallFrameworkHii(EFI_HANDLE ImageHandle);

}  // namespace hiicompat
