// C symbols the compiler may emit calls to in the UEFI image, beyond the
// memset and memcpy that libefi already defines. Each forwards to the
// runtime; the runtime's loops are kept from turning back into these calls
// (see no_libcalls.h).
#include "runtime/crt.h"

extern "C" {

void *memmove(void *Dest, const void *Src, size_t Size) { return crt::memmove(Dest, Src, Size); }

int memcmp(const void *A, const void *B, size_t Size) { return crt::memcmp(A, B, Size); }

size_t strlen(const char *S) { return crt::strlen(S); }

}  // extern "C"
