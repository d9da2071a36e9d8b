// Word-wise block functions (see word_memory.h).
//
// A word is copied only where both addresses share their offset within a
// word: after a byte-wise head the rest is aligned on both sides, so no
// access is misaligned (firmware may run with alignment checks on). Blocks
// whose offsets differ go byte by byte. Words are read and written through
// a may_alias type, so the compiler makes no assumption about what they hold.
#include "runtime/no_libcalls.h"

#include "runtime/word_memory.h"

namespace crt::detail {

namespace {

using Word = uintptr_t;
typedef Word __attribute__((may_alias)) AliasWord;
constexpr size_t WORD_BYTES = sizeof(Word);

size_t Misalignment(const void *At) { return reinterpret_cast<uintptr_t>(At) % WORD_BYTES; }

bool SameMisalignment(const void *A, const void *B) { return Misalignment(A) == Misalignment(B); }

// Bytes before A reaches a word boundary, at most Size.
size_t HeadBytes(const void *A, size_t Size) {
  size_t Head = (WORD_BYTES - Misalignment(A)) % WORD_BYTES;
  return Head < Size ? Head : Size;
}

}  // namespace

void *CopyWords(void *Dest, const void *Src, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  const auto *S = static_cast<const UINT8 *>(Src);
  size_t Done = 0;
  if (SameMisalignment(D, S)) {
    for (size_t Head = HeadBytes(D, Size); Done < Head; ++Done) D[Done] = S[Done];
    for (; Size - Done >= WORD_BYTES; Done += WORD_BYTES) {
      *reinterpret_cast<AliasWord *>(D + Done) = *reinterpret_cast<const AliasWord *>(S + Done);
    }
  }
  for (; Done < Size; ++Done) D[Done] = S[Done];
  return Dest;
}

void *FillWords(void *Dest, int Byte, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  const auto Value = static_cast<UINT8>(Byte);
  Word Pattern = 0;
  for (size_t I = 0; I < WORD_BYTES; ++I) Pattern = (Pattern << 8) | Value;
  size_t Done = 0;
  for (size_t Head = HeadBytes(D, Size); Done < Head; ++Done) D[Done] = Value;
  for (; Size - Done >= WORD_BYTES; Done += WORD_BYTES) *reinterpret_cast<AliasWord *>(D + Done) = Pattern;
  for (; Done < Size; ++Done) D[Done] = Value;
  return Dest;
}

void *MoveWords(void *Dest, const void *Src, size_t Size) {
  auto *D = static_cast<UINT8 *>(Dest);
  const auto *S = static_cast<const UINT8 *>(Src);
  // Compared as integers: the two blocks may belong to different objects.
  const auto DestAddress = reinterpret_cast<uintptr_t>(D);
  const auto SrcAddress = reinterpret_cast<uintptr_t>(S);
  if (DestAddress == SrcAddress || Size == 0) return Dest;
  // Forwards is safe when the destination starts before the source or the
  // blocks are apart.
  if (DestAddress < SrcAddress || DestAddress - SrcAddress >= Size) return CopyWords(Dest, Src, Size);

  // Backwards, from the end: the tail first, then words, then the head.
  size_t Left = Size;
  if (SameMisalignment(D, S)) {
    for (size_t Tail = Misalignment(D + Size); Tail > 0 && Left > 0; --Tail) {
      --Left;
      D[Left] = S[Left];
    }
    for (; Left >= WORD_BYTES; Left -= WORD_BYTES) {
      *reinterpret_cast<AliasWord *>(D + Left - WORD_BYTES) = *reinterpret_cast<const AliasWord *>(S + Left - WORD_BYTES);
    }
  }
  for (; Left > 0; --Left) D[Left - 1] = S[Left - 1];
  return Dest;
}

int CompareWords(const void *A, const void *B, size_t Size) {
  const auto *L = static_cast<const UINT8 *>(A);
  const auto *R = static_cast<const UINT8 *>(B);
  size_t Done = 0;
  if (SameMisalignment(L, R)) {
    const size_t Head = HeadBytes(L, Size);
    while (Done < Head && L[Done] == R[Done]) ++Done;
    // Equal words are skipped; an unequal one is settled byte-wise below.
    if (Done == Head) {
      while (Size - Done >= WORD_BYTES &&
             *reinterpret_cast<const AliasWord *>(L + Done) == *reinterpret_cast<const AliasWord *>(R + Done)) {
        Done += WORD_BYTES;
      }
    }
  }
  for (; Done < Size; ++Done) {
    if (L[Done] != R[Done]) return L[Done] < R[Done] ? -1 : 1;
  }
  return 0;
}

}  // namespace crt::detail
