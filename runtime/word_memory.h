// Block copies, fills and comparisons that move a machine word at a time
// where both sides allow it: what the UEFI image uses for the C symbols
// memcpy, memset, memmove and memcmp (libc_symbols.cpp). Built in both
// homes so the host tests can hold them against the C library.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

void *CopyWords(void *Dest, const void *Src, size_t Size);
void *FillWords(void *Dest, int Byte, size_t Size);
// Copies correctly when the blocks overlap, in either direction.
void *MoveWords(void *Dest, const void *Src, size_t Size);
// As memcmp: the sign of the first differing byte, compared unsigned.
int CompareWords(const void *A, const void *B, size_t Size);

}  // namespace crt::detail
