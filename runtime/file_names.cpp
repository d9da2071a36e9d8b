// File name resolution (see file_names.h).
#include "runtime/file_names.h"

#include "runtime/crt.h"
#include "runtime/runtime_state.h"
#include "runtime/volumes.h"

namespace crt::detail {

namespace {

bool IsSeparator(unsigned Unit) { return Unit == '\\' || Unit == '/'; }

// Builds a path on the volume from pieces, converting and collapsing
// separators. Capacity is fixed up front from the pieces' lengths.
class PathBuilder {
 public:
  [[nodiscard]] bool Reserve(size_t Units) {
    Buffer.Reset(static_cast<CHAR16 *>(malloc((Units + 2) * sizeof(CHAR16))));
    Capacity = Units + 1;
    if (!Buffer) return false;
    Buffer.Get()[Length++] = '\\';
    return true;
  }

  void Append(unsigned Unit) {
    if (IsSeparator(Unit)) {
      if (Buffer.Get()[Length - 1] == '\\') return;
      Unit = '\\';
    }
    if (Length < Capacity) Buffer.Get()[Length++] = static_cast<CHAR16>(Unit);
  }

  CHAR16 *Finish() {
    // "\tools\" names the folder "\tools"; only the root keeps its separator.
    if (Length > 1 && Buffer.Get()[Length - 1] == '\\') --Length;
    Buffer.Get()[Length] = 0;
    return Buffer.Release();
  }

 private:
  HeapPtr<CHAR16> Buffer;
  size_t Capacity = 0;
  size_t Length = 0;
};

EFI_LOADED_IMAGE *LoadedImage() {
  EFI_BOOT_SERVICES *Services = BootServices();
  if (Services == nullptr) return nullptr;
  EFI_LOADED_IMAGE *Loaded = nullptr;
  EFI_STATUS Status = Services->HandleProtocol(gRuntime.ImageHandle, &gEfiLoadedImageProtocolGuid,
                                               reinterpret_cast<void **>(&Loaded));
  return EFI_ERROR(Status) ? nullptr : Loaded;
}

}  // namespace

bool ParseVolumePrefix(const char *Name, size_t &Index, const char *&Rest) {
  Index = ~static_cast<size_t>(0);
  Rest = Name;
  const char *Colon = strchr(Name, ':');
  if (Colon == nullptr) return true;
  if (tolower(Name[0]) != 'f' || tolower(Name[1]) != 's') return false;
  size_t Digits = static_cast<size_t>(Colon - (Name + 2));
  if (Digits == 0 || Digits > MAX_VOLUME_DIGITS) return false;
  size_t Value = 0;
  for (const char *At = Name + 2; At < Colon; ++At) {
    if (!isdigit(static_cast<unsigned char>(*At))) return false;
    Value = Value * 10 + static_cast<size_t>(*At - '0');
  }
  Index = Value;
  Rest = Colon + 1;
  return true;
}

CHAR16 *ImageFolderOf(const EFI_DEVICE_PATH *ImagePath) {
  size_t PathBytes = DevicePathBytes(ImagePath);
  if (PathBytes == 0) return nullptr;
  const auto *Bytes = reinterpret_cast<const UINT8 *>(ImagePath);

  // A file path may be split over several file-path nodes; their texts join.
  HeapPtr<CHAR16> Folder(static_cast<CHAR16 *>(malloc((PathBytes / sizeof(CHAR16) + 1) * sizeof(CHAR16))));
  if (!Folder) return nullptr;
  size_t Length = 0;
  size_t LastSeparator = 0;
  bool HasFilePath = false;
  for (size_t Offset = 0; Offset < PathBytes;) {
    const UINT8 *Node = Bytes + Offset;
    size_t NodeLength = Node[2] | (static_cast<size_t>(Node[3]) << 8);
    if (Node[0] == MEDIA_DEVICE_PATH && Node[1] == MEDIA_FILEPATH_DP) {
      HasFilePath = true;
      for (size_t At = 4; At + 1 < NodeLength; At += 2) {
        auto Unit = static_cast<CHAR16>(Node[At] | (Node[At + 1] << 8));
        if (Unit == 0) break;
        Folder.Get()[Length++] = Unit;
        if (Unit == '\\') LastSeparator = Length;
      }
    }
    Offset += NodeLength;
  }
  if (!HasFilePath) return nullptr;
  // Up to, not including, the last separator.
  Length = LastSeparator > 0 ? LastSeparator - 1 : 0;
  Folder.Get()[Length] = 0;
  return Folder.Release();
}

EFI_STATUS ResolveFileName(const char *Name, ResolvedFileName &Out) {
  Out.Volume = nullptr;
  Out.Path.Reset(nullptr);
  if (Name == nullptr) return EFI_INVALID_PARAMETER;
  size_t NameLength = strnlen(Name, MAX_FILE_NAME + 1);
  if (NameLength == 0 || NameLength > MAX_FILE_NAME) return EFI_INVALID_PARAMETER;

  size_t VolumeIndex = 0;
  const char *Rest = nullptr;
  if (!ParseVolumePrefix(Name, VolumeIndex, Rest)) return EFI_INVALID_PARAMETER;

  HeapPtr<CHAR16> Folder;
  if (Rest != Name) {
    Out.Volume = NumberedVolume(BootServices(), VolumeIndex);
  } else {
    EFI_LOADED_IMAGE *Loaded = LoadedImage();
    if (Loaded == nullptr) return EFI_NOT_FOUND;
    Out.Volume = Loaded->DeviceHandle;
    if (!IsSeparator(static_cast<unsigned char>(Rest[0]))) {
      Folder.Reset(ImageFolderOf(Loaded->FilePath));
      if (!Folder) return EFI_NOT_FOUND;
    }
  }
  if (Out.Volume == nullptr) return EFI_NOT_FOUND;

  size_t FolderLength = Folder ? wcslen(Folder.Get()) : 0;
  PathBuilder Path;
  if (!Path.Reserve(FolderLength + 1 + NameLength)) return EFI_OUT_OF_RESOURCES;
  for (size_t I = 0; I < FolderLength; ++I) Path.Append(Folder.Get()[I]);
  Path.Append('\\');
  for (const char *At = Rest; *At != '\0'; ++At) Path.Append(static_cast<unsigned char>(*At));
  Out.Path.Reset(Path.Finish());
  return EFI_SUCCESS;
}

}  // namespace crt::detail
