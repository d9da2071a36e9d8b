// String lookup in the Framework string packs.
//
// A data table holds one string pack per language, one after another; the
// driver reads only the "eng" one. Which pack that is does not change while
// a table is parsed, so it is found once per table and remembered.
#include "forms/string_lookup.h"

#include "hiibuild/framework_hii.h"

namespace {

constexpr UINT64 NO_PACK = 0;
constexpr UINT16 ENGLISH[] = {'e', 'n', 'g', 0};

// The table's fixed header, if it lies inside the export.
[[nodiscard]] bool TableHeaderFits(const SetupFormDatabase &Db, UINT64 *Table) {
  if (Db.CurrentDataTable == nullptr || Db.ExportBuffer == nullptr) return false;
  if (Db.CurrentDataTable < Db.ExportBuffer) return false;
  *Table = static_cast<UINT64>(Db.CurrentDataTable - Db.ExportBuffer);
  return Db.Export().Holds(*Table, sizeof(HII_DATA_TABLE));
}

// Whether the pack's language name is "eng". The name may lie anywhere in
// the export; a name at the pack's first byte is no name.
[[nodiscard]] bool IsEnglish(const ExportSpan &Export, UINT64 Pack) {
  const UINT64 Field = Pack + offsetof(HII_STRING_PACK_HEADER, LanguageNameString);
  if (!Export.Holds(Field, 4)) return false;
  UINT32 NameOffset = Le32(Export.At(Field));
  if (NameOffset == 0) return false;
  UINT64 Name = Pack + NameOffset;
  for (UINT64 Index = 0; Index < sizeof(ENGLISH) / sizeof(ENGLISH[0]); ++Index) {
    if (!Export.Holds(Name + 2 * Index, 2)) return false;
    if (Le16(Export.At(Name + 2 * Index)) != ENGLISH[Index]) return false;
  }
  return true;
}

// Walks the table's string packs, each from the previous one's start plus
// its length, whatever that length says, as long as the pack header lies
// inside the export.
[[nodiscard]] UINT64 FindEnglishPack(const SetupFormDatabase &Db, UINT64 Table) {
  const ExportSpan Export = Db.Export();
  const UINT8 *Header = Export.At(Table);
  UINT32 FirstPack = Le32(Header + offsetof(HII_DATA_TABLE, StringDataOffset));
  UINT32 PackCount = Le32(Header + offsetof(HII_DATA_TABLE, NumberOfLanguages));
  if (FirstPack == 0) return NO_PACK;
  UINT64 Pack = Table + FirstPack;
  for (UINT32 Visited = 0; Visited < PackCount; ++Visited) {
    if (!Export.Holds(Pack, sizeof(HII_PACK_HEADER))) return NO_PACK;
    if (Le16(Export.At(Pack + offsetof(HII_PACK_HEADER, Type))) == HII_STRING_PACK && IsEnglish(Export, Pack)) {
      return Pack;
    }
    // A length of 0 would visit this same pack again and again. Any other
    // length moves on, so the walk leaves the export within its size.
    UINT32 Length = Le32(Export.At(Pack));
    if (Length == 0) return NO_PACK;
    Pack += Length;
  }
  return NO_PACK;
}

}  // namespace

LookedUpString LookupString(SetupFormDatabase &Db, UINT16 Token) {
  LookedUpString None{nullptr, 0};
  UINT64 Table = 0;
  if (!TableHeaderFits(Db, &Table)) return None;
  if (Db.StringCacheTable != Db.CurrentDataTable) {
    Db.StringCachePack = FindEnglishPack(Db, Table);
    Db.StringCacheTable = Db.CurrentDataTable;
  }
  if (Db.StringCachePack == NO_PACK) return None;

  // The string pointer and the start of the text lie inside the pack, as
  // far as the pack lies inside the export; the text runs to its NUL, which
  // must lie inside the export.
  const ExportSpan Export = Db.Export();
  const UINT64 Pack = Db.StringCachePack;
  const UINT64 PackEnd = Pack + Le32(Export.At(Pack));
  const ExportSpan PackSpan{Export.Base, Pack, PackEnd < Export.End ? PackEnd : Export.End};
  UINT64 Pointer = Pack + sizeof(HII_STRING_PACK_HEADER) + 4 * static_cast<UINT64>(Token);
  if (!PackSpan.Holds(Pointer, 4)) return None;
  UINT64 Text = Pack + Le32(Export.At(Pointer));
  if (!PackSpan.Holds(Text, 1)) return None;
  UINT64 Units = 0;
  if (!WideTextLength(Export, Text, 0xFFFF, &Units)) return None;
  return LookedUpString{reinterpret_cast<CHAR16 *>(Db.ExportBuffer + Text), static_cast<UINT16>(Units)};
}
