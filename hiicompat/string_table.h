// The strings of one UEFI string package, by string id: the package's
// blocks decoded once (UCS-2 and 8-bit texts, runs of them, duplicates and
// skips; font and extension blocks hold no string), so that prompts and
// option texts can be looked up by id. Decoding stops at the end block, at
// an unknown block type or at a block that runs past the package: what was
// read before stays usable.
#pragma once

#include "hiicompat/byte_span.h"

namespace hiicompat {

// Picks a list's string package: the platform's language when it is
// English, else the first English one ("en", "en-US", ...), else the first
// that is not a configuration language ("x-..."), else the first. Empty
// when the list has none. PlatformLang is the ASCII tag (may be nullptr).
ByteView ChooseStringPackage(ByteView List, const char *PlatformLang);

class StringTable {
 public:
  StringTable() = default;
  ~StringTable();
  StringTable(const StringTable &) = delete;
  StringTable &operator=(const StringTable &) = delete;

  // Decodes Package (header included). False only when memory runs out.
  [[nodiscard]] bool Load(ByteView Package);
  // A heap copy (crt::free) of the text of Id with its NUL, its length in
  // Units; nullptr when the package has no such string or memory runs out.
  // 8-bit texts become one unit per byte (bytes above 0x7F, SCSU tags,
  // become '?').
  CHAR16 *Copy(UINT16 Id, UINT32 &Units) const;

 private:
  struct Entry {
    UINT16 Id;
    UINT8 Wide;  // 1: UCS-2, 0: 8-bit
    UINT32 Units;
    UINT64 Offset;  // of the text in the package
  };
  [[nodiscard]] bool Add(const Entry &E);
  const Entry *Find(UINT16 Id) const;

  ByteView Package;
  Entry *Entries = nullptr;
  UINT32 Count = 0;
  UINT32 Capacity = 0;
};

}  // namespace hiicompat
