// Data tables and the export header: how packs become a Framework HII
// database export.
#pragma once

#include "hiibuild/byte_buffer.h"
#include "hiibuild/framework_hii.h"

namespace hiibuild {

// Where a table's packs lie after its header.
enum class PackOrder : UINT8 {
  VariablesIfrStrings,  // the usual layout
  VariablesStringsIfr,  // the IFR pack last, so that its end is the table's
};

// One data table: whole variable and string packs (WriteVariablePack,
// WriteStringPack), and the IFR opcodes, which get their pack header here.
struct DataTableParts {
  UINT16 HiiHandle;
  EFI_GUID PackageGuid;
  const ByteSpan *VariablePacks;
  size_t VariablePackCount;
  bool HasIfr;  // false: no IFR pack (offset 0)
  ByteSpan IfrCode;
  const ByteSpan *StringPacks;  // one per language
  size_t StringPackCount;
  PackOrder Order;
};

// The 46-byte header (handle at 0, package GUID at 2, size at 18, IFR
// offset at 22, first string pack at 26, first variable pack at 30, device
// path (none: 0) at 34, variable pack count at 38, string pack count at 42;
// offsets from the table's start, 0 for a part the table lacks), then the
// packs. Success, TooLong (a table over 4 GiB), OutOfMemory, or
// InvalidArgument for a missing array; on failure Out is as it was.
[[nodiscard]] BuildStatus WriteDataTable(ByteBuffer &Out, const DataTableParts &Parts);

enum class ExportHeaderStyle : UINT8 {
  Classic,   // UINT16 count at 0, GUID at 2, first table at 18
  Extended,  // UINT32 count at 0, GUID at 4, first table at 20
};

// The protocol GUID a header of this style carries, and that serves it.
const EFI_GUID &ExportHeaderGuid(ExportHeaderStyle Style);

// The header alone, with TableCount as its count: TooLong when a classic
// header cannot hold it.
[[nodiscard]] BuildStatus WriteExportHeader(ByteBuffer &Out, ExportHeaderStyle Style, UINT32 TableCount);

// A whole export: the header counting Tables, then the tables back to back.
[[nodiscard]] BuildStatus WriteExport(ByteBuffer &Out, ExportHeaderStyle Style, const ByteSpan *Tables,
                                      size_t TableCount);

}  // namespace hiibuild
