// What the export builder's core reports, and the memory it is given.
//
// The core runs inside UEFI images as well as on the host, so it calls no
// library: every block it needs comes from an allocator the caller injects
// (the host passes malloc, an image its runtime heap), and every failure,
// running out of memory included, comes back as a status.
#pragma once

#include "runtime/uefi.h"

namespace hiibuild {

enum class BuildStatus : UINT8 {
  Success,
  OutOfMemory,      // the allocator had no block of the size asked for
  TooLong,          // a length or count does not fit its field: an opcode over
                    // 255 bytes, over 65535 tables under the classic header,
                    // a pack or table over 4 GiB
  InvalidArgument,  // nullptr for bytes that were said to be there
};

// Allocate returns nullptr when it has no block of Bytes bytes; Free takes
// a block Allocate returned. Context is passed back to both.
struct Allocator {
  void *(*Allocate)(void *Context, size_t Bytes);
  void (*Free)(void *Context, void *Block);
  void *Context;
};

// Bytes somewhere else, read only.
struct ByteSpan {
  const UINT8 *Data;
  size_t Size;
};

// UCS-2 text of Length units, without a NUL.
struct WideText {
  const CHAR16 *Units;
  size_t Length;
};

}  // namespace hiibuild
