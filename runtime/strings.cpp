// 8-bit string functions with C library semantics. Comparisons are by
// unsigned byte value, as C requires.
#include "runtime/no_libcalls.h"

#include "runtime/crt.h"

namespace crt {

namespace {
int CompareBytes(char A, char B) {
  auto L = static_cast<unsigned char>(A);
  auto R = static_cast<unsigned char>(B);
  return L == R ? 0 : (L < R ? -1 : 1);
}
}  // namespace

size_t strlen(const char *S) {
  size_t Length = 0;
  while (S[Length] != '\0') ++Length;
  return Length;
}

size_t strnlen(const char *S, size_t Max) {
  size_t Length = 0;
  while (Length < Max && S[Length] != '\0') ++Length;
  return Length;
}

int strcmp(const char *A, const char *B) {
  size_t I = 0;
  while (A[I] != '\0' && A[I] == B[I]) ++I;
  return CompareBytes(A[I], B[I]);
}

int strncmp(const char *A, const char *B, size_t Max) {
  for (size_t I = 0; I < Max; ++I) {
    if (A[I] != B[I] || A[I] == '\0') return CompareBytes(A[I], B[I]);
  }
  return 0;
}

char *strcpy(char *Dest, const char *Src) {
  size_t I = 0;
  for (; Src[I] != '\0'; ++I) Dest[I] = Src[I];
  Dest[I] = '\0';
  return Dest;
}

// As in C: pads with NULs up to Max and leaves Dest unterminated when Src has
// Max characters or more.
char *strncpy(char *Dest, const char *Src, size_t Max) {
  size_t I = 0;
  for (; I < Max && Src[I] != '\0'; ++I) Dest[I] = Src[I];
  for (; I < Max; ++I) Dest[I] = '\0';
  return Dest;
}

char *strcat(char *Dest, const char *Src) {
  strcpy(Dest + strlen(Dest), Src);
  return Dest;
}

char *strchr(const char *S, int C) {
  const char Wanted = static_cast<char>(C);
  for (;; ++S) {
    if (*S == Wanted) return const_cast<char *>(S);
    if (*S == '\0') return nullptr;
  }
}

char *strrchr(const char *S, int C) {
  const char Wanted = static_cast<char>(C);
  const char *Found = nullptr;
  for (;; ++S) {
    if (*S == Wanted) Found = S;
    if (*S == '\0') return const_cast<char *>(Found);
  }
}

char *strstr(const char *Haystack, const char *Needle) {
  size_t NeedleLength = strlen(Needle);
  for (const char *At = Haystack;; ++At) {
    if (strncmp(At, Needle, NeedleLength) == 0) return const_cast<char *>(At);
    if (*At == '\0') return nullptr;
  }
}

char *strdup(const char *S) {
  size_t Size = strlen(S) + 1;
  auto *Copy = static_cast<char *>(malloc(Size));
  if (Copy != nullptr) memcpy(Copy, S, Size);
  return Copy;
}

}  // namespace crt
