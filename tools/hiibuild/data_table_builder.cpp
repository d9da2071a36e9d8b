// Data tables and the export that strings them together.
#include "tools/hiibuild/hii_export_builder.h"

#include <stdexcept>

namespace hiibuild {

using namespace hii_layout;

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
  const uint32_t NameBytes = static_cast<uint32_t>(2 * (Name.size() + 1));
  ByteWriter Pack;
  Pack.U32(Length.Apply(VARIABLE_NAME + NameBytes))
      .U16(HII_PACK_VARIABLE)
      .Guid(Guid)
      .U32(NameBytes)
      .U16(VarStoreId)
      .WideZ(Name);
  VariablePacks.push_back(Pack.Take());
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
  // Every offset in the header is from the table's start. The IFR is
  // complete by now, so every token it uses has its string.
  ByteWriter Body;
  auto Here = [&Body] { return DATA_TABLE_HEADER_SIZE + static_cast<uint32_t>(Body.Size()); };
  uint32_t VariableOffset = 0;
  if (!VariablePacks.empty()) VariableOffset = Here();
  for (const Bytes &Pack : VariablePacks) Body.Append(Pack);

  uint32_t IfrOffset = 0;
  auto AppendIfr = [&] {
    if (!HasIfr) return;
    IfrOffset = Here();
    const Bytes &Code = IfrCode.Code();
    Body.U32(IfrLength.Apply(PACK_HEADER_SIZE + Code.size())).U16(HII_PACK_IFR).Append(Code);
  };
  uint32_t StringOffset = 0;
  auto AppendStrings = [&] {
    const auto &Languages = StringPacks.Languages();
    if (!Languages.empty()) StringOffset = Here();
    for (const std::string &Language : Languages) {
      Bytes Pack = StringPacks.BuildPack(Language);
      auto Skewed = StringLengths.find(Language);
      if (Skewed != StringLengths.end()) PutU32(Pack, PACK_LENGTH, Skewed->second.Apply(Pack.size()));
      Body.Append(Pack);
    }
  };
  if (Packs == PackOrder::VariablesIfrStrings) {
    AppendIfr();
    AppendStrings();
  } else {
    AppendStrings();
    AppendIfr();
  }

  const uint64_t TableSize = DATA_TABLE_HEADER_SIZE + Body.Size();
  if (TableSize > 0xFFFFFFFFu) throw std::length_error("data table over 4 GiB");
  ByteWriter Table;
  Table.U16(HiiHandle)
      .Guid(PackageGuid)
      .U32(SizeField.Apply(TableSize))
      .U32(IfrOffset)
      .U32(StringOffset)
      .U32(VariableOffset)
      .U32(0)  // no device path
      .U32(static_cast<uint32_t>(VariablePacks.size()))
      .U32(static_cast<uint32_t>(StringPacks.Languages().size()))
      .Append(Body.Data());
  return Table.Take();
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

const EFI_GUID &ExportBuilder::ProtocolGuid() const {
  return Style == ExportHeaderStyle::Classic ? gFrameworkHiiProtocolGuid : gFrameworkHiiRevisedProtocolGuid;
}

Bytes ExportBuilder::Build() const {
  const uint32_t Count = CountOverridden ? CountOverride : static_cast<uint32_t>(Tables.size());
  ByteWriter Export;
  if (Style == ExportHeaderStyle::Classic) {
    if (!CountOverridden && Count > 0xFFFF) throw std::length_error("more than 65535 data tables");
    Export.U16(static_cast<uint16_t>(Count));
  } else {
    Export.U32(Count);
  }
  Export.Guid(ProtocolGuid());
  for (const Entry &E : Tables) Export.Append(E.Table ? E.Table->Build() : E.Raw);
  return Export.Take();
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
