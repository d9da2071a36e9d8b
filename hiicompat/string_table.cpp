#include "hiicompat/string_table.h"

#include "hiicompat/package_lists.h"
#include "runtime/crt.h"
#include "uefi/hii_packages.h"

namespace hiicompat {

namespace {

constexpr UINT64 LANGUAGE_AT = offsetof(EFI_HII_STRING_PACKAGE_HDR, Language);
constexpr UINT32 MAX_STRING_ID = 0xFFFF;

// The package's language tag: bytes from LANGUAGE_AT to their NUL, inside
// the header. Length 0 when none.
UINT64 TagLength(ByteView Package) {
  const UINT32 HeaderSize = Package.Holds(4, 4) ? Package.U32(4) : 0;
  for (UINT64 At = LANGUAGE_AT; At < HeaderSize && Package.Holds(At, 1); ++At)
    if (Package.U8(At) == 0) return At - LANGUAGE_AT;
  return 0;
}

char Lower(char C) { return C >= 'A' && C <= 'Z' ? static_cast<char>(C - 'A' + 'a') : C; }

bool TagIsEnglish(ByteView Package, UINT64 Length) {
  if (Length < 2) return false;
  if (Lower(static_cast<char>(Package.U8(LANGUAGE_AT))) != 'e' ||
      Lower(static_cast<char>(Package.U8(LANGUAGE_AT + 1))) != 'n')
    return false;
  return Length == 2 || Package.U8(LANGUAGE_AT + 2) == '-';
}

bool TagEquals(ByteView Package, UINT64 Length, const char *Tag) {
  if (Tag == nullptr) return false;
  UINT64 Index = 0;
  for (; Index < Length; ++Index) {
    if (Tag[Index] == 0 || Lower(Tag[Index]) != Lower(static_cast<char>(Package.U8(LANGUAGE_AT + Index)))) return false;
  }
  return Tag[Index] == 0;
}

// The length in units of the text at Offset: UCS-2 (Wide) or 8-bit, up to
// its NUL, which must lie inside the package. False when it does not.
bool TextUnits(ByteView Package, UINT64 Offset, bool Wide, UINT32 &Units, UINT64 &Bytes) {
  const UINT64 Step = Wide ? 2 : 1;
  for (UINT64 Count = 0;; ++Count) {
    const UINT64 At = Offset + Count * Step;
    if (!Package.Holds(At, Step)) return false;
    if ((Wide ? Package.U16(At) : Package.U8(At)) == 0) {
      if (Count > 0xFFFF) return false;
      Units = static_cast<UINT32>(Count);
      Bytes = (Count + 1) * Step;
      return true;
    }
  }
}

}  // namespace

ByteView ChooseStringPackage(ByteView List, const char *PlatformLang) {
  ByteView Platform, English, Display, First;
  PackageWalk Packages(List);
  ByteView Package;
  UINT8 Type = 0;
  while (Packages.Next(Package, Type)) {
    if (Type != EFI_HII_PACKAGE_STRINGS || !Package.Holds(0, LANGUAGE_AT)) continue;
    const UINT64 Length = TagLength(Package);
    if (First.Data == nullptr) First = Package;
    if (Length == 0) continue;
    const bool IsEnglish = TagIsEnglish(Package, Length);
    if (IsEnglish && Platform.Data == nullptr && TagEquals(Package, Length, PlatformLang)) Platform = Package;
    if (IsEnglish && English.Data == nullptr) English = Package;
    const bool Config = Length >= 2 && Lower(static_cast<char>(Package.U8(LANGUAGE_AT))) == 'x' &&
                        Package.U8(LANGUAGE_AT + 1) == '-';
    if (!Config && Display.Data == nullptr) Display = Package;
  }
  if (Platform.Data != nullptr) return Platform;
  if (English.Data != nullptr) return English;
  if (Display.Data != nullptr) return Display;
  return First;
}

StringTable::~StringTable() { crt::free(Entries); }

bool StringTable::Add(const Entry &E) {
  if (Count == Capacity) {
    const UINT32 Grown = Capacity == 0 ? 64 : Capacity * 2;
    auto *More = static_cast<Entry *>(crt::realloc(Entries, Grown * sizeof(Entry)));
    if (More == nullptr) return false;
    Entries = More;
    Capacity = Grown;
  }
  Entries[Count++] = E;
  return true;
}

bool StringTable::Load(ByteView Source) {
  Package = Source;
  Count = 0;
  if (!Package.Holds(8, 4)) return true;
  UINT64 At = Package.U32(8);  // StringInfoOffset
  UINT32 Id = 1;
  while (Package.Holds(At, 1) && Id <= MAX_STRING_ID) {
    const UINT8 Block = Package.U8(At);
    UINT64 Text = At + 1;
    UINT32 Strings = 1;
    bool Wide = false;
    switch (Block) {
      case EFI_HII_SIBT_END: return true;
      case EFI_HII_SIBT_STRING_SCSU_FONT:
      case EFI_HII_SIBT_STRING_UCS2_FONT: Text += 1; break;  // the font id
      case EFI_HII_SIBT_STRINGS_SCSU:
      case EFI_HII_SIBT_STRINGS_UCS2:
        if (!Package.Holds(Text, 2)) return true;
        Strings = Package.U16(Text);
        Text += 2;
        break;
      case EFI_HII_SIBT_STRINGS_SCSU_FONT:
      case EFI_HII_SIBT_STRINGS_UCS2_FONT:
        if (!Package.Holds(Text + 1, 2)) return true;
        Strings = Package.U16(Text + 1);
        Text += 3;
        break;
      case EFI_HII_SIBT_STRING_SCSU:
      case EFI_HII_SIBT_STRING_UCS2: break;
      case EFI_HII_SIBT_DUPLICATE: {
        if (!Package.Holds(Text, 2)) return true;
        const Entry *Original = Find(Package.U16(Text));
        if (Original != nullptr && !Add(Entry{static_cast<UINT16>(Id), Original->Wide, Original->Units, Original->Offset}))
          return false;
        ++Id;
        At = Text + 2;
        continue;
      }
      case EFI_HII_SIBT_SKIP1:
        if (!Package.Holds(Text, 1)) return true;
        Id += Package.U8(Text);
        At = Text + 1;
        continue;
      case EFI_HII_SIBT_SKIP2:
        if (!Package.Holds(Text, 2)) return true;
        Id += Package.U16(Text);
        At = Text + 2;
        continue;
      case EFI_HII_SIBT_EXT1:
      case EFI_HII_SIBT_EXT2:
      case EFI_HII_SIBT_EXT4: {
        const UINT64 Field = Block == EFI_HII_SIBT_EXT1 ? 1 : Block == EFI_HII_SIBT_EXT2 ? 2 : 4;
        if (!Package.Holds(At + 2, Field)) return true;
        const UINT64 Length = Package.Sized(At + 2, static_cast<UINT32>(Field));
        if (Length < 2 + Field) return true;
        At += Length;
        continue;
      }
      default: return true;  // a block type this reader does not know: its length is unknown
    }
    Wide = Block >= EFI_HII_SIBT_STRING_UCS2;
    for (UINT32 Index = 0; Index < Strings; ++Index, ++Id) {
      UINT32 Units = 0;
      UINT64 Bytes = 0;
      if (Id > MAX_STRING_ID || !TextUnits(Package, Text, Wide, Units, Bytes)) return true;
      if (!Add(Entry{static_cast<UINT16>(Id), static_cast<UINT8>(Wide ? 1 : 0), Units, Text})) return false;
      Text += Bytes;
    }
    At = Text;
  }
  return true;
}

const StringTable::Entry *StringTable::Find(UINT16 Id) const {
  // Ids rise in block order, duplicates included.
  UINT32 Low = 0;
  UINT32 High = Count;
  while (Low < High) {
    const UINT32 Middle = Low + (High - Low) / 2;
    if (Entries[Middle].Id < Id) {
      Low = Middle + 1;
    } else {
      High = Middle;
    }
  }
  return Low < Count && Entries[Low].Id == Id ? &Entries[Low] : nullptr;
}

CHAR16 *StringTable::Copy(UINT16 Id, UINT32 &Units) const {
  Units = 0;
  const Entry *E = Find(Id);
  if (E == nullptr) return nullptr;
  auto *Text = static_cast<CHAR16 *>(crt::malloc((static_cast<UINTN>(E->Units) + 1) * sizeof(CHAR16)));
  if (Text == nullptr) return nullptr;
  for (UINT32 Index = 0; Index < E->Units; ++Index) {
    if (E->Wide != 0) {
      Text[Index] = Package.U16(E->Offset + 2 * Index);
    } else {
      const UINT8 Byte = Package.U8(E->Offset + Index);
      Text[Index] = Byte < 0x80 ? Byte : '?';
    }
  }
  Text[E->Units] = 0;
  Units = E->Units;
  return Text;
}

}  // namespace hiicompat
