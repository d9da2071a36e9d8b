// Image services: LoadImage, StartImage, Exit and UnloadImage.
//
// Images are registered descriptors, not PE files: LoadImage resolves the
// file-path part of the device path on a mounted volume and matches the base
// name. Exit unwinds to the StartImage that runs the image with longjmp, as
// firmware switches back to the caller's stack; no frame between them may
// rely on a destructor running.
#include "runtime/file_names.h"
#include "runtime/volumes.h"
#include "sim/device_path.h"
#include "sim/file_handle.h"
#include "sim/firmware_state.h"
#include "sim/text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <cstdlib>

namespace sim {
namespace {

EFI_GUID LoadedImageDevicePathGuid = EFI_LOADED_IMAGE_DEVICE_PATH_PROTOCOL_GUID;

EFI_MEMORY_TYPE CodeTypeFor(EFI_MEMORY_TYPE DataType) {
  switch (DataType) {
    case EfiLoaderData: return EfiLoaderCode;
    case EfiRuntimeServicesData: return EfiRuntimeServicesCode;
    default: return EfiBootServicesCode;
  }
}

std::u16string BaseName(const std::u16string &Path) {
  const size_t Slash = Path.find_last_of(u'\\');
  return Slash == std::u16string::npos ? Path : Path.substr(Slash + 1);
}

const ImageDescriptor *FindRegistered(const State &S, const std::u16string &Name) {
  for (const ImageDescriptor &Image : S.Registered)
    if (SameNameIgnoringCase(FromUtf8(Image.FileName), Name)) return &Image;
  return nullptr;
}

bool AnotherInstanceLoaded(const State &S, const ImageDescriptor &Image) {
  return std::any_of(S.Images.begin(), S.Images.end(), [&](const std::unique_ptr<ImageRecord> &Record) {
    return Record->Descriptor && SameNameIgnoringCase(FromUtf8(Record->Descriptor->FileName), FromUtf8(Image.FileName));
  });
}

// Creates the image's handle with its loaded-image protocols.
ImageRecord *AddImage(State &S, EFI_HANDLE Parent, EFI_HANDLE Device, DevicePathBytes FilePath,
                      DevicePathBytes FullPath, EFI_MEMORY_TYPE DataType) {
  auto Record = std::make_unique<ImageRecord>();
  Record->FilePath = std::move(FilePath);
  Record->DevicePath = std::move(FullPath);
  EFI_LOADED_IMAGE &Loaded = Record->Loaded;
  Loaded.Revision = EFI_LOADED_IMAGE_PROTOCOL_REVISION;
  Loaded.ParentHandle = Parent;
  Loaded.SystemTable = SystemTableInstance();
  Loaded.DeviceHandle = Device;
  Loaded.FilePath = reinterpret_cast<EFI_DEVICE_PATH *>(Record->FilePath.data());
  Loaded.ImageBase = Record.get();
  Loaded.ImageSize = sizeof(ImageRecord);
  Loaded.ImageCodeType = CodeTypeFor(DataType);
  Loaded.ImageDataType = DataType;
  Loaded.Unload = nullptr;
  EFI_HANDLE Handle = nullptr;
  EFI_STATUS Status = InstallInterface(S, &Handle, gEfiLoadedImageProtocolGuid, &Record->Loaded);
  if (Status == EFI_SUCCESS) Status = InstallInterface(S, &Handle, LoadedImageDevicePathGuid, Record->DevicePath.data());
  if (Status != EFI_SUCCESS) std::abort();
  Record->Handle = Handle;
  S.Images.push_back(std::move(Record));
  return S.Images.back().get();
}

const Volume *VolumeUnder(const State &S, const EFI_DEVICE_PATH *Path, size_t *Matched) {
  for (const auto &V : S.Volumes) {
    const std::optional<size_t> Size = MatchDevicePathPrefix(V->DevicePath.data(), Path);
    if (!Size) continue;
    *Matched = *Size;
    return V.get();
  }
  return nullptr;
}

EFI_STATUS EFIAPI LoadImage(BOOLEAN BootPolicy, EFI_HANDLE ParentImageHandle, EFI_DEVICE_PATH *DevicePath,
                            VOID *SourceBuffer, UINTN SourceSize, EFI_HANDLE *ImageHandle) {
  (void)BootPolicy;
  (void)SourceSize;
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::LoadImage);
  if (Injected != EFI_SUCCESS) return Injected;
  if (ImageHandle == nullptr || FindImage(S, ParentImageHandle) == nullptr) return EFI_INVALID_PARAMETER;
  if (DevicePath == nullptr) return SourceBuffer == nullptr ? EFI_NOT_FOUND : EFI_LOAD_ERROR;
  size_t Matched = 0;
  const Volume *Source = VolumeUnder(S, DevicePath, &Matched);
  if (Source == nullptr) return EFI_NOT_FOUND;
  const void *FilePart = reinterpret_cast<const uint8_t *>(DevicePath) + Matched;
  const std::optional<std::u16string> FileText = FilePathText(FilePart);
  if (!FileText || FileText->empty()) return EFI_NOT_FOUND;
  // Firmware reads the image from the volume: no file, no image.
  if (!HostFileOf(S, *Source, *FileText)) return EFI_NOT_FOUND;
  const ImageDescriptor *Descriptor = FindRegistered(S, BaseName(*FileText));
  if (Descriptor == nullptr) return EFI_NOT_FOUND;

