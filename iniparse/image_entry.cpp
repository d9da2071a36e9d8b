// Start-up of iniparse.efi: one instance per boot, resident once started.
#include "iniparse/image_entry.h"

#include "inicontract/ini_parser_protocol.h"
#include "iniparse/lookup.h"
#include "runtime/crt.h"

namespace iniparse {

namespace {

bool AlreadyInstalled(EFI_BOOT_SERVICES *Boot) {
  EFI_HANDLE Found[1] = {nullptr};
  UINTN Size = sizeof Found;
  // EFI_BUFFER_TOO_SMALL means several instances: installed all the same.
  return Boot->LocateHandle(ByProtocol, &gIniParserProtocolGuid, nullptr, &Size, Found) != EFI_NOT_FOUND;
}

}  // namespace

EFI_STATUS IniParserEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) return EFI_INVALID_PARAMETER;
  EFI_BOOT_SERVICES *Boot = SystemTable->BootServices;
  // Checked before the runtime starts: a second copy must not disturb
  // anything, and on the host it shares the first copy's data.
  if (AlreadyInstalled(Boot)) return EFI_ALREADY_STARTED;

  // A runtime whose environment is incomplete still serves names with a
  // volume; relative names then fail to resolve, with their own result.
  const EFI_STATUS Started = crt::Startup(ImageHandle, SystemTable);
  if (crt::SystemTable() == nullptr) return Started;  // refused: firmware too old, and it said so

  // The interface pointer is the lookup function itself.
  const EFI_STATUS Installed = Boot->InstallProtocolInterface(&ImageHandle, &gIniParserProtocolGuid,
                                                              EFI_NATIVE_INTERFACE,
                                                              reinterpret_cast<void *>(&IniParserLookup));
  // The firmware unloads an image whose entry fails, but not its pool.
  if (EFI_ERROR(Installed)) crt::Shutdown();
  return Installed;
}

}  // namespace iniparse
