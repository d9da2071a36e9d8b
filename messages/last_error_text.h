// The driver's last-error text: two 512-character buffers in gMessages, one of
// them current. SetLastErrorText fills the current one; the client's
// GetLastErrorText hands it out and makes the other one current, so the text
// it holds stays untouched until the client's next fetch.
#pragma once

#include "runtime/uefi.h"

// Formats Format into the current buffer and returns that buffer; at most 511
// characters are kept. A NULL Format (a catalog message that could not be
// looked up) leaves the previous text in place and returns NULL.
//
// A format holding an 8-bit string conversion (%h followed by any character,
// as in %hs) is expanded by a scan of its own that knows only %hs, "%d"
// (signed 32-bit) and %u (unsigned 32-bit); in such a format "%%" gives one
// '%', any other conversion is copied as it stands without taking an
// argument, and a trailing "%h" is copied literally. Every other format goes
// to the runtime's wide formatter, which follows C's vswprintf: %ls a wide
// string, %s an 8-bit one, %d, %u, %x ...
CHAR16 *SetLastErrorText(const CHAR16 *Format, ...);

// Whether Format, expanded as SetLastErrorText expands it, takes exactly the
// arguments Arguments lists, in order: 'W' a wide string, 'N' an 8-bit
// string, 'U' a 32-bit number ("" for none). A format from the message
// catalog (a file anyone can replace) is used only when it does: one that
// took a string where the driver passes nothing would read an address off
// the stack. Conversions with '*', a length modifier other than the string
// ones, %p, or more arguments than listed do not pass.
[[nodiscard]] bool FormatTakes(const CHAR16 *Format, const char *Arguments);

// Hands out the current text (the client's GetLastErrorText after its
// session check): stores the buffer through ErrorText, makes the other
// buffer current and empties it. An empty text gives NULL and
// BCFG_E_INVALID_PARAMETER; otherwise EFI_SUCCESS.
[[nodiscard]] EFI_STATUS TakeLastErrorText(CHAR16 **ErrorText);
