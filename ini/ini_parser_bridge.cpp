#include "ini/ini_parser_bridge.h"

#include "driver/image_state.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace {

constexpr char PARSER_FILE_NAME[] = "iniparse.efi";
constexpr UINTN PARSER_NAME_LENGTH = sizeof(PARSER_FILE_NAME) - 1;
constexpr UINTN PATH_LIMIT = 256;
constexpr UINTN BRIDGE_VALUE_BYTES = 256;

// TORVEL_PATH, one '\' unless it ends in one, then the image's name.
// -1 when too long, INI_BRIDGE_NO_PARSER when there is no folder to look in.
INT32 ParserImagePath(char (&Path)[INI_PARSER_PATH_BYTES]) {
  const char *Folder = crt::getenv("TORVEL_PATH");
  if (Folder == nullptr || Folder[0] == '\0') return INI_BRIDGE_NO_PARSER;
  const UINTN Length = crt::strnlen(Folder, PATH_LIMIT + 1);
  if (Length + PARSER_NAME_LENGTH + 1 > PATH_LIMIT) return INI_BRIDGE_PATH_TOO_LONG;
  crt::memcpy(Path, Folder, Length);
  UINTN Used = Length;
  if (Path[Used - 1] != '\\') Path[Used++] = '\\';
  crt::memcpy(Path + Used, PARSER_FILE_NAME, PARSER_NAME_LENGTH + 1);
  return 0;
}

[[nodiscard]] bool FindLookup(EFI_BOOT_SERVICES *Boot) {
  EFI_GUID Guid = INI_PARSER_PROTOCOL_GUID;
  UINTN Size = 0;
  if (Boot->LocateHandle(ByProtocol, &Guid, nullptr, &Size, nullptr) != EFI_BUFFER_TOO_SMALL || Size == 0) return false;
  crt::HeapPtr<EFI_HANDLE> Handles(static_cast<EFI_HANDLE *>(crt::malloc(Size)));
  if (!Handles || Boot->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles.Get()) != EFI_SUCCESS) return false;
  for (UINTN Index = 0; Index < Size / sizeof(EFI_HANDLE); ++Index) {
    void *Interface = nullptr;
    if (Boot->HandleProtocol(Handles.Get()[Index], &Guid, &Interface) != EFI_SUCCESS || Interface == nullptr) continue;
    gImage.IniParserLookup = reinterpret_cast<INI_PARSER_LOOKUP>(Interface);
    return true;
  }
  return false;
}

void CopyValue(const char *From, char *Value, UINT32 ValueBytes) {
  if (Value == nullptr || ValueBytes == 0) return;
  UINT32 Index = 0;
  for (; Index + 1 < ValueBytes && From[Index] != '\0'; ++Index) Value[Index] = From[Index];
  Value[Index] = '\0';
}

}  // namespace

bool LoadIniParser(const char *Path) {
  EFI_BOOT_SERVICES *Boot = gImage.SystemTableCopy.BootServices;
  EFI_DEVICE_PATH *DevicePath = crt::FileDevicePathOf(Path);
  if (DevicePath == nullptr) return false;
  EFI_HANDLE Image = nullptr;
  const EFI_STATUS Loaded = Boot->LoadImage(FALSE, gImage.ImageHandle, DevicePath, nullptr, 0, &Image);
  crt::FreeDevicePath(DevicePath);
  if (EFI_ERROR(Loaded) || Image == nullptr) return false;
  const EFI_STATUS Started = Boot->StartImage(Image, nullptr, nullptr);
  if ((EFI_ERROR(Started) && Started != EFI_ALREADY_STARTED) || !FindLookup(Boot)) {
    // Firmware has discarded an image whose start failed; one that started
    // without its protocol is of no use. Either way the next lookup starts
    // over rather than call through a missing interface.
    if (!EFI_ERROR(Started)) (void)Boot->UnloadImage(Image);
    gImage.IniParserLookup = nullptr;
    return false;
  }
  gImage.IniParserImage = Image;
  return true;
}

INT32 ReadIniKey(const char *SectionName, const char *KeyName, char *AuxText, char *Value, UINT32 ValueBytes,
                 UINT16 ValueSize, const char *IniFileName, UINT16 LookupFlags) {
  if (gImage.IniParserImage == nullptr || gImage.IniParserLookup == nullptr) {
    const INT32 PathResult = ParserImagePath(gImage.IniParserImagePath);
    if (PathResult != 0) return PathResult;
    if (!LoadIniParser(gImage.IniParserImagePath)) return INI_BRIDGE_NO_PARSER;
  }
  char Found[BRIDGE_VALUE_BYTES] = {};
  if (ValueSize > BRIDGE_VALUE_BYTES) ValueSize = BRIDGE_VALUE_BYTES;  // never more than the buffer holds
  const INT32 Result = gImage.IniParserLookup(const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>(SectionName)),
                                              const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>(KeyName)),
                                              reinterpret_cast<CHAR8 *>(AuxText), reinterpret_cast<CHAR8 *>(Found),
                                              ValueSize, const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>(IniFileName)),
                                              LookupFlags);
  if (Result == 75 || Result == -4 || Result == -5) return Result;
  Found[BRIDGE_VALUE_BYTES - 1] = '\0';
  CopyValue(Found, Value, ValueBytes);
  return Result == -2 ? -2 : 0;
}
