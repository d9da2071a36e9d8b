#include "inicontract/parser_image.h"

#include "inicontract/ini_file_path.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace inicontract {

INI_PARSER_LOOKUP FindIniParserLookup(EFI_BOOT_SERVICES *Boot) {
  EFI_GUID Guid = INI_PARSER_PROTOCOL_GUID;
  UINTN Size = 0;
  if (Boot->LocateHandle(ByProtocol, &Guid, nullptr, &Size, nullptr) != EFI_BUFFER_TOO_SMALL || Size == 0) {
    return nullptr;
  }
  crt::HeapPtr<EFI_HANDLE> Handles(static_cast<EFI_HANDLE *>(crt::malloc(Size)));
  if (!Handles || Boot->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles.Get()) != EFI_SUCCESS) return nullptr;
  for (UINTN Index = 0; Index < Size / sizeof(EFI_HANDLE); ++Index) {
    void *Interface = nullptr;
    if (Boot->HandleProtocol(Handles.Get()[Index], &Guid, &Interface) != EFI_SUCCESS || Interface == nullptr) continue;
    return reinterpret_cast<INI_PARSER_LOOKUP>(Interface);
  }
  return nullptr;
}

ParserImageLoad LoadIniParserImage(EFI_BOOT_SERVICES *Boot, EFI_HANDLE ParentImage, const char *Folder, char *Path,
                                   size_t PathBytes, ParserImage &Out) {
  Out = ParserImage{};
  const IniPathJoin Joined = JoinIniPath(Folder, INI_PARSER_IMAGE_NAME, Path, PathBytes);
  if (Joined == IniPathJoin::Missing) return ParserImageLoad::NoFolder;
  if (Joined == IniPathJoin::TooLong) return ParserImageLoad::PathTooLong;

  EFI_DEVICE_PATH *DevicePath = crt::FileDevicePathOf(Path);
  if (DevicePath == nullptr) return ParserImageLoad::Failed;
  EFI_HANDLE Image = nullptr;
  const EFI_STATUS Loaded = Boot->LoadImage(FALSE, ParentImage, DevicePath, nullptr, 0, &Image);
  crt::FreeDevicePath(DevicePath);
  if (EFI_ERROR(Loaded) || Image == nullptr) return ParserImageLoad::Failed;
  const EFI_STATUS Started = Boot->StartImage(Image, nullptr, nullptr);
  INI_PARSER_LOOKUP Lookup = nullptr;
  if (!EFI_ERROR(Started) || Started == EFI_ALREADY_STARTED) Lookup = FindIniParserLookup(Boot);
  if (Lookup == nullptr) {
    // Firmware has discarded an image whose start failed; one that started
    // without its protocol is of no use.
    if (!EFI_ERROR(Started)) (void)Boot->UnloadImage(Image);
    return ParserImageLoad::Failed;
  }
  Out.Image = Image;
  Out.Lookup = Lookup;
  return ParserImageLoad::Loaded;
}

}  // namespace inicontract
