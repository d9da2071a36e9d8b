// Variable packs, varstore selection and value reads.
//
// A Framework data table may describe its variables in variable packs, each
// with a varstore id, a vendor GUID and a name; the IFR selects among them by
// id. Without packs, questions live in "Setup" under the form set's GUID.
#include "forms/variable_store.h"

#include "hiibuild/framework_hii.h"
#include "forms/variable_read.h"

namespace {

// What the variable-pack walk finds at a position. A pack's length is only
// the step to the next pack; whether a pack is a variable pack is told by
// its type alone, and it is usable when its GUID, id and NUL-terminated name
// lie inside the export, wherever its length says it ends.
enum class PackShape {
  Unreadable,  // its length and type lie outside the export: the walk ends
  Other,       // another type of pack
  Cut,         // a variable pack whose GUID, id or name runs out of the export
  Usable,
};

PackShape ShapeOf(const ExportSpan &Export, UINT64 Pack) {
  if (!Export.Holds(Pack, sizeof(HII_PACK_HEADER))) return PackShape::Unreadable;
  if (Le16(Export.At(Pack + offsetof(HII_PACK_HEADER, Type))) != HII_VARIABLE_PACK) return PackShape::Other;
  if (!Export.Holds(Pack, sizeof(HII_VARIABLE_PACK_HEADER))) return PackShape::Cut;
  UINT64 Units = 0;
  if (!WideTextLength(Export, Pack + sizeof(HII_VARIABLE_PACK_HEADER), Export.End, &Units)) return PackShape::Cut;
  return PackShape::Usable;
}

CHAR16 *PackName(UINT8 *Pack) { return reinterpret_cast<CHAR16 *>(Pack + sizeof(HII_VARIABLE_PACK_HEADER)); }
EFI_GUID *PackGuid(UINT8 *Pack) {
  return reinterpret_cast<EFI_GUID *>(Pack + offsetof(HII_VARIABLE_PACK_HEADER, VariableGuid));
}
UINT16 PackId(const UINT8 *Pack) { return Le16(Pack + offsetof(HII_VARIABLE_PACK_HEADER, VariableId)); }

// The number of VariablePacks entries that belong to the current table.
UINT32 RecordedPackCount(const SetupFormDatabase &Db) {
  if (Db.CurrentDataTable == nullptr || Db.CurrentDataTable < Db.ExportBuffer) return 0;
  UINT64 Table = static_cast<UINT64>(Db.CurrentDataTable - Db.ExportBuffer);
  if (!Db.Export().Holds(Table, sizeof(HII_DATA_TABLE))) return 0;
  UINT32 Count = Le32(Db.CurrentDataTable + offsetof(HII_DATA_TABLE, NumberOfVariableData));
  return Count < MAX_VARIABLE_PACKS ? Count : MAX_VARIABLE_PACKS;
}

void RecordPack(SetupFormDatabase &Db, UINT32 Index, UINT64 Pack) {
  Db.VariablePacks[Index] = Db.ExportBuffer + Pack;
  Db.CurrentVariableName = PackName(Db.VariablePacks[Index]);
}

}  // namespace

bool CollectVariablePacks(SetupFormDatabase &Db, const UINT8 *Table) {
  for (UINT8 *&Entry : Db.VariablePacks) Entry = nullptr;
  const ExportSpan Export = Db.Export();
  if (Table == nullptr || Table < Db.ExportBuffer) return false;
  UINT64 TableStart = static_cast<UINT64>(Table - Db.ExportBuffer);
  if (!Export.Holds(TableStart, sizeof(HII_DATA_TABLE))) return false;
  UINT32 Count = Le32(Table + offsetof(HII_DATA_TABLE, NumberOfVariableData));
  UINT64 Pack = TableStart + Le32(Table + offsetof(HII_DATA_TABLE, VariableDataOffset));

  // A first pack of another type (or beyond the export) leaves the table
  // unparsed. A first variable pack whose name runs out of the export still
  // lets the table be parsed, but cannot be recorded: its name cannot be read.
  PackShape Shape = ShapeOf(Export, Pack);
  if (Shape == PackShape::Unreadable || Shape == PackShape::Other) return false;
  if (Shape == PackShape::Usable) RecordPack(Db, 0, Pack);

  // Beyond 32 packs the table exceeds what the driver records: the first 32
  // are kept and the rest are not looked at. A length of 0 keeps the walk on
  // the same pack, which is then recorded again.
  UINT32 Last = Count < MAX_VARIABLE_PACKS ? Count : MAX_VARIABLE_PACKS;
  for (UINT32 Index = 1; Index < Last; ++Index) {
    Pack += Le32(Export.At(Pack));
    Shape = ShapeOf(Export, Pack);
    if (Shape == PackShape::Unreadable) break;
    if (Shape == PackShape::Usable) RecordPack(Db, Index, Pack);
  }
  return true;
}

void SelectVarStore(SetupFormDatabase &Db, UINT16 Id) {
  UINT16 Wanted = Id;
  UINT32 Count = RecordedPackCount(Db);
  for (UINT32 Index = 0; Index < Count; ++Index) {
    UINT8 *Pack = Db.VariablePacks[Index];
    if (Pack == nullptr) continue;
    if (Wanted == 0) Wanted = PackId(Pack);
    if (PackId(Pack) != Wanted) continue;
    Db.CurrentVariableName = PackName(Pack);
    Db.CurrentVariableGuid = PackGuid(Pack);
  }
}

void ReadQuestionValue(SetupFormDatabase &Db, SetupQuestion *Record, UINT16 Offset, UINT8 Width) {
  VariableRead Read(Db);
  if (!Read.HasData()) return;
  if (Offset > Db.CurrentVariableSize) return;
  Record->Width = Width;
  Record->Offset = Offset;
  Record->VariableAttributes = Db.CurrentVariableAttributes;
  Record->VariableSize = Db.CurrentVariableSize;
  Record->VariableName = Db.CurrentVariableName;
  Record->VariableGuid = Db.CurrentVariableGuid;
  if (Width != 1 && Width != 2 && Width != 4) {
    Record->Value = 0;
    return;
  }
  UINT32 Value = 0;
  for (UINT32 Index = 0; Index < Width; ++Index) {
    Value |= static_cast<UINT32>(Read.ByteAt(static_cast<UINT64>(Offset) + Index)) << (8 * Index);
  }
  Record->Value = Value;
}

void ReadConditionBytes(SetupFormDatabase &Db, UINT16 Offset, UINT8 Width, UINT8 *Out) {
  VariableRead Read(Db);
  if (!Read.HasData()) return;
  if (Offset > Db.CurrentVariableSize) return;
  for (UINT32 Index = 0; Index < Width; ++Index) {
    Out[Index] = Read.ByteAt(static_cast<UINT64>(Offset) + Index);
  }
}
