// The variable store as text: one variable a line,
//
//   NAME GUID ATTRIBUTES DATA
//
// (a printable-ASCII name without blanks; the vendor GUID with or without
// braces; hexadecimal attributes with or without 0x; the contents as
// hexadecimal byte pairs, "-" for none). Blank lines and lines whose first
// field starts with '#' are skipped.
//
// Two programs read it: the host tool (bioscfg-sim --variables) and the HII
// provider driver, which seeds a firmware's variables from it at boot time.
// So the reader is freestanding: it calls no library, allocates nothing and
// keeps no state. The caller lends the buffers a line is decoded into and
// takes each variable through a callback. The text is untrusted: every
// field has a bound, nothing is read outside [Text, Text + Length), and a
// bad line stops the walk with its number and the reason.
#pragma once

#include "runtime/uefi.h"

namespace platform {

// Longest variable name, in characters (the terminating NUL not counted).
constexpr size_t VARIABLE_STORE_MAX_NAME = 2047;
// Most contents a variable may have, in bytes.
constexpr size_t VARIABLE_STORE_MAX_DATA = 0x10000;
// Longest line, in characters: the longest data as hex, with room for the
// other three fields and the blanks between them.
constexpr size_t VARIABLE_STORE_MAX_LINE = 2 * VARIABLE_STORE_MAX_DATA + 4096;

enum class VariableStoreError : UINT8 {
  None,
  LineTooLong,
  MissingFields,  // fewer than four fields
  ExtraText,      // more than four
  BadName,        // a character outside printable ASCII
  NameTooLong,    // over VARIABLE_STORE_MAX_NAME, or over the caller's name buffer
  BadGuid,
  BadAttributes,  // not 1 to 8 hex digits
  BadData,        // an odd number of hex digits, or a character that is not one
  DataTooLong,    // over VARIABLE_STORE_MAX_DATA, or over the caller's data buffer
};

// One line's variable, valid during the callback only: Name and Data lie in
// the caller's buffers and are overwritten by the next line.
struct StoreVariable {
  const CHAR16 *Name;  // NUL-terminated
  size_t NameLength;   // in characters, without the NUL
  EFI_GUID Guid;
  UINT32 Attributes;
  const UINT8 *Data;
  size_t DataSize;
  size_t Line;  // 1-based
};

// Where a line's variable is decoded. NameUnits must leave room for the
// NUL; VARIABLE_STORE_MAX_NAME + 1 units and VARIABLE_STORE_MAX_DATA bytes
// take any valid line.
struct VariableStoreBuffers {
  CHAR16 *Name;
  size_t NameUnits;
  UINT8 *Data;
  size_t DataBytes;
};

struct VariableStoreResult {
  VariableStoreError Error;  // None when the whole text was read
  size_t Line;               // the bad line, 1-based
  // The offending field inside the text (so valid while the text is), for
  // BadGuid and BadAttributes.
  const char *Field;
  size_t FieldLength;
};

using StoreVariableVisitor = void (*)(void *Context, const StoreVariable &Variable);

// Reads Text line by line and hands every variable to Visit (which may be
// nullptr: the text is then only checked). Stops at the first bad line;
// the lines before it have been visited by then.
[[nodiscard]] VariableStoreResult ReadVariableStore(const char *Text, size_t Length,
                                                    const VariableStoreBuffers &Buffers,
                                                    StoreVariableVisitor Visit, void *Context);

// Writes "line N: REASON" for a failed read into Out, cut to fit and always
// NUL-terminated when Size > 0. Returns the number of characters written.
size_t DescribeVariableStoreError(const VariableStoreResult &Result, char *Out, size_t Size);

}  // namespace platform
