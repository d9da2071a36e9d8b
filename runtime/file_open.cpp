// Opening files for streams (see file_open.h).
#include "runtime/file_open.h"

#include "runtime/crt.h"
#include "runtime/file_names.h"
#include "runtime/owners.h"
#include "runtime/volumes.h"
#include <stddef.h>

// gnu-efi measures these from a null pointer, which the sanitizers reject.
#undef SIZE_OF_EFI_FILE_INFO
#define SIZE_OF_EFI_FILE_INFO offsetof(EFI_FILE_INFO, FileName)

namespace crt::detail {

namespace {

// The fixed part of EFI_FILE_INFO, before the name. (gnu-efi's
// SIZE_OF_EFI_FILE_INFO takes a member of a null pointer, which is undefined
// and which UBSan reports.)
constexpr UINTN FILE_INFO_FIXED_BYTES = offsetof(EFI_FILE_INFO, FileName);

// EFI_FILE_INFO plus a name; the info of a file with a longer name is
// fetched into a buffer of the size the firmware asks for, up to this.
constexpr UINTN MAX_FILE_INFO_BYTES = 0x10000;

[[nodiscard]] EFI_STATUS ReadFileInfo(EFI_FILE_PROTOCOL *File, HeapPtr<EFI_FILE_INFO> &Info, UINTN &InfoSize) {
  InfoSize = FILE_INFO_FIXED_BYTES + 256 * sizeof(CHAR16);
  for (int Attempt = 0; Attempt < 2; ++Attempt) {
    Info.Reset(static_cast<EFI_FILE_INFO *>(malloc(InfoSize)));
    if (!Info) return EFI_OUT_OF_RESOURCES;
    const UINTN Allocated = InfoSize;
    EFI_STATUS Status = File->GetInfo(File, &gEfiFileInfoGuid, &InfoSize, Info.Get());
    if (Status == EFI_SUCCESS) {
      // The fixed part at least, and no more than was handed over.
      return InfoSize >= FILE_INFO_FIXED_BYTES && InfoSize <= Allocated ? EFI_SUCCESS : EFI_DEVICE_ERROR;
    }
    if (Status != EFI_BUFFER_TOO_SMALL) return EFI_ERROR(Status) ? Status : EFI_DEVICE_ERROR;
    if (InfoSize <= Allocated || InfoSize > MAX_FILE_INFO_BYTES) return EFI_BAD_BUFFER_SIZE;
  }
  return EFI_BUFFER_TOO_SMALL;
}

// Resolves a file name to its volume and path and opens that volume's root.
[[nodiscard]] EFI_STATUS OpenRootOf(const char *Name, ResolvedFileName &Resolved, FileHandle &Root) {
  const EFI_STATUS Status = ResolveFileName(Name, Resolved);
  if (EFI_ERROR(Status)) return Status;
  return OpenVolumeRoot(Resolved.Volume, Root.Out());
}

// A warning from Open may come without a handle: only a handle counts.
[[nodiscard]] EFI_STATUS OpenOnRoot(EFI_FILE_PROTOCOL *Root, CHAR16 *Path, OpenMode Mode, FileHandle &File) {
  UINT64 Flags = Mode == OpenMode::Read
                     ? EFI_FILE_MODE_READ
                     : EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE;
  const EFI_STATUS Status = Root->Open(Root, File.Out(), Path, Flags, 0);
  if (EFI_ERROR(Status)) return Status;
  return File.Get() != nullptr ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

// Empties File: SetInfo with FileSize 0 where the file system allows it,
// else delete and create it again.
[[nodiscard]] EFI_STATUS Truncate(EFI_FILE_PROTOCOL *Root, CHAR16 *Path, FileHandle &File, EFI_FILE_INFO *Info,
                                  UINTN InfoSize) {
  if (Info->FileSize == 0) return EFI_SUCCESS;
  Info->FileSize = 0;
  if (File.Get()->SetInfo(File.Get(), &gEfiFileInfoGuid, InfoSize, Info) == EFI_SUCCESS) return EFI_SUCCESS;
  // Delete closes the handle whatever it returns.
  EFI_STATUS Status = File.Get()->Delete(File.Release());
  if (Status != EFI_SUCCESS) return EFI_ACCESS_DENIED;
  return OpenOnRoot(Root, Path, OpenMode::Truncate, File);
}

}  // namespace

bool ParseOpenMode(const char *Mode, OpenMode &Out) {
  if (Mode == nullptr) return false;
  if (Mode[0] == 'r') {
    Out = OpenMode::Read;
  } else if (Mode[0] == 'w') {
    Out = OpenMode::Truncate;
  } else if (Mode[0] == 'a') {
    Out = OpenMode::Append;
  } else {
    return false;
  }
  return Mode[1] == '\0' || (Mode[1] == 'b' && Mode[2] == '\0');
}

EFI_STATUS OpenFile(const char *Name, OpenMode Mode, EFI_FILE_PROTOCOL **Opened) {
  *Opened = nullptr;
  ResolvedFileName Resolved;
  FileHandle Root;
  EFI_STATUS Status = OpenRootOf(Name, Resolved, Root);
  if (EFI_ERROR(Status)) return Status;
  FileHandle File;
  Status = OpenOnRoot(Root.Get(), Resolved.Path.Get(), Mode, File);
  if (EFI_ERROR(Status)) return Status;

  HeapPtr<EFI_FILE_INFO> Info;
  UINTN InfoSize = 0;
  Status = ReadFileInfo(File.Get(), Info, InfoSize);
  if (EFI_ERROR(Status)) return Status;
  if ((Info.Get()->Attribute & EFI_FILE_DIRECTORY) != 0) return EFI_ACCESS_DENIED;
  if (Mode == OpenMode::Truncate) {
    Status = Truncate(Root.Get(), Resolved.Path.Get(), File, Info.Get(), InfoSize);
    if (EFI_ERROR(Status)) return Status;
  }
  *Opened = File.Release();
  return EFI_SUCCESS;
}

EFI_STATUS MakeFolder(const char *Name) {
  ResolvedFileName Resolved;
  FileHandle Root;
  EFI_STATUS Status = OpenRootOf(Name, Resolved, Root);
  if (EFI_ERROR(Status)) return Status;
  FileHandle Folder;
  Status = Root.Get()->Open(Root.Get(), Folder.Out(), Resolved.Path.Get(),
                            EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE, EFI_FILE_DIRECTORY);
  if (EFI_ERROR(Status)) return Status;
  if (Folder.Get() == nullptr) return EFI_DEVICE_ERROR;
  HeapPtr<EFI_FILE_INFO> Info;
  UINTN InfoSize = 0;
  Status = ReadFileInfo(Folder.Get(), Info, InfoSize);
  if (EFI_ERROR(Status)) return Status;
  // A file of that name is no folder to write into.
  return (Info.Get()->Attribute & EFI_FILE_DIRECTORY) != 0 ? EFI_SUCCESS : EFI_ACCESS_DENIED;
}

}  // namespace crt::detail
