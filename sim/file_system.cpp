// Simple File System volumes backed by host folders: mounting, OpenVolume,
// and the name resolution every Open goes through.
//
// Names follow the FAT driver of the reference firmware: '\' separates,
// '/' is refused, "." and ".." are understood, letters compare without case,
// and CREATE makes only the last component.
#include "sim/device_path.h"
#include "sim/file_handle.h"
#include "sim/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr size_t MAX_COMPONENT_UNITS = 255;
constexpr size_t MAX_NAME_UNITS = 4096;

bool ValidComponent(const std::u16string &Part) {
  if (Part.size() > MAX_COMPONENT_UNITS) return false;
  for (char16_t Unit : Part) {
    if (Unit < 0x20) return false;
    if (std::u16string_view(u"\"*:<>?|").find(Unit) != std::u16string_view::npos) return false;
  }
  return true;
}

std::string JoinHost(const Volume &Owner, const std::vector<std::string> &Components) {
  std::string Path = Owner.Folder;
  for (const std::string &Part : Components) Path += "/" + Part;
  return Path;
}

bool IsDirectory(const std::string &Path) {
  struct stat Info {};
  return stat(Path.c_str(), &Info) == 0 && S_ISDIR(Info.st_mode);
}

EFI_STATUS EFIAPI OpenVolume(EFI_SIMPLE_FILE_SYSTEM_PROTOCOL *This, EFI_FILE_PROTOCOL **Root) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::OpenVolume);
  if (Injected != EFI_SUCCESS) return Injected;
  if (This == nullptr || Root == nullptr) return EFI_INVALID_PARAMETER;
  auto It = std::find_if(S.Volumes.begin(), S.Volumes.end(),
                         [&](const std::unique_ptr<Volume> &V) { return &V->Protocol == This; });
  if (It == S.Volumes.end()) return EFI_INVALID_PARAMETER;
  if (!IsDirectory((*It)->Folder)) return EFI_NO_MEDIA;
  OpenFile *File = OpenHandle(S, **It, {}, true);
  if (File == nullptr) return EFI_DEVICE_ERROR;
  *Root = &File->Protocol;
  return EFI_SUCCESS;
}

}  // namespace

std::optional<std::string> FindEntry(const std::string &Folder, const std::u16string &Part) {
  std::error_code Error;
  std::optional<std::string> Found;
  for (const fs::directory_entry &Entry : fs::directory_iterator(Folder, Error)) {
    const std::string Name = Entry.path().filename().string();
    const std::u16string Wide = FromUtf8(Name);
    if (Wide == Part) return Name;
    // The host lists a folder in no fixed order: the least name wins, so
    // that every open of the name reaches the same file.
    if (SameNameIgnoringCase(Wide, Part) && (!Found || Name < *Found)) Found = Name;
  }
  return Found;
}

OpenFile::OpenFile() : Protocol{} {}

OpenFile::~OpenFile() {
  if (Descriptor >= 0) close(Descriptor);
}

std::string OpenFile::HostPath() const { return JoinHost(*Owner, Components); }

OpenFile *FileFromProtocol(State &S, EFI_FILE_PROTOCOL *Protocol) {
  auto It = S.Files.find(reinterpret_cast<OpenFile *>(Protocol));
  return It == S.Files.end() ? nullptr : It->second.get();
}

EFI_STATUS EnterFileCall(State &S, Service Call, EFI_FILE_PROTOCOL *Protocol, OpenFile *&File) {
  const EFI_STATUS Injected = S.Enter(Call);
  if (Injected != EFI_SUCCESS) return Injected;
  File = FileFromProtocol(S, Protocol);
  return File == nullptr ? EFI_INVALID_PARAMETER : EFI_SUCCESS;
}

OpenFile *OpenHandle(State &S, Volume &Owner, std::vector<std::string> Components, bool Writable) {
  auto File = std::make_unique<OpenFile>();
  FillFileProtocol(File->Protocol);
  File->Owner = &Owner;
  File->Components = std::move(Components);
  File->Writable = Writable;
  const std::string Path = File->HostPath();
  File->Directory = IsDirectory(Path);
  if (!File->Directory) {
    File->Descriptor = open(Path.c_str(), (Writable ? O_RDWR : O_RDONLY) | O_CLOEXEC);
    if (File->Descriptor < 0) return nullptr;
  }
  OpenFile *Raw = File.get();
  S.Files.emplace(Raw, std::move(File));
  return Raw;
}

void CloseHandle(State &S, OpenFile *File) { S.Files.erase(File); }

void CloseAllFiles(State &S) { S.Files.clear(); }

