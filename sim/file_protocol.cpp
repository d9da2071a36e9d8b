// EFI_FILE_PROTOCOL (revision 1): Open, Close, Delete, Read, Write,
// positions and Flush. GetInfo/SetInfo are in file_info.cpp.
#include "sim/file_handle.h"
#include "sim/text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace sim {
namespace {

constexpr uint64_t END_OF_FILE = 0xFFFFFFFFFFFFFFFFull;

bool ValidOpenMode(UINT64 Mode) {
  return Mode == EFI_FILE_MODE_READ || Mode == (EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE) ||
         Mode == (EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE);
}

std::optional<uint64_t> FileSize(const OpenFile &File) {
  struct stat Info {};
  if (fstat(File.Descriptor, &Info) != 0) return std::nullopt;
  return static_cast<uint64_t>(Info.st_size);
}

EFI_STATUS EFIAPI Open(EFI_FILE_PROTOCOL *This, EFI_FILE_PROTOCOL **NewHandle, CHAR16 *FileName, UINT64 OpenMode,
                       UINT64 Attributes) {
  State &S = ActiveState();
  OpenFile *From = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileOpen, This, From);
  if (Entered != EFI_SUCCESS) return Entered;
  if (NewHandle == nullptr || FileName == nullptr || !ValidOpenMode(OpenMode))
    return EFI_INVALID_PARAMETER;
  if ((Attributes & ~static_cast<UINT64>(EFI_FILE_VALID_ATTR)) != 0) return EFI_INVALID_PARAMETER;
  const bool Create = (OpenMode & EFI_FILE_MODE_CREATE) != 0;
  std::vector<std::string> Components;
  const EFI_STATUS Resolved = ResolveName(*From, FileName, Create, (Attributes & EFI_FILE_DIRECTORY) != 0, &Components);
  if (Resolved != EFI_SUCCESS) return Resolved;
  OpenFile *File = OpenHandle(S, *From->Owner, std::move(Components), (OpenMode & EFI_FILE_MODE_WRITE) != 0);
  if (File == nullptr) return errno == EACCES ? EFI_ACCESS_DENIED : EFI_DEVICE_ERROR;
  *NewHandle = &File->Protocol;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Close(EFI_FILE_PROTOCOL *This) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileClose, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  CloseHandle(S, File);
  return EFI_SUCCESS;
}

// Delete always closes the handle; a failure is only a warning.
EFI_STATUS EFIAPI Delete(EFI_FILE_PROTOCOL *This) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileDelete, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  const std::string Path = File->HostPath();
  const bool Refused = File->IsRoot() || !File->Writable;
  CloseHandle(S, File);
  if (Refused) return EFI_WARN_DELETE_FAILURE;
  std::error_code Error;
  return std::filesystem::remove(Path, Error) ? EFI_SUCCESS : EFI_WARN_DELETE_FAILURE;
}

