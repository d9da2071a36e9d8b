// The image entry that gnu-efi's crt0 calls after self-relocation. crt0 uses
// the System V convention for this call, so efi_main must not be EFIAPI.
#include "hiicompat/compat_entry.h"

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  return hiicompat::CompatEntry(ImageHandle, SystemTable);
}