EFI_STATUS ResolveName(const OpenFile &From, const CHAR16 *Name, bool Create, bool CreateDirectory,
                       std::vector<std::string> *Components) {
  std::u16string Text;
  for (size_t Index = 0;; ++Index) {
    if (Index == MAX_NAME_UNITS) return EFI_INVALID_PARAMETER;
    if (Name[Index] == 0) break;
    Text.push_back(static_cast<char16_t>(Name[Index]));
  }
  if (Text.find(u'/') != std::u16string::npos) return EFI_INVALID_PARAMETER;

  const bool FromRoot = !Text.empty() && Text.front() == u'\\';
  if (!FromRoot && !From.Directory && !Text.empty()) return EFI_NOT_FOUND;
  std::vector<std::string> Path = FromRoot ? std::vector<std::string>{} : From.Components;
  if (!From.Directory && !FromRoot && Text.empty()) {
    *Components = Path;
    return EFI_SUCCESS;
  }
  std::vector<std::u16string> Parts;
  size_t Start = 0;
  while (Start <= Text.size()) {
    const size_t End = std::min(Text.find(u'\\', Start), Text.size());
    if (End > Start) Parts.push_back(Text.substr(Start, End - Start));
    Start = End + 1;
  }
  for (size_t Index = 0; Index < Parts.size(); ++Index) {
    const std::u16string &Part = Parts[Index];
    const bool Last = Index + 1 == Parts.size();
    if (Part == u".") continue;
    if (Part == u"..") {
      if (Path.empty()) return EFI_NOT_FOUND;
      Path.pop_back();
      continue;
    }
    if (!ValidComponent(Part)) return EFI_INVALID_PARAMETER;
    const std::string Folder = JoinHost(*From.Owner, Path);
    if (!IsDirectory(Folder)) return EFI_NOT_FOUND;
    const std::optional<std::string> Existing = FindEntry(Folder, Part);
    if (Existing) {
      Path.push_back(*Existing);
      continue;
    }
    if (!Last || !Create) return EFI_NOT_FOUND;
    const std::string HostName = ToUtf8(Part);
    const std::string Target = Folder + "/" + HostName;
    if (CreateDirectory) {
      if (mkdir(Target.c_str(), 0755) != 0) return EFI_DEVICE_ERROR;
    } else {
      const int Created = open(Target.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
      if (Created < 0) return EFI_DEVICE_ERROR;
      close(Created);
    }
    Path.push_back(HostName);
  }
  *Components = std::move(Path);
  return EFI_SUCCESS;
}

std::optional<std::string> HostFileOf(State &S, const Volume &Owner, const std::u16string &FilePath) {
  OpenFile *Root = OpenHandle(S, const_cast<Volume &>(Owner), {}, false);
  if (Root == nullptr) return std::nullopt;
  std::vector<std::string> Components;
  const EFI_STATUS Status = ResolveName(*Root, reinterpret_cast<const CHAR16 *>(FilePath.c_str()), false, false, &Components);
  CloseHandle(S, Root);
  if (Status != EFI_SUCCESS) return std::nullopt;
  const std::string Path = JoinHost(Owner, Components);
  struct stat Info {};
  if (stat(Path.c_str(), &Info) != 0 || !S_ISREG(Info.st_mode)) return std::nullopt;
  return Path;
}

std::vector<std::string> DirectoryEntries(const OpenFile &Directory) {
  std::vector<std::string> Names;
  std::error_code Error;
  for (const fs::directory_entry &Entry : fs::directory_iterator(Directory.HostPath(), Error))
    Names.push_back(Entry.path().filename().string());
  std::sort(Names.begin(), Names.end());
  if (!Directory.IsRoot()) Names.insert(Names.begin(), {".", ".."});
  return Names;
}

void ConfigureVolumeProtocol(Volume &V) {
  V.Protocol.Revision = EFI_SIMPLE_FILE_SYSTEM_PROTOCOL_REVISION;
  V.Protocol.OpenVolume = OpenVolume;
}

EFI_HANDLE Firmware::MountVolume(const std::string &HostFolder) {
  return MountVolume(HostFolder, VolumeDevicePath(S->Volumes.size()));
}

EFI_HANDLE Firmware::MountVolume(const std::string &HostFolder, std::vector<uint8_t> DevicePath) {
  auto V = std::make_unique<Volume>();
  V->Index = S->Volumes.size();
  V->Folder = HostFolder;
  V->DevicePath = std::move(DevicePath);
  ConfigureVolumeProtocol(*V);
  EFI_HANDLE Handle = nullptr;
  EFI_STATUS Status = InstallInterface(*S, &Handle, gEfiDevicePathProtocolGuid, V->DevicePath.data());
  if (Status == EFI_SUCCESS) Status = InstallInterface(*S, &Handle, gEfiSimpleFileSystemProtocolGuid, &V->Protocol);
  if (Status != EFI_SUCCESS) return nullptr;
  V->Handle = Handle;
  S->Volumes.push_back(std::move(V));
  return Handle;
}

EFI_HANDLE Firmware::VolumeHandle(size_t Index) const {
  return Index < S->Volumes.size() ? S->Volumes[Index]->Handle : nullptr;
}

}  // namespace sim
