// The application entry that gnu-efi's crt0 calls (System V convention).
#include "client/tool_main.h"

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  return ToolMain(ImageHandle, SystemTable);
}
