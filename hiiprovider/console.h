// The provider's lines on the firmware console ("hiiprovider: ..."): what it
// serves, what it created, and what it refused. In a Shell transcript they
// stand just above the Shell's own "Image ... loaded" line.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

// Longest line, in characters; a longer one is cut.
constexpr size_t CONSOLE_LINE_CHARS = 256;

// Formats with crt::vswprintf (%s is a CHAR16 string, %hs an 8-bit one) and
// writes the line with the prefix and a CR LF.
void Say(const CHAR16 *Format, ...);

// The GUID as {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX} in Out (39 units).
constexpr size_t GUID_TEXT_UNITS = 39;
void FormatGuid(const EFI_GUID &Guid, CHAR16 (&Out)[GUID_TEXT_UNITS]);

}  // namespace hiiprovider
