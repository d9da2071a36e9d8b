// The firmware's size and time stamp of an open stream's file, and folders made.
//
// A caller that keeps a file open can ask, cheaply and as often as it
// likes, whether the file changed since it read it: one GetInfo call, into
// a buffer on the stack.
#include "runtime/crt.h"
#include "runtime/file_open.h"
#include "runtime/stream.h"

#include <stddef.h>

namespace crt {

namespace {

// EFI_FILE_INFO ends in the file's name; FAT names hold at most 255
// characters, so twice that is room for any name a volume gives us.
constexpr size_t INFO_NAME_UNITS = 512;

}  // namespace

EFI_STATUS FileSizeAndTime(FILE *Stream, UINT64 *Size, EFI_TIME *Modified) {
  if (Stream == nullptr || Size == nullptr || Modified == nullptr) return EFI_INVALID_PARAMETER;
  if (!detail::FlushPending(Stream)) return EFI_DEVICE_ERROR;
  union {
    EFI_FILE_INFO Info;
    UINT8 Bytes[offsetof(EFI_FILE_INFO, FileName) + INFO_NAME_UNITS * sizeof(CHAR16)];
  } Buffer;
  UINTN BufferSize = sizeof Buffer;
  EFI_STATUS Status = Stream->File->GetInfo(Stream->File, &gEfiFileInfoGuid, &BufferSize, &Buffer);
  if (EFI_ERROR(Status)) return Status;
  if (BufferSize < offsetof(EFI_FILE_INFO, FileName)) return EFI_DEVICE_ERROR;
  *Size = Buffer.Info.FileSize;
  *Modified = Buffer.Info.ModificationTime;
  return EFI_SUCCESS;
}

}  // namespace crt

namespace crt {

EFI_STATUS MakeFolder(const char *Name) {
  if (Name == nullptr) return EFI_INVALID_PARAMETER;
  return detail::MakeFolder(Name);
}

}  // namespace crt
