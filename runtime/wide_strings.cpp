// 16-bit (CHAR16) string functions, compared by unit value.
#include "runtime/no_libcalls.h"

#include "runtime/crt.h"

namespace crt {

size_t wcslen(const CHAR16 *S) {
  size_t Length = 0;
  while (S[Length] != 0) ++Length;
  return Length;
}

int wcscmp(const CHAR16 *A, const CHAR16 *B) {
  size_t I = 0;
  while (A[I] != 0 && A[I] == B[I]) ++I;
  return A[I] == B[I] ? 0 : (A[I] < B[I] ? -1 : 1);
}

int wcsncmp(const CHAR16 *A, const CHAR16 *B, size_t Max) {
  for (size_t I = 0; I < Max; ++I) {
    if (A[I] != B[I]) return A[I] < B[I] ? -1 : 1;
    if (A[I] == 0) return 0;
  }
  return 0;
}

CHAR16 *wcscpy(CHAR16 *Dest, const CHAR16 *Src) {
  size_t I = 0;
  for (; Src[I] != 0; ++I) Dest[I] = Src[I];
  Dest[I] = 0;
  return Dest;
}

CHAR16 *wcsdup(const CHAR16 *S) {
  size_t Units = wcslen(S) + 1;
  auto *Copy = static_cast<CHAR16 *>(malloc(Units * sizeof(CHAR16)));
  if (Copy != nullptr) memcpy(Copy, S, Units * sizeof(CHAR16));
  return Copy;
}

}  // namespace crt
