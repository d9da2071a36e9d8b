// The stream record behind crt::FILE.
//
// One buffer serves both directions. Reading: Buffer[0..Length) is the file
// from BufferStart on, Index is the cursor, and the firmware's position is
// BufferStart + Length. Writing: Buffer[0..Length) waits to be written at
// BufferStart, where the firmware's position stands. Switching direction
// first settles the buffer, so a 2-byte read costs a firmware call only once
// per buffer and a seek inside the buffered bytes costs none.
#pragma once

#include "runtime/uefi.h"

namespace crt {

constexpr size_t STREAM_BUFFER_SIZE = 4096;

struct FILE {
  FILE *Prev;
  FILE *Next;
  EFI_FILE_PROTOCOL *File;
  bool CanRead;
  bool CanWrite;
  bool Append;  // every write goes to the end of the file
  bool AtEnd;
  bool Failed;
  bool Writing;
  UINT64 BufferStart;
  size_t Length;
  size_t Index;
  UINT8 Buffer[STREAM_BUFFER_SIZE];
};

namespace detail {
// Writes pending data (setting the position to the end first in append
// mode). False, with the stream's error flag set, when the firmware fails;
// the pending data is dropped then.
[[nodiscard]] bool FlushPending(FILE *Stream);
}  // namespace detail

}  // namespace crt
