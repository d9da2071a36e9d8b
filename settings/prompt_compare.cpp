#include "settings/prompt_compare.h"

#include "forms/export_bytes.h"

namespace {

// The unit at Index of a text that may sit at an odd address.
CHAR16 UnitAt(const CHAR16 *Text, UINT32 Index) {
  return Le16(reinterpret_cast<const UINT8 *>(Text) + 2 * static_cast<UINTN>(Index));
}

// Low 8 bits, then A-Z to a-z: the C locale's narrowing and tolower.
UINT8 Folded(CHAR16 Unit) {
  const UINT8 Byte = static_cast<UINT8>(Unit & 0xFF);
  return Byte >= 'A' && Byte <= 'Z' ? static_cast<UINT8>(Byte + ('a' - 'A')) : Byte;
}

// Folded bytes of a NUL-terminated name, then zeros.
class NameBytes {
 public:
  explicit NameBytes(const CHAR16 *Name) : Name(Name) {}
  UINT8 Next() {
    if (Ended) return 0;
    const UINT8 Byte = Folded(UnitAt(Name, Index++));
    Ended = Byte == 0;
    return Byte;
  }

 private:
  const CHAR16 *Name;
  UINT32 Index = 0;
  bool Ended = false;
};

// Folded bytes of a prompt's first Length characters, then zeros.
class PromptBytes {
 public:
  explicit PromptBytes(const PromptText &Prompt) : Prompt(Prompt) {}
  UINT8 Next() {
    if (Ended || Index >= Prompt.Length) return 0;
    const UINT8 Byte = Folded(UnitAt(Prompt.Text, Index++));
    Ended = Byte == 0;
    return Byte;
  }

 private:
  PromptText Prompt;
  UINT32 Index = 0;
  bool Ended = false;
};

template <class Left, class Right> int CompareFolded(Left A, Right B) {
  for (;;) {
    const UINT8 ByteA = A.Next();
    const UINT8 ByteB = B.Next();
    if (ByteA != ByteB) return static_cast<int>(ByteA) - static_cast<int>(ByteB);
    if (ByteA == 0) return 0;
  }
}

// FNV-1a over the folded bytes up to the first 0.
template <class Source> UINT32 HashFolded(Source Bytes) {
  UINT32 Hash = 2166136261u;
  for (UINT8 Byte = Bytes.Next(); Byte != 0; Byte = Bytes.Next()) {
    Hash ^= Byte;
    Hash *= 16777619u;
  }
  return Hash;
}

}  // namespace

int PromptsEqual(const CHAR16 *A, const CHAR16 *B) { return CompareFolded(NameBytes(A), NameBytes(B)); }

bool NameMatchesPrompt(const CHAR16 *Name, const PromptText &Prompt) {
  return CompareFolded(NameBytes(Name), PromptBytes(Prompt)) == 0;
}

UINT32 FoldedNameHash(const CHAR16 *Name) { return HashFolded(NameBytes(Name)); }
UINT32 FoldedPromptHash(const PromptText &Prompt) { return HashFolded(PromptBytes(Prompt)); }

bool PromptStartsWith(const PromptText &Prompt, const char16_t *Start, UINT32 StartLength) {
  if (Prompt.Length < StartLength) return false;
  for (UINT32 Index = 0; Index < StartLength; ++Index) {
    if (UnitAt(Prompt.Text, Index) != static_cast<CHAR16>(Start[Index])) return false;
  }
  return true;
}