EFI_STATUS ReadDirectory(OpenFile &Directory, UINTN *BufferSize, VOID *Buffer) {
  const std::vector<std::string> Entries = DirectoryEntries(Directory);
  if (Directory.NextEntry >= Entries.size()) {
    *BufferSize = 0;
    return EFI_SUCCESS;
  }
  const std::string &Name = Entries[Directory.NextEntry];
  const std::vector<uint8_t> Info = BuildFileInfo(Directory.HostPath() + "/" + Name, FromUtf8(Name));
  if (Info.empty()) return EFI_DEVICE_ERROR;
  const UINTN Available = *BufferSize;
  *BufferSize = Info.size();
  if (Available < Info.size()) return EFI_BUFFER_TOO_SMALL;
  if (Buffer == nullptr) return EFI_INVALID_PARAMETER;
  std::memcpy(Buffer, Info.data(), Info.size());
  ++Directory.NextEntry;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Read(EFI_FILE_PROTOCOL *This, UINTN *BufferSize, VOID *Buffer) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileRead, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (File->Directory) return ReadDirectory(*File, BufferSize, Buffer);
  const std::optional<uint64_t> Size = FileSize(*File);
  if (!Size || File->Position > *Size) return EFI_DEVICE_ERROR;
  const uint64_t Wanted = std::min<uint64_t>(*BufferSize, *Size - File->Position);
  if (Wanted != 0 && Buffer == nullptr) return EFI_INVALID_PARAMETER;
  uint64_t Done = 0;
  while (Done < Wanted) {
    const ssize_t Got = pread(File->Descriptor, static_cast<uint8_t *>(Buffer) + Done, Wanted - Done,
                              static_cast<off_t>(File->Position + Done));
    if (Got < 0) return EFI_DEVICE_ERROR;
    if (Got == 0) break;
    Done += static_cast<uint64_t>(Got);
  }
  File->Position += Done;
  *BufferSize = Done;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Write(EFI_FILE_PROTOCOL *This, UINTN *BufferSize, VOID *Buffer) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileWrite, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (BufferSize == nullptr) return EFI_INVALID_PARAMETER;
  if (File->Directory) return EFI_UNSUPPORTED;
  if (!File->Writable) return EFI_ACCESS_DENIED;
  if (*BufferSize != 0 && Buffer == nullptr) return EFI_INVALID_PARAMETER;
  uint64_t Done = 0;
  while (Done < *BufferSize) {
    const ssize_t Put = pwrite(File->Descriptor, static_cast<const uint8_t *>(Buffer) + Done, *BufferSize - Done,
                               static_cast<off_t>(File->Position + Done));
    if (Put <= 0) {
      *BufferSize = Done;
      File->Position += Done;
      return errno == ENOSPC ? EFI_VOLUME_FULL : EFI_DEVICE_ERROR;
    }
    Done += static_cast<uint64_t>(Put);
  }
  File->Position += Done;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetPosition(EFI_FILE_PROTOCOL *This, UINT64 *Position) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileGetPosition, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (Position == nullptr) return EFI_INVALID_PARAMETER;
  if (File->Directory) return EFI_UNSUPPORTED;
  *Position = File->Position;
  return EFI_SUCCESS;
}

// Files: any position, beyond the end included; END_OF_FILE moves to the end.
// Directories: only 0, which restarts the listing.
EFI_STATUS EFIAPI SetPosition(EFI_FILE_PROTOCOL *This, UINT64 Position) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileSetPosition, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (File->Directory) {
    if (Position != 0) return EFI_UNSUPPORTED;
    File->NextEntry = 0;
    return EFI_SUCCESS;
  }
  if (Position != END_OF_FILE) {
    File->Position = Position;
    return EFI_SUCCESS;
  }
  const std::optional<uint64_t> Size = FileSize(*File);
  if (!Size) return EFI_DEVICE_ERROR;
  File->Position = *Size;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI Flush(EFI_FILE_PROTOCOL *This) {
  State &S = ActiveState();
  OpenFile *File = nullptr;
  const EFI_STATUS Entered = EnterFileCall(S, Service::FileFlush, This, File);
  if (Entered != EFI_SUCCESS) return Entered;
  if (File->Directory) return EFI_SUCCESS;
  return File->Writable ? EFI_SUCCESS : EFI_ACCESS_DENIED;
}

EFI_STATUS EFIAPI OpenEx(EFI_FILE_PROTOCOL *, EFI_FILE_PROTOCOL **, CHAR16 *, UINT64, UINT64, EFI_FILE_IO_TOKEN *) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI TokenUnsupported(EFI_FILE_PROTOCOL *, EFI_FILE_IO_TOKEN *) { return EFI_UNSUPPORTED; }

}  // namespace

void FillFileProtocol(EFI_FILE_PROTOCOL &Protocol) {
  Protocol.Revision = EFI_FILE_PROTOCOL_REVISION;
  Protocol.Open = Open;
  Protocol.Close = Close;
  Protocol.Delete = Delete;
  Protocol.Read = Read;
  Protocol.Write = Write;
  Protocol.GetPosition = GetPosition;
  Protocol.SetPosition = SetPosition;
  Protocol.GetInfo = FileGetInfo;
  Protocol.SetInfo = FileSetInfo;
  Protocol.Flush = Flush;
  // Revision 1 handles: the revision-2 entries exist but are not served.
  Protocol.OpenEx = OpenEx;
  Protocol.ReadEx = TokenUnsupported;
  Protocol.WriteEx = TokenUnsupported;
  Protocol.FlushEx = TokenUnsupported;
}

}  // namespace sim
