// Opening and closing streams, and the list of open streams that Shutdown
// closes.
#include "runtime/crt.h"
#include "runtime/file_open.h"
#include "runtime/runtime_internal.h"
#include "runtime/runtime_state.h"
#include "runtime/stream.h"

namespace crt {

using detail::gRuntime;

FILE *fopen(const char *Name, const char *Mode) {
  detail::OpenMode OpenMode;
  if (!detail::ParseOpenMode(Mode, OpenMode)) return nullptr;
  // The record comes first so that running out of memory leaves no file
  // created or truncated behind.
  auto *Stream = static_cast<FILE *>(malloc(sizeof(FILE)));
  if (Stream == nullptr) return nullptr;
  memset(Stream, 0, offsetof(FILE, Buffer));
  if (EFI_ERROR(detail::OpenFile(Name, OpenMode, &Stream->File))) {
    free(Stream);
    return nullptr;
  }
  Stream->CanRead = OpenMode == detail::OpenMode::Read;
  Stream->CanWrite = !Stream->CanRead;
  Stream->Append = OpenMode == detail::OpenMode::Append;

  Stream->Next = gRuntime.Streams;
  if (gRuntime.Streams != nullptr) gRuntime.Streams->Prev = Stream;
  gRuntime.Streams = Stream;
  return Stream;
}

int fclose(FILE *Stream) {
  if (Stream == nullptr) return CRT_EOF;
  bool Flushed = detail::FlushPending(Stream);
  Stream->File->Close(Stream->File);
  if (Stream->Prev != nullptr) {
    Stream->Prev->Next = Stream->Next;
  } else {
    gRuntime.Streams = Stream->Next;
  }
  if (Stream->Next != nullptr) Stream->Next->Prev = Stream->Prev;
  free(Stream);
  return Flushed ? 0 : CRT_EOF;
}

int fflush(FILE *Stream) {
  if (Stream != nullptr) return detail::FlushPending(Stream) ? 0 : CRT_EOF;
  // As in C, no stream means every open stream.
  int Result = 0;
  for (FILE *Open = gRuntime.Streams; Open != nullptr; Open = Open->Next) {
    if (!detail::FlushPending(Open)) Result = CRT_EOF;
  }
  return Result;
}

}  // namespace crt

namespace crt::detail {

void CloseAllStreams() {
  while (gRuntime.Streams != nullptr) {
    // The result only matters to a caller, and Shutdown has none.
    static_cast<void>(fclose(gRuntime.Streams));
  }
}

}  // namespace crt::detail
