#include "client/parser_access.h"

#include "ini/ini_file_path.h"
#include "runtime/crt.h"

namespace {

EFI_GUID ParserGuid = INI_PARSER_PROTOCOL_GUID;

INI_PARSER_LOOKUP Located(EFI_BOOT_SERVICES *Boot) {
  void *Interface = nullptr;
  if (Boot->LocateProtocol(&ParserGuid, nullptr, &Interface) != EFI_SUCCESS) return nullptr;
  return reinterpret_cast<INI_PARSER_LOOKUP>(Interface);
}

}  // namespace

INI_PARSER_LOOKUP FindIniParser() {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  if (INI_PARSER_LOOKUP Lookup = Located(Boot)) return Lookup;
  char Path[INI_FILE_PATH_BUFFER_SIZE];
  if (!JoinIniFilePath(crt::getenv("TORVEL_PATH"), "iniparse.efi", Path)) return nullptr;
  EFI_DEVICE_PATH *DevicePath = crt::FileDevicePathOf(Path);
  if (DevicePath == nullptr) return nullptr;
  EFI_HANDLE Image = nullptr;
  const EFI_STATUS Loaded = Boot->LoadImage(FALSE, crt::ImageHandle(), DevicePath, nullptr, 0, &Image);
  crt::FreeDevicePath(DevicePath);
  if (EFI_ERROR(Loaded)) return nullptr;
  const EFI_STATUS Started = Boot->StartImage(Image, nullptr, nullptr);
  if (EFI_ERROR(Started) && Started != EFI_ALREADY_STARTED) return nullptr;
  return Located(Boot);
}

INT32 LookUpKey(INI_PARSER_LOOKUP Lookup, const char *Section, const char *Key, const char *File, char *Value,
                UINT16 ValueBytes) {
  char Aux[8] = {};
  Value[0] = '\0';
  return Lookup(reinterpret_cast<CHAR8 *>(const_cast<char *>(Section)), reinterpret_cast<CHAR8 *>(const_cast<char *>(Key)),
                reinterpret_cast<CHAR8 *>(Aux), reinterpret_cast<CHAR8 *>(Value), ValueBytes,
                reinterpret_cast<CHAR8 *>(const_cast<char *>(File)), 0);
}
