// GetInfo and SetInfo: EFI_FILE_INFO for every handle, EFI_FILE_SYSTEM_INFO
// and the volume label for any handle of a volume.
#include "sim/file_handle.h"
#include "sim/text.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <stddef.h>

// gnu-efi measures these from a null pointer, which the sanitizers reject.
#undef SIZE_OF_EFI_FILE_INFO
#define SIZE_OF_EFI_FILE_INFO offsetof(EFI_FILE_INFO, FileName)
#undef SIZE_OF_EFI_FILE_SYSTEM_INFO
#define SIZE_OF_EFI_FILE_SYSTEM_INFO offsetof(EFI_FILE_SYSTEM_INFO, VolumeLabel)

namespace sim {
namespace {

const char16_t VOLUME_LABEL[] = u"SIMVOL";

// The fixed parts before the names. (gnu-efi's SIZE_OF_ macros take a
// member of a null pointer, which is undefined and which UBSan reports.)
constexpr size_t FILE_INFO_FIXED_BYTES = offsetof(EFI_FILE_INFO, FileName);
constexpr size_t FILE_SYSTEM_INFO_FIXED_BYTES = offsetof(EFI_FILE_SYSTEM_INFO, VolumeLabel);

EFI_TIME ToEfiTime(time_t Seconds) {
  struct tm Parts {};
  gmtime_r(&Seconds, &Parts);
  EFI_TIME Time{};
  Time.Year = static_cast<UINT16>(Parts.tm_year + 1900);
  Time.Month = static_cast<UINT8>(Parts.tm_mon + 1);
  Time.Day = static_cast<UINT8>(Parts.tm_mday);
  Time.Hour = static_cast<UINT8>(Parts.tm_hour);
  Time.Minute = static_cast<UINT8>(Parts.tm_min);
  Time.Second = static_cast<UINT8>(Parts.tm_sec);
  Time.TimeZone = EFI_UNSPECIFIED_TIMEZONE;
  return Time;
}

// Copies Info out with the two-call size protocol.
EFI_STATUS HandOut(const std::vector<uint8_t> &Info, UINTN *BufferSize, VOID *Buffer) {
  const UINTN Available = *BufferSize;
  *BufferSize = Info.size();
  if (Available < Info.size()) return EFI_BUFFER_TOO_SMALL;
  if (Buffer == nullptr) return EFI_INVALID_PARAMETER;
  std::memcpy(Buffer, Info.data(), Info.size());
  return EFI_SUCCESS;
}

std::vector<uint8_t> BuildFileSystemInfo(const OpenFile &File) {
  struct statvfs Volume {};
  const bool Known = statvfs(File.Owner->Folder.c_str(), &Volume) == 0;
  const size_t Label = sizeof VOLUME_LABEL;
  std::vector<uint8_t> Out(FILE_SYSTEM_INFO_FIXED_BYTES + Label, 0);
  auto *Info = reinterpret_cast<EFI_FILE_SYSTEM_INFO *>(Out.data());
  Info->Size = Out.size();
  Info->ReadOnly = FALSE;
  Info->BlockSize = 512;
  Info->VolumeSize = Known ? static_cast<UINT64>(Volume.f_blocks) * Volume.f_frsize : 0;
  Info->FreeSpace = Known ? static_cast<UINT64>(Volume.f_bavail) * Volume.f_frsize : 0;
  std::memcpy(Out.data() + FILE_SYSTEM_INFO_FIXED_BYTES, VOLUME_LABEL, Label);
  return Out;
}

std::vector<uint8_t> BuildVolumeLabel() {
  std::vector<uint8_t> Out(sizeof VOLUME_LABEL);
  std::memcpy(Out.data(), VOLUME_LABEL, sizeof VOLUME_LABEL);
  return Out;
}

EFI_STATUS Rename(OpenFile &File, const std::u16string &NewName) {
  if (File.IsRoot()) return EFI_ACCESS_DENIED;
  // Moves to another folder are not simulated.
  if (NewName.empty() || NewName.find(u'\\') != std::u16string::npos) return EFI_UNSUPPORTED;
  std::vector<std::string> Target = File.Components;
  Target.pop_back();
  std::string TargetPath = File.Owner->Folder;
  for (const std::string &Part : Target) TargetPath += "/" + Part;
  // A FAT folder holds a name once whatever its case: another file's name
  // in any case is taken, while the file's own name in another case is a
  // rename like any other.
  const std::optional<std::string> Taken = FindEntry(TargetPath, NewName);
  if (Taken && *Taken != File.Components.back()) return EFI_ACCESS_DENIED;
  Target.push_back(ToUtf8(NewName));
  TargetPath += "/" + Target.back();
  if (rename(File.HostPath().c_str(), TargetPath.c_str()) != 0) return EFI_DEVICE_ERROR;
  File.Components = std::move(Target);
  return EFI_SUCCESS;
}

EFI_STATUS SetFileInfo(OpenFile &File, UINTN BufferSize, const VOID *Buffer) {
  if (Buffer == nullptr || BufferSize < FILE_INFO_FIXED_BYTES + sizeof(CHAR16)) return EFI_BAD_BUFFER_SIZE;
  const auto *Info = static_cast<const EFI_FILE_INFO *>(Buffer);
  if (Info->Size < FILE_INFO_FIXED_BYTES + sizeof(CHAR16) || Info->Size > BufferSize) return EFI_BAD_BUFFER_SIZE;
  std::u16string Name;
  const auto *Units = reinterpret_cast<const uint8_t *>(Buffer) + FILE_INFO_FIXED_BYTES;
  const size_t MaxUnits = (Info->Size - FILE_INFO_FIXED_BYTES) / sizeof(CHAR16);
  bool Terminated = false;
  for (size_t Index = 0; Index < MaxUnits && !Terminated; ++Index) {
    const char16_t Unit = static_cast<char16_t>(Units[2 * Index] | (Units[2 * Index + 1] << 8));
    if (Unit == 0) Terminated = true;
    else Name.push_back(Unit);
  }
  if (!Terminated) return EFI_BAD_BUFFER_SIZE;
  if (!File.Writable) return EFI_ACCESS_DENIED;
  if (((Info->Attribute & EFI_FILE_DIRECTORY) != 0) != File.Directory) return EFI_ACCESS_DENIED;
  if ((Info->Attribute & ~static_cast<UINT64>(EFI_FILE_VALID_ATTR)) != 0) return EFI_INVALID_PARAMETER;

  if (File.Directory && Info->FileSize != 0) return EFI_ACCESS_DENIED;
  if (!File.Directory && ftruncate(File.Descriptor, static_cast<off_t>(Info->FileSize)) != 0) return EFI_DEVICE_ERROR;
  const std::u16string Current = File.IsRoot() ? u"" : FromUtf8(File.Components.back());
  if (Name != Current && !(File.IsRoot() && (Name.empty() || Name == u"\\"))) return Rename(File, Name);
  return EFI_SUCCESS;
}

}  // namespace

std::vector<uint8_t> BuildFileInfo(const std::string &HostPath, const std::u16string &Name) {
  struct stat Status {};
  if (stat(HostPath.c_str(), &Status) != 0) return {};
  std::vector<uint8_t> Out(FILE_INFO_FIXED_BYTES + (Name.size() + 1) * sizeof(CHAR16), 0);
  auto *Info = reinterpret_cast<EFI_FILE_INFO *>(Out.data());
  const bool Directory = S_ISDIR(Status.st_mode);
  Info->Size = Out.size();
  Info->FileSize = Directory ? 0 : static_cast<UINT64>(Status.st_size);
  Info->PhysicalSize = (Info->FileSize + 511) / 512 * 512;
  Info->CreateTime = ToEfiTime(Status.st_mtime);
  Info->LastAccessTime = ToEfiTime(Status.st_atime);
  Info->ModificationTime = ToEfiTime(Status.st_mtime);
  Info->Attribute = Directory ? EFI_FILE_DIRECTORY : EFI_FILE_ARCHIVE;
  if ((Status.st_mode & S_IWUSR) == 0) Info->Attribute |= EFI_FILE_READ_ONLY;
  std::memcpy(Out.data() + FILE_INFO_FIXED_BYTES, Name.data(), Name.size() * sizeof(CHAR16));
  return Out;
}

EFI_STATUS EFIAPI FileGetInfo(EFI_FILE_PROTOCOL *This, EFI_GUID *InformationType, UINTN *BufferSize, VOID *Buffer) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileGetInfo, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (InformationType == nullptr || BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (SameGuid(*InformationType, gEfiFileInfoGuid)) {
    const std::u16string Name = File->IsRoot() ? u"" : FromUtf8(File->Components.back());
    const std::vector<uint8_t> Info = BuildFileInfo(File->HostPath(), Name);
    if (Info.empty()) return EFI_DEVICE_ERROR;
    return HandOut(Info, BufferSize, Buffer);
  }
  if (SameGuid(*InformationType, gEfiFileSystemInfoGuid)) return HandOut(BuildFileSystemInfo(*File), BufferSize, Buffer);
  if (SameGuid(*InformationType, gEfiFileSystemVolumeLabelInfoIdGuid)) return HandOut(BuildVolumeLabel(), BufferSize, Buffer);
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI FileSetInfo(EFI_FILE_PROTOCOL *This, EFI_GUID *InformationType, UINTN BufferSize, VOID *Buffer) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileSetInfo, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (InformationType == nullptr) return EFI_INVALID_PARAMETER;
  if (SameGuid(*InformationType, gEfiFileInfoGuid)) return SetFileInfo(*File, BufferSize, Buffer);
  if (SameGuid(*InformationType, gEfiFileSystemInfoGuid) || SameGuid(*InformationType, gEfiFileSystemVolumeLabelInfoIdGuid))
    return EFI_WRITE_PROTECTED;
  return EFI_UNSUPPORTED;
}

}  // namespace sim
