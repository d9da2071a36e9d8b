#include "hiibuild/export_encoder.h"

#include "hiibuild/little_endian.h"
#include "hiibuild/pack_encoder.h"

namespace hiibuild {

namespace {

bool Present(const ByteSpan *Spans, size_t Count) {
  if (Count != 0 && Spans == nullptr) return false;
  for (size_t I = 0; I < Count; ++I)
    if (Spans[I].Data == nullptr && Spans[I].Size != 0) return false;
  return true;
}

// Appends the packs in Spans, all or none.
BuildStatus AppendAll(ByteBuffer &Out, const ByteSpan *Spans, size_t Count) {
  for (size_t I = 0; I < Count; ++I) {
    const BuildStatus Status = Out.Append(Spans[I].Data, Spans[I].Size);
    if (Status != BuildStatus::Success) return Status;
  }
  return BuildStatus::Success;
}

UINT64 TotalSize(const ByteSpan *Spans, size_t Count) {
  UINT64 Total = 0;
  for (size_t I = 0; I < Count; ++I) Total += Spans[I].Size;
  return Total;
}

BuildStatus WritePacks(ByteBuffer &Out, const DataTableParts &Parts, UINT32 &IfrOffset, UINT32 &StringOffset,
                       UINT32 &VariableOffset) {
  const size_t TableStart = Out.Size() - sizeof(HII_DATA_TABLE);
  auto Here = [&] { return static_cast<UINT32>(Out.Size() - TableStart); };
  if (Parts.VariablePackCount != 0) VariableOffset = Here();
  BuildStatus Status = AppendAll(Out, Parts.VariablePacks, Parts.VariablePackCount);
  if (Status != BuildStatus::Success) return Status;

  auto Ifr = [&] {
    if (!Parts.HasIfr) return BuildStatus::Success;
    IfrOffset = Here();
    return WriteIfrPack(Out, Parts.IfrCode);
  };
  auto Strings = [&] {
    if (Parts.StringPackCount != 0) StringOffset = Here();
    return AppendAll(Out, Parts.StringPacks, Parts.StringPackCount);
  };
  const bool IfrFirst = Parts.Order == PackOrder::VariablesIfrStrings;
  Status = IfrFirst ? Ifr() : Strings();
  if (Status != BuildStatus::Success) return Status;
  return IfrFirst ? Strings() : Ifr();
}

}  // namespace

BuildStatus WriteDataTable(ByteBuffer &Out, const DataTableParts &Parts) {
  if (!Present(Parts.VariablePacks, Parts.VariablePackCount) || !Present(Parts.StringPacks, Parts.StringPackCount) ||
      (Parts.HasIfr && Parts.IfrCode.Data == nullptr && Parts.IfrCode.Size != 0))
    return BuildStatus::InvalidArgument;
  // The size is known up front, so a table that cannot be described is
  // refused before a byte is written.
  const UINT64 Size = sizeof(HII_DATA_TABLE) + TotalSize(Parts.VariablePacks, Parts.VariablePackCount) +
                      (Parts.HasIfr ? sizeof(HII_PACK_HEADER) + static_cast<UINT64>(Parts.IfrCode.Size) : 0) +
                      TotalSize(Parts.StringPacks, Parts.StringPackCount);
  if (Size > 0xFFFFFFFFu || Parts.VariablePackCount > 0xFFFFFFFFu || Parts.StringPackCount > 0xFFFFFFFFu)
    return BuildStatus::TooLong;

  const size_t Start = Out.Size();
  if (Out.Extend(sizeof(HII_DATA_TABLE)) == nullptr) return BuildStatus::OutOfMemory;
  UINT32 IfrOffset = 0, StringOffset = 0, VariableOffset = 0;
  const BuildStatus Status = WritePacks(Out, Parts, IfrOffset, StringOffset, VariableOffset);
  if (Status != BuildStatus::Success) {
    Out.Truncate(Start);
    return Status;
  }
  // The header goes in last, when the offsets are known; the buffer may
  // have moved since it was reserved.
  UINT8 *Header = Out.MutableData() + Start;
  ByteCursor(Header, Header + sizeof(HII_DATA_TABLE))
      .U16(Parts.HiiHandle)
      .Guid(Parts.PackageGuid)
      .U32(static_cast<UINT32>(Size))
      .U32(IfrOffset)
      .U32(StringOffset)
      .U32(VariableOffset)
      .U32(0)  // no device path
      .U32(static_cast<UINT32>(Parts.VariablePackCount))
      .U32(static_cast<UINT32>(Parts.StringPackCount));
  return BuildStatus::Success;
}

const EFI_GUID &ExportHeaderGuid(ExportHeaderStyle Style) {
  return Style == ExportHeaderStyle::Classic ? gFrameworkHiiProtocolGuid : gFrameworkHiiLaterProtocolGuid;
}

BuildStatus WriteExportHeader(ByteBuffer &Out, ExportHeaderStyle Style, UINT32 TableCount) {
  const bool Classic = Style == ExportHeaderStyle::Classic;
  if (Classic && TableCount > 0xFFFF) return BuildStatus::TooLong;
  const size_t Size = Classic ? sizeof(HII_EXPORT_HEADER) : sizeof(HII_EXPORT_HEADER_WIDE);
  UINT8 *At = Out.Extend(Size);
  if (At == nullptr) return BuildStatus::OutOfMemory;
  ByteCursor Cursor(At, At + Size);
  if (Classic)
    Cursor.U16(static_cast<UINT16>(TableCount));
  else
    Cursor.U32(TableCount);
  Cursor.Guid(ExportHeaderGuid(Style));
  return BuildStatus::Success;
}

BuildStatus WriteExport(ByteBuffer &Out, ExportHeaderStyle Style, const ByteSpan *Tables, size_t TableCount) {
  if (!Present(Tables, TableCount)) return BuildStatus::InvalidArgument;
  if (TableCount > 0xFFFFFFFFu) return BuildStatus::TooLong;
  const size_t Start = Out.Size();
  BuildStatus Status = WriteExportHeader(Out, Style, static_cast<UINT32>(TableCount));
  if (Status == BuildStatus::Success) Status = AppendAll(Out, Tables, TableCount);
  if (Status != BuildStatus::Success) Out.Truncate(Start);
  return Status;
}

}  // namespace hiibuild
