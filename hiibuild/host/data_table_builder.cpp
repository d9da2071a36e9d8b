// Data tables and the export that strings them together: the packs and
// headers come from the core; the host adds the length overrides that
// make deliberately malformed input.
#include "hiibuild/host/hii_export_builder.h"
#include "hiibuild/host/host_allocator.h"
#include "hiibuild/pack_encoder.h"

#include <stdexcept>

namespace hiibuild {

using namespace hii_layout;

namespace {

Bytes Copy(const ByteBuffer &Buffer) { return Bytes(Buffer.Data(), Buffer.Data() + Buffer.Size()); }

ByteSpan SpanOf(const Bytes &B) { return ByteSpan{B.data(), B.size()}; }

}  // namespace

DataTableBuilder::DataTableBuilder(const EFI_GUID &PackageGuid, std::vector<std::string> Languages,
                                   uint16_t HiiHandle)
    : PackageGuid(PackageGuid), HiiHandle(HiiHandle), StringPacks(std::move(Languages)),
      IfrCode(StringPacks) {}

uint32_t LengthField::Apply(uint64_t TrueLength) const {
  const int64_t Value = Fixed ? Amount : static_cast<int64_t>(TrueLength) + Amount;
  if (Value < 0 || Value > 0xFFFFFFFFll) throw std::out_of_range("length field outside 32 bits");
  return static_cast<uint32_t>(Value);
}

DataTableBuilder &DataTableBuilder::VariablePack(const EFI_GUID &Guid, uint16_t VarStoreId,
                                                 const std::u16string &Name, LengthField Length) {
  ByteBuffer Pack(HostAllocator());
  const WideText WideName{reinterpret_cast<const CHAR16 *>(Name.data()), Name.size()};
  ThrowUnlessSuccess(WriteVariablePack(Pack, Guid, VarStoreId, WideName), "variable pack");
  Bytes Written = Copy(Pack);
  PutU32(Written, PACK_LENGTH, Length.Apply(Written.size()));
  VariablePacks.push_back(std::move(Written));
  return *this;
}

DataTableBuilder &DataTableBuilder::StringPackLength(const std::string &Language, LengthField Length) {
  StringLengths[Language] = Length;
  return *this;
}

DataTableBuilder &DataTableBuilder::RawVariablePack(const Bytes &Pack) {
  VariablePacks.push_back(Pack);
  return *this;
}

Bytes DataTableBuilder::Build() const {
  // The IFR is complete by now, so every token it uses has its string.
  std::vector<Bytes> Strings;
  for (const std::string &Language : StringPacks.Languages()) {
    Bytes Pack = StringPacks.BuildPack(Language);
    auto Skewed = StringLengths.find(Language);
    if (Skewed != StringLengths.end()) PutU32(Pack, PACK_LENGTH, Skewed->second.Apply(Pack.size()));
    Strings.push_back(std::move(Pack));
  }
  std::vector<ByteSpan> VariableSpans, StringSpans;
  for (const Bytes &Pack : VariablePacks) VariableSpans.push_back(SpanOf(Pack));
  for (const Bytes &Pack : Strings) StringSpans.push_back(SpanOf(Pack));
  const Bytes Code = IfrCode.Code();

  ByteBuffer Table(HostAllocator());
  const DataTableParts Parts{HiiHandle,           PackageGuid,    VariableSpans.data(), VariableSpans.size(),
                             HasIfr,              SpanOf(Code),   StringSpans.data(),   StringSpans.size(),
                             Packs};
  ThrowUnlessSuccess(WriteDataTable(Table, Parts), "data table");
  Bytes Image = Copy(Table);
  PutU32(Image, TABLE_SIZE, SizeField.Apply(Image.size()));
  if (HasIfr) {
    const uint32_t IfrAt = GetU32(Image, TABLE_IFR_OFFSET);
    PutU32(Image, IfrAt + PACK_LENGTH, IfrLength.Apply(GetU32(Image, IfrAt + PACK_LENGTH)));
  }
  return Image;
}

DataTableBuilder &ExportBuilder::AddTable(const EFI_GUID &PackageGuid, std::vector<std::string> Languages) {
  auto Handle = static_cast<uint16_t>(Tables.size() + 1);
  Tables.push_back(Entry{std::make_unique<DataTableBuilder>(PackageGuid, std::move(Languages), Handle), {}});
  return *Tables.back().Table;
}

ExportBuilder &ExportBuilder::AddRawTable(Bytes Table) {
  Tables.push_back(Entry{nullptr, std::move(Table)});
  return *this;
}

ExportBuilder &ExportBuilder::OverrideTableCount(uint32_t Count) {
  CountOverridden = true;
  CountOverride = Count;
  return *this;
}

Bytes ExportBuilder::Build() const {
  // An overridden count goes out as given, cut to the classic header's 16
  // bits; a true count the classic header cannot hold is refused.
  uint32_t Count = static_cast<uint32_t>(Tables.size());
  if (CountOverridden) Count = Style == ExportHeaderStyle::Classic ? CountOverride & 0xFFFF : CountOverride;
  ByteBuffer Export(HostAllocator());
  ThrowUnlessSuccess(WriteExportHeader(Export, Style, Count), "export header");
  for (const Entry &E : Tables) {
    const Bytes Table = E.Table ? E.Table->Build() : E.Raw;
    ThrowUnlessSuccess(Export.Append(Table.data(), Table.size()), "data table");
  }
  return Copy(Export);
}

VariableImage &VariableImage::Set(size_t Offset, uint8_t Width, uint32_t Value) {
  if (Width != 1 && Width != 2 && Width != 4) throw std::invalid_argument("width must be 1, 2 or 4");
  if (Offset > Image.size() || Image.size() - Offset < Width)
    throw std::out_of_range("value beyond the end of the variable");
  if (Width < 4 && (Value >> (8 * Width)) != 0) throw std::out_of_range("value wider than its field");
  for (size_t I = 0; I < Width; ++I) Image[Offset + I] = static_cast<uint8_t>(Value >> (8 * I));
  return *this;
}

uint32_t VariableImage::Get(size_t Offset, uint8_t Width) const {
  if (Width != 1 && Width != 2 && Width != 4) throw std::invalid_argument("width must be 1, 2 or 4");
  if (Offset > Image.size() || Image.size() - Offset < Width)
    throw std::out_of_range("value beyond the end of the variable");
  uint32_t V = 0;
  for (size_t I = 0; I < Width; ++I) V |= static_cast<uint32_t>(Image[Offset + I]) << (8 * I);
  return V;
}

}  // namespace hiibuild
