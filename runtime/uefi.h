// gnu-efi's UEFI and Framework type definitions, for C++ driver code.
//
// CHAR16 is gnu-efi's 16-bit integer, not char16_t and not wchar_t (the host
// build keeps the C library's 4-byte wchar_t), so wide literals are written as
// u"..." and passed through W().
#pragma once

extern "C" {
#include <efi.h>
#include <efilib.h>
}

#include <stddef.h>
#include <stdint.h>

inline const CHAR16 *W(const char16_t *Text) { return reinterpret_cast<const CHAR16 *>(Text); }
inline CHAR16 *WMutable(char16_t *Text) { return reinterpret_cast<CHAR16 *>(Text); }
