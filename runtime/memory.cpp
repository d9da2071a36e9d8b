// The runtime's memory block functions.
//
// Each is the compiler's builtin, which becomes a call to the C symbol of the
// same name. Host builds get the C library's (libefi's byte loops are kept
// out of the host link); the UEFI image gets the word-wise versions of
// word_memory.cpp through libc_symbols.cpp.
#include "runtime/crt.h"

namespace crt {

void *memset(void *Dest, int Byte, size_t Size) { return __builtin_memset(Dest, Byte, Size); }

void *memcpy(void *Dest, const void *Src, size_t Size) { return __builtin_memcpy(Dest, Src, Size); }

void *memmove(void *Dest, const void *Src, size_t Size) { return __builtin_memmove(Dest, Src, Size); }

int memcmp(const void *A, const void *B, size_t Size) { return __builtin_memcmp(A, B, Size); }

}  // namespace crt