  // Fresh image data, unless an instance of the same image is still loaded:
  // the host has one copy of the image's globals, which that instance owns.
  const bool FreshData = !AnotherInstanceLoaded(S, *Descriptor);
  ImageRecord *Record = AddImage(S, ParentImageHandle, Source->Handle, *CopyDevicePath(FilePart),
                                 *CopyDevicePath(DevicePath), Descriptor->DataType);
  Record->Descriptor = *Descriptor;
  if (FreshData && Descriptor->ResetState != nullptr) Descriptor->ResetState();
  *ImageHandle = Record->Handle;
  return EFI_SUCCESS;
}

// Calls the entry point of the innermost running image; Exit returns here.
// No locals live across sigsetjmp. (sigsetjmp/siglongjmp rather than
// setjmp/longjmp: libefi.a brings its own longjmp, whose buffer layout is not
// the C library's, and it wins the link.)
EFI_STATUS RunEntryPoint() {
  sigjmp_buf Jump;
  ActiveState().Running.back()->ExitJump = &Jump;
  if (sigsetjmp(Jump, 0) != 0) return ActiveState().Running.back()->ExitStatus;
  ImageRecord *Image = ActiveState().Running.back();
  return Image->Descriptor->Entry(Image->Handle, SystemTableInstance());
}

EFI_STATUS EFIAPI StartImage(EFI_HANDLE ImageHandle, UINTN *ExitDataSize, CHAR16 **ExitData) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::StartImage);
  if (Injected != EFI_SUCCESS) return Injected;
  ImageRecord *Image = FindImage(S, ImageHandle);
  if (Image == nullptr || Image->Started || !Image->Descriptor || Image->Descriptor->Entry == nullptr)
    return EFI_INVALID_PARAMETER;
  Image->Started = true;
  Image->ExitDataSize = 0;
  Image->ExitData = nullptr;
  S.Running.push_back(Image);
  const EFI_STATUS Status = RunEntryPoint();
  S.Running.pop_back();
  Image->ExitJump = nullptr;

  if (ExitDataSize != nullptr) *ExitDataSize = Image->ExitDataSize;
  if (ExitData != nullptr) {
    *ExitData = Image->ExitData;
  } else if (Image->ExitData != nullptr) {
    (void)ReleasePoolBlock(S, Image->ExitData);
  }
  // Firmware unloads an image whose entry point failed, and an application
  // whenever its entry point returns.
  if (EFI_ERROR(Status) || Image->Descriptor->DataType == EfiLoaderData) DiscardImage(S, Image);
  return Status;
}

