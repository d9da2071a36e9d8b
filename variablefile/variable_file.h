// The variable store as text: one variable a line,
//
//   NAME GUID ATTRIBUTES DATA
//
// (a printable-ASCII name without blanks; the vendor GUID with or without
// braces; hexadecimal attributes with or without 0x; the contents as
// hexadecimal byte pairs, "-" for none). Blank lines and lines whose first
// field starts with '#' are skipped.
//
// Programs on both sides of the firmware use it: the host tool
// (bioscfg-sim --variables) reads and writes it, the HII provider image
// seeds a firmware's variables from it at boot time, and a configuration
// tool on firmware can keep snapshots of variables in it. So the reader
// (variable_reader.h) and the writer (variable_writer.h) are freestanding:
// they call no library, allocate nothing and keep no state.
#pragma once

#include "runtime/uefi.h"

namespace variablefile {

// Longest variable name, in characters (the terminating NUL not counted).
constexpr size_t VARIABLE_STORE_MAX_NAME = 2047;
// Most contents a variable may have, in bytes.
constexpr size_t VARIABLE_STORE_MAX_DATA = 0x10000;
// Longest line, in characters: the longest data as hex, with room for the
// other three fields and the blanks between them.
constexpr size_t VARIABLE_STORE_MAX_LINE = 2 * VARIABLE_STORE_MAX_DATA + 4096;

// One variable of the text. The reader hands these over (Name and Data then
// lie in the caller's buffers, valid during the callback only; Line is the
// 1-based line); the writer takes them (Line unused).
struct StoreVariable {
  const CHAR16 *Name;  // NUL-terminated when the reader hands it over
  size_t NameLength;   // in characters, without the NUL
  EFI_GUID Guid;
  UINT32 Attributes;
  const UINT8 *Data;
  size_t DataSize;
  size_t Line;
};

}  // namespace variablefile
