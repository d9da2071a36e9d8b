// The one formatting engine behind both printf families.
//
// The engine is a template on the output character type: char for
// snprintf/fprintf, CHAR16 for swprintf. Conversions: d i u o x X c s p %,
// flags - 0 + space #, width and precision (digits or '*'), length
// modifiers hh h l ll z. String arguments, as in C's printf and wprintf:
// %ls is a CHAR16 string, %s (and %hs) an 8-bit one, in both families. A
// CHAR16 string printed into 8-bit output keeps each unit's low 8 bits; an
// 8-bit string printed into CHAR16 output widens each byte.
#pragma once

#include "runtime/uefi.h"
#include <stdarg.h>

namespace crt::detail {

// Writes the result into Dest (Size units including the terminating NUL;
// Dest may be nullptr when Size is 0) and always terminates it when Size > 0.
// Returns the length of the complete result, which exceeds Size - 1 when the
// output was cut short.
template <class CharT> size_t FormatText(CharT *Dest, size_t Size, const CharT *Format, va_list Args);

extern template size_t FormatText<char>(char *, size_t, const char *, va_list);
extern template size_t FormatText<CHAR16>(CHAR16 *, size_t, const CHAR16 *, va_list);

}  // namespace crt::detail