EFI_STATUS EFIAPI Exit(EFI_HANDLE ImageHandle, EFI_STATUS ExitStatus, UINTN ExitDataSize, CHAR16 *ExitData) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::Exit);
  if (Injected != EFI_SUCCESS) return Injected;
  ImageRecord *Image = FindImage(S, ImageHandle);
  if (Image == nullptr) return EFI_INVALID_PARAMETER;
  if (!Image->Started) {  // loaded, never started: Exit just unloads it
    DiscardImage(S, Image);
    return EFI_SUCCESS;
  }
  if (S.Running.empty() || S.Running.back() != Image || Image->ExitJump == nullptr) return EFI_INVALID_PARAMETER;
  Image->ExitStatus = ExitStatus;
  Image->ExitDataSize = ExitData == nullptr ? 0 : ExitDataSize;
  Image->ExitData = IsPoolBlock(ExitData) ? ExitData : nullptr;
  siglongjmp(*Image->ExitJump, 1);
}

EFI_STATUS EFIAPI UnloadImage(EFI_HANDLE ImageHandle) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::UnloadImage);
  if (Injected != EFI_SUCCESS) return Injected;
  ImageRecord *Image = FindImage(S, ImageHandle);
  if (Image == nullptr) return EFI_INVALID_PARAMETER;
  if (!Image->Started) {
    DiscardImage(S, Image);
    return EFI_SUCCESS;
  }
  if (Image->Loaded.Unload == nullptr) return EFI_UNSUPPORTED;
  const EFI_STATUS Status = Image->Loaded.Unload(ImageHandle);
  if (EFI_ERROR(Status)) return Status;
  // The unload handler may have changed the image list; look the image up again.
  Image = FindImage(S, ImageHandle);
  if (Image != nullptr) DiscardImage(S, Image);
  return Status;  // a warning from the handler comes back with the image gone
}

}  // namespace

ImageRecord *FindImage(const State &S, EFI_HANDLE Handle) {
  if (Handle == nullptr) return nullptr;
  for (const auto &Record : S.Images)
    if (Record->Handle == Handle) return Record.get();
  return nullptr;
}

void DiscardImage(State &S, ImageRecord *Image) {
  RemoveHandle(S, Image->Handle);
  std::erase_if(S.Images, [&](const std::unique_ptr<ImageRecord> &R) { return R.get() == Image; });
}

EFI_HANDLE CreatePlatformImage(State &S) {
  ImageRecord *Record = AddImage(S, nullptr, nullptr, EndOnlyDevicePath(), EndOnlyDevicePath(), EfiBootServicesData);
  Record->Started = true;
  return Record->Handle;
}

void WireImageServices(EFI_BOOT_SERVICES &Boot) {
  Boot.LoadImage = LoadImage;
  Boot.StartImage = StartImage;
  Boot.Exit = Exit;
  Boot.UnloadImage = UnloadImage;
}

void Firmware::RegisterImage(const ImageDescriptor &Image) {
  for (ImageDescriptor &Known : S->Registered) {
    if (!SameNameIgnoringCase(FromUtf8(Known.FileName), FromUtf8(Image.FileName))) continue;
    Known = Image;
    return;
  }
  S->Registered.push_back(Image);
}

// The volume and the rest of the name are found by the runtime's own
// routines, so "fs1:" names the same volume for the loader as for a file
// the driver opens: the Shell's map when a Shell is installed.
namespace {

// "fsN:\path", "fsN:path" or a bare name (on fs0:), numbered as the
// driver's runtime numbers volumes: the volume and the path on it
// ("\path", backslashes).
bool ResolveImagePath(State &S, const std::string &Path, const Volume *&Source, std::string &OnVolume) {
  size_t VolumeIndex = 0;
  const char *Rest = nullptr;
  if (!crt::detail::ParseVolumePrefix(Path.c_str(), VolumeIndex, Rest)) return false;
  if (Rest == Path.c_str()) VolumeIndex = 0;  // a bare name is looked for on fs0:
  EFI_HANDLE VolumeHandle = crt::detail::NumberedVolume(SystemTableInstance()->BootServices, VolumeIndex);
  const auto Found = std::find_if(S.Volumes.begin(), S.Volumes.end(),
                                  [&](const std::unique_ptr<Volume> &V) { return V->Handle == VolumeHandle; });
  if (VolumeHandle == nullptr || Found == S.Volumes.end()) return false;
  Source = Found->get();
  OnVolume = Rest;
  std::replace(OnVolume.begin(), OnVolume.end(), '/', '\\');
  if (OnVolume.empty() || OnVolume.front() != '\\') OnVolume.insert(OnVolume.begin(), '\\');
  return true;
}

}  // namespace

