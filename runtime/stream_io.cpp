// Reading, writing, seeking and formatted output on streams (the buffer
// discipline is described in stream.h). Only EFI_SUCCESS from a file
// service counts: a warning may come back with nothing read, written or
// moved, and its outputs unset.
#include "runtime/crt.h"
#include "runtime/owners.h"
#include "runtime/stream.h"

namespace crt::detail {

namespace {

constexpr UINT64 END_OF_FILE_POSITION = 0xFFFFFFFFFFFFFFFFULL;
constexpr UINT64 LONG_MAX_VALUE = ~0UL >> 1;

bool Fail(FILE *Stream) {
  Stream->Failed = true;
  return false;
}

// Moves from reading to writing: the firmware's position goes back to the
// caller's logical position (or to the end in append mode).
[[nodiscard]] bool StartWriting(FILE *Stream) {
  if (Stream->Writing) return true;
  EFI_FILE_PROTOCOL *File = Stream->File;
  UINT64 Position = Stream->BufferStart + Stream->Index;
  if (Stream->Append) {
    if (File->SetPosition(File, END_OF_FILE_POSITION) != EFI_SUCCESS) return Fail(Stream);
    if (File->GetPosition(File, &Position) != EFI_SUCCESS) return Fail(Stream);
  } else if (Stream->Index != Stream->Length) {
    if (File->SetPosition(File, Position) != EFI_SUCCESS) return Fail(Stream);
  }
  Stream->BufferStart = Position;
  Stream->Length = 0;
  Stream->Index = 0;
  Stream->Writing = true;
  return true;
}

// Reads the next buffer's worth; false at the end of the file or on error.
[[nodiscard]] bool Refill(FILE *Stream) {
  Stream->BufferStart += Stream->Length;
  Stream->Length = 0;
  Stream->Index = 0;
  UINTN Size = STREAM_BUFFER_SIZE;
  if (Stream->File->Read(Stream->File, &Size, Stream->Buffer) != EFI_SUCCESS) return Fail(Stream);
  if (Size == 0 || Size > STREAM_BUFFER_SIZE) {
    Stream->AtEnd = true;
    return false;
  }
  Stream->Length = Size;
  return true;
}

UINT64 LogicalPosition(const FILE *Stream) {
  return Stream->BufferStart + (Stream->Writing ? Stream->Length : Stream->Index);
}

}  // namespace

bool FlushPending(FILE *Stream) {
  if (!Stream->Writing) return true;
  EFI_FILE_PROTOCOL *File = Stream->File;
  size_t Pending = Stream->Length;
  Stream->Length = 0;
  Stream->Writing = false;
  if (Pending == 0) return true;
  if (Stream->Append && File->SetPosition(File, END_OF_FILE_POSITION) != EFI_SUCCESS) return Fail(Stream);
  for (size_t Done = 0; Done < Pending;) {
    UINTN Size = Pending - Done;
    if (File->Write(File, &Size, Stream->Buffer + Done) != EFI_SUCCESS || Size == 0) return Fail(Stream);
    Done += Size < Pending - Done ? Size : Pending - Done;
  }
  if (Stream->Append) return File->GetPosition(File, &Stream->BufferStart) == EFI_SUCCESS || Fail(Stream);
  Stream->BufferStart += Pending;
  return true;
}

}  // namespace crt::detail

