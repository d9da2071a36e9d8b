// The C symbols the compiler may emit calls to in the UEFI image: block
// copies and fills for structure assignments and initialisers, and the
// runtime's own builtins (memory.cpp). gnu-efi's libefi also defines memset
// and memcpy, as byte loops; the build links a copy of libefi with those
// two made local, so these word-wise versions serve the whole image.
#include "runtime/crt.h"
#include "runtime/word_memory.h"

extern "C" {

void *memset(void *Dest, int Byte, size_t Size) { return crt::detail::FillWords(Dest, Byte, Size); }

void *memcpy(void *Dest, const void *Src, size_t Size) { return crt::detail::CopyWords(Dest, Src, Size); }

void *memmove(void *Dest, const void *Src, size_t Size) { return crt::detail::MoveWords(Dest, Src, Size); }

int memcmp(const void *A, const void *B, size_t Size) { return crt::detail::CompareWords(A, B, Size); }

size_t strlen(const char *S) { return crt::strlen(S); }

}  // extern "C"
