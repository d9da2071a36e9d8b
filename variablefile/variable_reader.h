// Reads the variable store text (see variable_file.h).
//
// The caller lends the buffers a line is decoded into and takes each
// variable through a callback. The text is untrusted: every field has a
// bound, nothing is read outside [Text, Text + Length), and a bad line stops
// the walk with its number and the reason.
#pragma once

#include "runtime/uefi.h"
#include "variablefile/variable_file.h"

namespace variablefile {

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

}  // namespace variablefile