namespace crt {

size_t fread(void *Dest, size_t Size, size_t Count, FILE *Stream) {
  if (Stream == nullptr || Size == 0 || Count == 0) return 0;
  if (Count > ~static_cast<size_t>(0) / Size) return 0;
  if (!Stream->CanRead) {
    Stream->Failed = true;
    return 0;
  }
  auto *Out = static_cast<UINT8 *>(Dest);
  size_t Wanted = Size * Count;
  size_t Done = 0;
  while (Done < Wanted) {
    if (Stream->Index == Stream->Length && !detail::Refill(Stream)) break;
    size_t Available = Stream->Length - Stream->Index;
    size_t Chunk = Available < Wanted - Done ? Available : Wanted - Done;
    memcpy(Out + Done, Stream->Buffer + Stream->Index, Chunk);
    Stream->Index += Chunk;
    Done += Chunk;
  }
  return Done / Size;
}

size_t fwrite(const void *Src, size_t Size, size_t Count, FILE *Stream) {
  if (Stream == nullptr || Size == 0 || Count == 0) return 0;
  if (Count > ~static_cast<size_t>(0) / Size) return 0;
  if (!Stream->CanWrite) {
    Stream->Failed = true;
    return 0;
  }
  if (!detail::StartWriting(Stream)) return 0;
  const auto *In = static_cast<const UINT8 *>(Src);
  size_t Wanted = Size * Count;
  size_t Done = 0;
  while (Done < Wanted) {
    if (Stream->Length == STREAM_BUFFER_SIZE) {
      if (!detail::FlushPending(Stream)) break;
      Stream->Writing = true;
    }
    size_t Room = STREAM_BUFFER_SIZE - Stream->Length;
    size_t Chunk = Room < Wanted - Done ? Room : Wanted - Done;
    memcpy(Stream->Buffer + Stream->Length, In + Done, Chunk);
    Stream->Length += Chunk;
    Done += Chunk;
  }
  return Done / Size;
}

int fseek(FILE *Stream, long Offset, int Origin) {
  if (Stream == nullptr) return -1;
  if (!detail::FlushPending(Stream)) return -1;
  EFI_FILE_PROTOCOL *File = Stream->File;
  UINT64 Base = 0;
  if (Origin == CRT_SEEK_CUR) {
    Base = detail::LogicalPosition(Stream);
  } else if (Origin == CRT_SEEK_END) {
    if (File->SetPosition(File, detail::END_OF_FILE_POSITION) != EFI_SUCCESS ||
        File->GetPosition(File, &Base) != EFI_SUCCESS) {
      Stream->Failed = true;
      return -1;
    }
    // The firmware's position moved: nothing buffered is valid any more.
    Stream->BufferStart = Base;
    Stream->Length = 0;
    Stream->Index = 0;
  } else if (Origin != CRT_SEEK_SET) {
    return -1;
  }
  if (Offset < 0 && Base < static_cast<UINT64>(-(Offset + 1)) + 1) return -1;
  UINT64 Target = Base + static_cast<UINT64>(Offset);
  if (Target > detail::LONG_MAX_VALUE) return -1;

  Stream->AtEnd = false;
  if (Target >= Stream->BufferStart && Target <= Stream->BufferStart + Stream->Length) {
    Stream->Index = static_cast<size_t>(Target - Stream->BufferStart);
    return 0;
  }
  if (File->SetPosition(File, Target) != EFI_SUCCESS) {
    Stream->Failed = true;
    return -1;
  }
  Stream->BufferStart = Target;
  Stream->Length = 0;
  Stream->Index = 0;
  return 0;
}

long ftell(FILE *Stream) {
  if (Stream == nullptr) return -1;
  UINT64 Position = detail::LogicalPosition(Stream);
  return Position > detail::LONG_MAX_VALUE ? -1 : static_cast<long>(Position);
}

int feof(FILE *Stream) { return Stream != nullptr && Stream->AtEnd ? 1 : 0; }

int ferror(FILE *Stream) { return Stream != nullptr && Stream->Failed ? 1 : 0; }

int vfprintf(FILE *Stream, const char *Format, va_list Args) {
  if (Stream == nullptr) return -1;
  char Small[256];
  va_list Measure;
  va_copy(Measure, Args);
  int Length = vsnprintf(Small, sizeof(Small), Format, Measure);
  va_end(Measure);
  if (Length < 0) return -1;
  const char *Text = Small;
  detail::HeapPtr<char> Large;
  if (static_cast<size_t>(Length) >= sizeof(Small)) {
    Large.Reset(static_cast<char *>(malloc(static_cast<size_t>(Length) + 1)));
    if (!Large) {
      Stream->Failed = true;
      return -1;
    }
    vsnprintf(Large.Get(), static_cast<size_t>(Length) + 1, Format, Args);
    Text = Large.Get();
  }
  size_t Written = fwrite(Text, 1, static_cast<size_t>(Length), Stream);
  return Written == static_cast<size_t>(Length) ? Length : -1;
}

int fprintf(FILE *Stream, const char *Format, ...) {
  va_list Args;
  va_start(Args, Format);
  int Length = vfprintf(Stream, Format, Args);
  va_end(Args);
  return Length;
}

}  // namespace crt
