// An INI file parsed once into hash tables of its sections and keys, so
// that each of the thousands of lookups of an import costs a couple of
// hash probes instead of a scan of the file.
//
// Names compare ignoring ASCII case. A section that occurs more than once
// (saving twice into one file appends a second block) counts in its last
// occurrence only, whole: keys of the earlier occurrences are not found.
// Within a section a later key replaces an earlier one of the same name.
// Keys before the first heading belong to no section and are not found.
#pragma once

#include "iniparse/ini_lines.h"

namespace iniparse {

// Bounds on what one file may hold; a larger file is not indexed.
constexpr UINT32 MAX_INI_FILE_BYTES = 16u << 20;
constexpr UINT32 MAX_INI_SECTIONS = 1u << 16;  // headings, repeats included
constexpr UINT32 MAX_INI_KEYS = 1u << 18;      // key lines under a heading

enum class IndexBuild { Built, TooLarge, OutOfMemory };

// A name asked for: bytes and length, not NUL-terminated.
struct NameText {
  const char *Bytes;
  UINT32 Length;
};

class IniIndex {
 public:
  // Indexes Text[0, Length), a heap block that the index owns from now on
  // (it is freed here unless the result is Built). Length must not exceed
  // MAX_INI_FILE_BYTES.
  [[nodiscard]] static IndexBuild Build(char *Text, UINT32 Length, IniIndex *&Out);
  ~IniIndex();
  IniIndex(const IniIndex &) = delete;
  IniIndex &operator=(const IniIndex &) = delete;

  // INI_LOOKUP_FOUND with Value set (an empty key asks only whether the
  // section exists, and finds an empty value), INI_LOOKUP_KEY_NOT_FOUND or
  // INI_LOOKUP_SECTION_NOT_FOUND.
  [[nodiscard]] INT32 Find(NameText Section, NameText Key, TextSpan &Value) const;
  const char *Text() const { return Text_; }

 private:
  struct Section;
  struct Key;
  IniIndex() = default;
  [[nodiscard]] bool Allocate(UINT32 SectionCount, UINT32 KeyCount);
  void Fill();
  void HashSections();
  void HashKeys();
  // The table slot of the heading or key of that name (folded, and for a
  // key under heading Heading), or the empty slot where it would go.
  UINT32 SectionSlot(const char *Name, UINT32 Length, UINT32 Hash) const;
  UINT32 KeySlot(UINT32 Heading, const char *Name, UINT32 Length, UINT32 Hash) const;
  bool SameName(TextSpan Stored, const char *Name, UINT32 Length) const;

  char *Text_ = nullptr;
  UINT32 Length_ = 0;
  Section *Sections_ = nullptr;  // every heading, in file order
  UINT32 SectionCount_ = 0;
  Key *Keys_ = nullptr;  // every key line under a heading, in file order
  UINT32 KeyCount_ = 0;
  // Open addressing, a power of two long; 0 is empty, else entry index + 1.
  UINT32 *SectionSlots_ = nullptr;  // folded name -> last heading of that name
  UINT32 SectionMask_ = 0;
  UINT32 *KeySlots_ = nullptr;  // (last heading, folded name) -> last key
  UINT32 KeyMask_ = 0;
};

}  // namespace iniparse
