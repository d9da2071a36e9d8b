// String lookup in the Framework string packs.
//
// A data table holds one string pack per language, one after another; the
// driver reads only the "eng" one. Which pack that is does not change while
// a table is parsed, so it is found once per table and remembered.
#include "forms/string_lookup.h"

#include "forms/framework_hii.h"

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

// A pack whose header and whole length lie inside the export.
[[nodiscard]] bool PackFits(const ExportSpan &Export, UINT64 Pack, UINT32 *Length) {
  if (!Export.Holds(Pack, sizeof(HII_PACK_HEADER))) return false;
  *Length = Le32(Export.At(Pack));
  return *Length >= sizeof(HII_PACK_HEADER) && Export.Holds(Pack, *Length);
}

// Whether the pack's language name is "eng", reading only inside the pack.
[[nodiscard]] bool IsEnglish(const ExportSpan &Pack) {
  if (!Pack.Holds(Pack.Start + offsetof(HII_STRING_PACK_HEADER, LanguageNameString), 4)) return false;
  UINT32 NameOffset = Le32(Pack.At(Pack.Start + offsetof(HII_STRING_PACK_HEADER, LanguageNameString)));
  if (NameOffset == 0) return false;  // a name at the pack header is no name
  UINT64 Name = Pack.Start + NameOffset;
  for (UINT64 Index = 0; Index < sizeof(ENGLISH) / sizeof(ENGLISH[0]); ++Index) {
    if (!Pack.Holds(Name + 2 * Index, 2)) return false;
    if (Le16(Pack.At(Name + 2 * Index)) != ENGLISH[Index]) return false;
  }
  return true;
}

[[nodiscard]] UINT64 FindEnglishPack(const SetupFormDatabase &Db, UINT64 Table) {
  const ExportSpan Export = Db.Export();
  const UINT8 *Header = Export.At(Table);
  UINT32 FirstPack = Le32(Header + offsetof(HII_DATA_TABLE, StringDataOffset));
  UINT32 PackCount = Le32(Header + offsetof(HII_DATA_TABLE, NumberOfLanguages));
  if (FirstPack == 0) return NO_PACK;
  UINT64 Pack = Table + FirstPack;
  // Each visited pack is at least a header long, so the walk ends with the
  // buffer however large the count.
  for (UINT32 Visited = 0; Visited < PackCount; ++Visited) {
    UINT32 Length = 0;
    if (!PackFits(Export, Pack, &Length)) return NO_PACK;
    ExportSpan PackSpan{Export.Base, Pack, Pack + Length};
    if (Le16(Export.At(Pack + offsetof(HII_PACK_HEADER, Type))) == HII_STRING_PACK && IsEnglish(PackSpan)) {
      return Pack;
    }
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

  const ExportSpan Export = Db.Export();
  UINT64 Pack = Db.StringCachePack;
  UINT32 PackLength = Le32(Export.At(Pack));
  ExportSpan PackSpan{Export.Base, Pack, Pack + PackLength};
  UINT64 Pointer = Pack + sizeof(HII_STRING_PACK_HEADER) + 4 * static_cast<UINT64>(Token);
  if (!PackSpan.Holds(Pointer, 4)) return None;
  UINT64 Text = Pack + Le32(Export.At(Pointer));
  UINT64 Units = 0;
  if (!WideTextLength(PackSpan, Text, 0xFFFF, &Units)) return None;
  return LookedUpString{reinterpret_cast<CHAR16 *>(Db.ExportBuffer + Text), static_cast<UINT16>(Units)};
}
