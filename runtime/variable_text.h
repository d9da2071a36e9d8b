// Which firmware variables count as text for the environment, and their
// 8-bit form.
//
// The UEFI Shell's `set` stores UCS-2 without a terminating NUL; other tools
// store 8-bit text with or without one. Both count when every character is
// printable ASCII and there is at least one: OVMF's SecureBoot and
// CustomMode are a single 0x00 byte and must not become "" variables.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

// Decodes Data as UCS-2 text (even size, optionally one trailing 0x0000
// unit) or else as 8-bit text (optionally one trailing NUL). Out needs room
// for Size + 1 bytes; it receives the NUL-terminated 8-bit text. Returns the
// text's length, 0 when Data is not text.
size_t DecodeVariableText(const UINT8 *Data, size_t Size, char *Out);

// Copies a variable name into 8-bit form (Out holds MaxUnits + 1 bytes).
// False when a unit is above 0xFF, the name is empty or not terminated
// within MaxUnits.
bool NarrowVariableName(const CHAR16 *Name, size_t MaxUnits, char *Out);

}  // namespace crt::detail
