// Building and searching the index of one INI file (see ini_index.h).
//
// Two passes over the text: the first counts headings and keys, so that the
// tables are allocated once and the limits are checked before any memory is
// taken; the second fills them. Names are not copied: entries hold offsets
// into the file's text, which the index keeps.
#include "iniparse/ini_index.h"

#include "inicontract/ini_parser_protocol.h"
#include "runtime/crt.h"
#include "runtime/owned.h"

namespace iniparse {

struct IniIndex::Section {
  TextSpan Name;
  UINT32 Hash;
};

struct IniIndex::Key {
  TextSpan Name;
  TextSpan Value;
  UINT32 Section;  // index of the heading it is under
  UINT32 Hash;     // of the folded name and the heading
};

namespace {

UINT8 Fold(char C) {
  const auto Byte = static_cast<UINT8>(C);
  return Byte >= 'A' && Byte <= 'Z' ? static_cast<UINT8>(Byte + ('a' - 'A')) : Byte;
}

// FNV-1a over the folded bytes.
UINT32 HashName(const char *Name, UINT32 Length) {
  UINT32 Hash = 2166136261u;
  for (UINT32 I = 0; I < Length; ++I) {
    Hash ^= Fold(Name[I]);
    Hash *= 16777619u;
  }
  return Hash;
}

// A key's slot depends on its heading too, so that one table serves every
// section; the final mix spreads the combination over all bits.
UINT32 KeyHash(UINT32 NameHash, UINT32 Section) {
  UINT32 Hash = NameHash ^ ((Section + 1) * 0x9E3779B1u);
  Hash ^= Hash >> 16;
  Hash *= 0x85EBCA6Bu;
  Hash ^= Hash >> 13;
  Hash *= 0xC2B2AE35u;
  Hash ^= Hash >> 16;
  return Hash;
}

// A power of two at least twice Count: at least half the slots stay empty,
// so every probe sequence ends.
UINT32 SlotCount(UINT32 Count) {
  UINT32 Slots = 16;
  while (Slots < 2 * Count) Slots <<= 1;
  return Slots;
}

struct LineCounts {
  UINT32 Sections = 0;
  UINT32 Keys = 0;
};

// False when the file holds more headings or keys than the limits allow.
bool CountLines(const char *Text, UINT32 Length, LineCounts &Counts) {
  for (UINT32 Offset = FirstLineOffset(Text, Length); Offset < Length;) {
    const IniLine Line = ReadIniLine(Text, Length, Offset);
    if (Line.Kind == IniLineKind::Section && ++Counts.Sections > MAX_INI_SECTIONS) return false;
    if (Line.Kind == IniLineKind::Key && Counts.Sections > 0 && ++Counts.Keys > MAX_INI_KEYS) return false;
  }
  return true;
}

// The slot of the entry that IsMatch accepts, or else the empty slot that
// ends the probe, where such an entry would go. Slots hold entry index + 1.
template <class Matches> UINT32 ProbeSlot(const UINT32 *Slots, UINT32 Mask, UINT32 Hash, Matches IsMatch) {
  UINT32 Slot = Hash & Mask;
  while (Slots[Slot] != 0 && !IsMatch(Slots[Slot] - 1)) Slot = (Slot + 1) & Mask;
  return Slot;
}

template <class T> T *AllocateArray(UINT32 Count) {
  // At least one element: the heap may answer a request for nothing with nullptr.
  return static_cast<T *>(crt::calloc(Count > 0 ? Count : 1, sizeof(T)));
}

}  // namespace

IndexBuild IniIndex::Build(char *Text, UINT32 Length, IniIndex *&Out) {
  Out = nullptr;
  crt::HeapPtr<char> OwnedText(Text);
  LineCounts Counts;
  if (Length > MAX_INI_FILE_BYTES || !CountLines(Text, Length, Counts)) return IndexBuild::TooLarge;

  void *Memory = crt::malloc(sizeof(IniIndex));
  if (Memory == nullptr) return IndexBuild::OutOfMemory;
  crt::HeapObject<IniIndex> Index(::new (Memory) IniIndex());
  Index.Get()->Text_ = OwnedText.Release();
  Index.Get()->Length_ = Length;
  if (!Index.Get()->Allocate(Counts.Sections, Counts.Keys)) return IndexBuild::OutOfMemory;
  Index.Get()->Fill();
  Index.Get()->HashSections();
  Index.Get()->HashKeys();
  Out = Index.Release();
  return IndexBuild::Built;
}

IniIndex::~IniIndex() {
  crt::free(KeySlots_);
  crt::free(SectionSlots_);
  crt::free(Keys_);
  crt::free(Sections_);
  crt::free(Text_);
}

bool IniIndex::Allocate(UINT32 SectionCount, UINT32 KeyCount) {
  Sections_ = AllocateArray<Section>(SectionCount);
  Keys_ = AllocateArray<Key>(KeyCount);
  const UINT32 SectionSlots = SlotCount(SectionCount);
  const UINT32 KeySlots = SlotCount(KeyCount);
  SectionSlots_ = AllocateArray<UINT32>(SectionSlots);
  KeySlots_ = AllocateArray<UINT32>(KeySlots);
  SectionMask_ = SectionSlots - 1;
  KeyMask_ = KeySlots - 1;
  // The counts of the first pass are the capacities the second pass fills.
  SectionCount_ = SectionCount;
  KeyCount_ = KeyCount;
  return Sections_ != nullptr && Keys_ != nullptr && SectionSlots_ != nullptr && KeySlots_ != nullptr;
}

void IniIndex::Fill() {
  UINT32 Sections = 0;
  UINT32 Keys = 0;
  for (UINT32 Offset = FirstLineOffset(Text_, Length_); Offset < Length_;) {
    const IniLine Line = ReadIniLine(Text_, Length_, Offset);
    if (Line.Kind == IniLineKind::Section && Sections < SectionCount_) {
      Sections_[Sections++] = Section{Line.Name, HashName(Text_ + Line.Name.Offset, Line.Name.Length)};
    } else if (Line.Kind == IniLineKind::Key && Sections > 0 && Keys < KeyCount_) {
      const UINT32 NameHash = HashName(Text_ + Line.Name.Offset, Line.Name.Length);
      Keys_[Keys++] = Key{Line.Name, Line.Value, Sections - 1, KeyHash(NameHash, Sections - 1)};
    }
  }
  SectionCount_ = Sections;
  KeyCount_ = Keys;
}

// A later heading replaces an earlier one of the same name in the table;
// the keys under the earlier one stay in the key table but are never found,
// since a key matches only under the heading the section table names.
void IniIndex::HashSections() {
  for (UINT32 Index = 0; Index < SectionCount_; ++Index) {
    const Section &New = Sections_[Index];
    SectionSlots_[SectionSlot(Text_ + New.Name.Offset, New.Name.Length, New.Hash)] = Index + 1;
  }
}

// A later key replaces an earlier one of the same name under the same
// heading.
void IniIndex::HashKeys() {
  for (UINT32 Index = 0; Index < KeyCount_; ++Index) {
    const Key &New = Keys_[Index];
    KeySlots_[KeySlot(New.Section, Text_ + New.Name.Offset, New.Name.Length, New.Hash)] = Index + 1;
  }
}

bool IniIndex::SameName(TextSpan Stored, const char *Name, UINT32 Length) const {
  if (Stored.Length != Length) return false;
  const char *Text = Text_ + Stored.Offset;
  for (UINT32 I = 0; I < Length; ++I) {
    if (Fold(Text[I]) != Fold(Name[I])) return false;
  }
  return true;
}

UINT32 IniIndex::SectionSlot(const char *Name, UINT32 Length, UINT32 Hash) const {
  return ProbeSlot(SectionSlots_, SectionMask_, Hash, [&](UINT32 Entry) {
    return Sections_[Entry].Hash == Hash && SameName(Sections_[Entry].Name, Name, Length);
  });
}

UINT32 IniIndex::KeySlot(UINT32 Heading, const char *Name, UINT32 Length, UINT32 Hash) const {
  return ProbeSlot(KeySlots_, KeyMask_, Hash, [&](UINT32 Entry) {
    const Key &Candidate = Keys_[Entry];
    return Candidate.Section == Heading && Candidate.Hash == Hash && SameName(Candidate.Name, Name, Length);
  });
}

INT32 IniIndex::Find(NameText SectionName, NameText KeyName, TextSpan &Value) const {
  const UINT32 HeadingEntry = SectionSlots_[SectionSlot(SectionName.Bytes, SectionName.Length,
                                                        HashName(SectionName.Bytes, SectionName.Length))];
  if (HeadingEntry == 0) return INI_LOOKUP_SECTION_NOT_FOUND;
  const UINT32 Heading = HeadingEntry - 1;
  if (KeyName.Length == 0) {
    Value = TextSpan{0, 0};
    return INI_LOOKUP_FOUND;
  }
  const UINT32 Hash = KeyHash(HashName(KeyName.Bytes, KeyName.Length), Heading);
  const UINT32 KeyEntry = KeySlots_[KeySlot(Heading, KeyName.Bytes, KeyName.Length, Hash)];
  if (KeyEntry == 0) return INI_LOOKUP_KEY_NOT_FOUND;
  Value = Keys_[KeyEntry - 1].Value;
  return INI_LOOKUP_FOUND;
}

}  // namespace iniparse