bool Firmware::InstallImage(const std::string &Path, const ImageDescriptor &Image) {
  RegisterImage(Image);
  const Volume *Source = nullptr;
  std::string OnVolume;
  if (!ResolveImagePath(*S, Path, Source, OnVolume)) return false;
  std::replace(OnVolume.begin(), OnVolume.end(), '\\', '/');
  const std::filesystem::path File = std::filesystem::path(Source->Folder) / OnVolume.substr(1);
  std::error_code Failed;
  std::filesystem::create_directories(File.parent_path(), Failed);
  std::FILE *Out = std::fopen(File.string().c_str(), "wb");
  if (Out == nullptr) return false;
  // The simulator runs the registered entry point; the file only has to be
  // there, as on a volume. Its first bytes are a PE image's.
  std::fputs("MZ", Out);
  std::fclose(Out);
  return true;
}

EFI_STATUS Firmware::LoadImageFile(const std::string &Path, EFI_HANDLE *Handle) {
  const Volume *Source = nullptr;
  std::string OnVolume;
  if (!ResolveImagePath(*S, Path, Source, OnVolume)) return EFI_NOT_FOUND;
  const DevicePathBytes Full = AppendDevicePath(Source->DevicePath, FilePathDevicePath(FromUtf8(OnVolume)));
  EFI_HANDLE Parent = S->Running.empty() ? S->PlatformImage : S->Running.back()->Handle;
  auto *DevicePath = reinterpret_cast<EFI_DEVICE_PATH *>(const_cast<uint8_t *>(Full.data()));
  return SystemTableInstance()->BootServices->LoadImage(FALSE, Parent, DevicePath, nullptr, 0, Handle);
}

EFI_STATUS Firmware::StartImage(EFI_HANDLE Image, EFI_STATUS *ExitStatus) {
  UINTN ExitDataSize = 0;
  const EFI_STATUS Status = SystemTableInstance()->BootServices->StartImage(Image, &ExitDataSize, nullptr);
  if (ExitStatus != nullptr) *ExitStatus = Status;
  return Status;
}

EFI_STATUS Firmware::UnloadImage(EFI_HANDLE Image) { return SystemTableInstance()->BootServices->UnloadImage(Image); }

EFI_STATUS Firmware::LoadAndStart(const std::string &Path, EFI_HANDLE *Handle) {
  EFI_HANDLE Loaded = nullptr;
  const EFI_STATUS Status = LoadImageFile(Path, &Loaded);
  if (Handle != nullptr) *Handle = Loaded;
  if (EFI_ERROR(Status)) return Status;
  return StartImage(Loaded);
}

EFI_HANDLE Firmware::CreateLoadedImage(EFI_HANDLE VolumeHandle, const std::u16string &FilePath) {
  const auto It = std::find_if(S->Volumes.begin(), S->Volumes.end(),
                               [&](const std::unique_ptr<Volume> &V) { return V->Handle == VolumeHandle; });
  if (It == S->Volumes.end()) return nullptr;
  const DevicePathBytes File = FilePathDevicePath(FilePath);
  ImageRecord *Record = AddImage(*S, S->PlatformImage, VolumeHandle, File, AppendDevicePath((*It)->DevicePath, File),
                                 EfiBootServicesData);
  Record->Started = true;  // "running" outside StartImage: Exit on it is refused
  return Record->Handle;
}

bool Firmware::IsImageLoaded(EFI_HANDLE Image) const { return FindImage(*S, Image) != nullptr; }

}  // namespace sim
