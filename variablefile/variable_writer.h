// Writes the variable store text (see variable_file.h): lines the reader
// reads back as the same variables.
//
// Freestanding and allocation-free: a line is formatted in pieces on the
// stack and handed to the caller's sink (a file, a console, a buffer), or
// appended whole to a caller's buffer. A variable the text cannot hold is
// refused before anything is written.
#pragma once

#include "runtime/uefi.h"
#include "variablefile/variable_file.h"

namespace variablefile {

enum class VariableWriteError : UINT8 {
  None,
  BadName,         // empty, or a character outside printable ASCII (blank included)
  NameTooLong,     // over VARIABLE_STORE_MAX_NAME
  DataTooLong,     // over VARIABLE_STORE_MAX_DATA
  MissingData,     // Data nullptr with a size
  BufferTooSmall,  // AppendVariableLine: the line does not fit
  SinkFailed,      // the sink refused a piece
};

// The comment line that heads a file the host tool writes.
inline constexpr char VARIABLE_STORE_HEADER[] = "# NAME GUID ATTRIBUTES DATA\n";

// Takes the next Length characters of the text; false stops the writing.
using TextSink = bool (*)(void *Context, const char *Text, size_t Length);

// What the line of Variable would hold: None, or why it cannot be written.
[[nodiscard]] VariableWriteError CheckStoreVariable(const StoreVariable &Variable);

// Characters in the line of Variable, its newline included ("NAME {GUID}
// 0xATTRIBUTES DATA\n", attributes in hex without leading zeros, data as
// upper-case byte pairs or "-"); 0 for a variable that cannot be written.
size_t VariableLineLength(const StoreVariable &Variable);

// Hands the line of Variable to Sink in pieces. SinkFailed leaves the line
// cut short where the sink refused.
[[nodiscard]] VariableWriteError WriteVariableLine(const StoreVariable &Variable, TextSink Sink, void *Context);

// A caller's block of Size characters, Used of them filled (no NUL kept).
struct TextBuffer {
  char *Text;
  size_t Size;
  size_t Used;
};

// Appends the line of Variable to Buffer whole, or nothing (BufferTooSmall,
// or the reason it cannot be written).
[[nodiscard]] VariableWriteError AppendVariableLine(const StoreVariable &Variable, TextBuffer &Buffer);

}  // namespace variablefile
