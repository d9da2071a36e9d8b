// Memory block functions. Plain byte loops: the runtime also backs the C
// symbols the compiler emits in the UEFI image (see libc_symbols.cpp).
#include "runtime/no_libcalls.h"

#include "runtime/crt.h"

namespace crt {

void *memset(void *Dest, int Byte, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  for (size_t I = 0; I < Size; ++I) D[I] = static_cast<UINT8>(Byte);
  return Dest;
}

void *memcpy(void *Dest, const void *Src, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  const auto *S = static_cast<const UINT8 *>(Src);
  for (size_t I = 0; I < Size; ++I) D[I] = S[I];
  return Dest;
}

void *memmove(void *Dest, const void *Src, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  const auto *S = static_cast<const UINT8 *>(Src);
  if (D == S || Size == 0) return Dest;
  // Compare as integers: the two blocks may belong to different objects.
  if (reinterpret_cast<uintptr_t>(D) < reinterpret_cast<uintptr_t>(S)) {
    for (size_t I = 0; I < Size; ++I) D[I] = S[I];
  } else {
    for (size_t I = Size; I > 0; --I) D[I - 1] = S[I - 1];
  }
  return Dest;
}

int memcmp(const void *A, const void *B, size_t Size) {
  const auto *L = static_cast<const UINT8 *>(A);
  const auto *R = static_cast<const UINT8 *>(B);
  for (size_t I = 0; I < Size; ++I) {
    if (L[I] != R[I]) return L[I] < R[I] ? -1 : 1;
  }
  return 0;
}

}  // namespace crt
