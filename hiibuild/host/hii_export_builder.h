// An assembler for Framework HII database exports.
//
// Tests, benchmarks, fuzz seeds and the sample platform all need HII exports:
// data tables holding an IFR pack, string packs in several languages and
// variable packs. Writing those bytes by hand is error-prone, so they are
// described here in the terms a firmware engineer uses (forms, questions,
// conditions, strings by text) and encoded in the Framework layout:
//
//   ExportBuilder Export;
//   DataTableBuilder &Table = Export.AddTable(FormSetGuid, {"eng", "fra"});
//   Table.Ifr().FormSet(FormSetGuid, u"Setup")
//       .Form(1, u"Main")
//       .CheckBox(0x10, 1, u"Quiet Boot")
//       .EndForm()
//       .EndFormSet();
//   Bytes Image = Export.Build();
//
// Strings are added by text: the table assigns tokens (token 0 is the empty
// string) and the same token names the string in every language. Misuse that
// cannot be encoded (an opcode longer than 255 bytes, more than 65535
// strings) throws std::length_error. Raw(), the raw-pack and raw-table calls
// and the length overrides (LengthField) let tests write deliberately
// malformed input.
//
// This is the host layer (STL, exceptions): every byte is encoded by the
// freestanding core in hiibuild/, which images use directly.
#pragma once

#include "hiibuild/byte_buffer.h"
#include "hiibuild/export_encoder.h"
#include "hiibuild/framework_hii.h"
#include "hiibuild/host/byte_writer.h"
#include "hiibuild/ifr_encoder.h"
#include "runtime/uefi.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace hiibuild {

// Byte offsets of the export's fixed fields, for tests that read or patch
// built images; taken from the layouts of framework_hii.h.
namespace hii_layout {
constexpr uint32_t CLASSIC_HEADER_SIZE = sizeof(HII_EXPORT_HEADER);
constexpr uint32_t EXTENDED_HEADER_SIZE = sizeof(HII_EXPORT_HEADER_WIDE);
constexpr uint32_t DATA_TABLE_HEADER_SIZE = sizeof(HII_DATA_TABLE);
constexpr uint32_t TABLE_HANDLE = offsetof(HII_DATA_TABLE, HiiHandle);
constexpr uint32_t TABLE_PACKAGE_GUID = offsetof(HII_DATA_TABLE, PackageGuid);
constexpr uint32_t TABLE_SIZE = offsetof(HII_DATA_TABLE, DataTableSize);
constexpr uint32_t TABLE_IFR_OFFSET = offsetof(HII_DATA_TABLE, IfrDataOffset);
constexpr uint32_t TABLE_STRING_OFFSET = offsetof(HII_DATA_TABLE, StringDataOffset);
constexpr uint32_t TABLE_VARIABLE_OFFSET = offsetof(HII_DATA_TABLE, VariableDataOffset);
constexpr uint32_t TABLE_DEVICE_PATH_OFFSET = offsetof(HII_DATA_TABLE, DevicePathOffset);
constexpr uint32_t TABLE_VARIABLE_COUNT = offsetof(HII_DATA_TABLE, NumberOfVariableData);
constexpr uint32_t TABLE_LANGUAGE_COUNT = offsetof(HII_DATA_TABLE, NumberOfLanguages);
constexpr uint32_t PACK_LENGTH = offsetof(HII_PACK_HEADER, Length);
constexpr uint32_t PACK_TYPE = offsetof(HII_PACK_HEADER, Type);
constexpr uint32_t PACK_HEADER_SIZE = sizeof(HII_PACK_HEADER);
constexpr uint32_t STRING_LANGUAGE_NAME = offsetof(HII_STRING_PACK_HEADER, LanguageNameString);
constexpr uint32_t STRING_PRINTABLE_NAME = offsetof(HII_STRING_PACK_HEADER, PrintableLanguageName);
constexpr uint32_t STRING_POINTER_COUNT = offsetof(HII_STRING_PACK_HEADER, NumStringPointers);
constexpr uint32_t STRING_ATTRIBUTES = offsetof(HII_STRING_PACK_HEADER, Attributes);
constexpr uint32_t STRING_POINTERS = sizeof(HII_STRING_PACK_HEADER);
constexpr uint32_t VARIABLE_GUID = offsetof(HII_VARIABLE_PACK_HEADER, VariableGuid);
constexpr uint32_t VARIABLE_NAME_LENGTH = offsetof(HII_VARIABLE_PACK_HEADER, VariableNameLength);
constexpr uint32_t VARIABLE_ID = offsetof(HII_VARIABLE_PACK_HEADER, VariableId);
constexpr uint32_t VARIABLE_NAME = sizeof(HII_VARIABLE_PACK_HEADER);
}  // namespace hii_layout

// A display string: one text per language.
struct Text {
  Text() = default;  // no string: token 0, the empty string
  Text(const char16_t *Default) : Default(Default), None(false) {}
  Text(std::u16string Default) : Default(std::move(Default)), None(false) {}
  // Default text with translations for some languages.
  Text(std::u16string Default, std::map<std::string, std::u16string> Translations)
      : Default(std::move(Default)), Translations(std::move(Translations)), None(false) {}
  // A string that exists only in the listed languages: in every other
  // language's pack the token's string pointer lies beyond the pack.
  static Text OnlyIn(std::map<std::string, std::u16string> Translations);

  std::u16string Default;
  std::map<std::string, std::u16string> Translations;
  bool OnlyTranslated = false;
  bool None = true;

  // The text shown in Language, or nullptr when the token has none there.
  const std::u16string *In(const std::string &Language) const;
  auto Key() const { return std::tie(None, OnlyTranslated, Default, Translations); }
  bool operator<(const Text &Other) const { return Key() < Other.Key(); }
};

// The strings of one data table and their tokens.
class StringTable {
 public:
  explicit StringTable(std::vector<std::string> Languages);
  // The token of T, adding it on first use. Equal texts share one token.
  uint16_t Token(const Text &T);
  const std::vector<std::string> &Languages() const { return LanguageNames; }
  size_t TokenCount() const { return Strings.size(); }
  // The string pack (type 2) of one language.
  Bytes BuildPack(const std::string &Language) const;

 private:
  std::vector<std::string> LanguageNames;
  std::vector<Text> Strings;  // index = token
  std::map<Text, uint16_t> Tokens;
};

struct OptionEntry {
  Text Label;
  uint16_t Value = 0;
};

// What a length or size field holds: normally the number of bytes it
// covers; for malformed input, that number plus a delta or a fixed value.
// Firmware has been seen to export lengths that disagree with their bytes.
class LengthField {
 public:
  LengthField() = default;
  static LengthField Plus(int64_t Delta) { return LengthField(false, Delta); }
  static LengthField Exactly(uint32_t Value) { return LengthField(true, Value); }
  // The value written for a field that covers TrueLength bytes; throws
  // std::out_of_range when it does not fit in 32 bits.
  uint32_t Apply(uint64_t TrueLength) const;

 private:
  LengthField(bool Fixed, int64_t Amount) : Fixed(Fixed), Amount(Amount) {}
  bool Fixed = false;
  int64_t Amount = 0;
};

// The IFR opcodes of one data table, in the order they are added.
class IfrBuilder {
 public:
  explicit IfrBuilder(StringTable &Strings);

  // Form set (0x0E, 36 bytes): GUID at 2, title at 18, help at 20, callback
  // handle at 22, class at 30, subclass at 32, NV data size at 34.
  IfrBuilder &FormSet(const EFI_GUID &Guid, const Text &Title, const Text &Help = {},
                      uint16_t Class = 0, uint16_t SubClass = 0, uint16_t NvDataSize = 0);
  IfrBuilder &EndFormSet();  // 0x0D
  IfrBuilder &Form(uint16_t Id, const Text &Title);  // 0x01: id at 2, title at 4
  IfrBuilder &EndForm();  // 0x0B
  IfrBuilder &Subtitle(const Text &Title);  // 0x02
  IfrBuilder &TextItem(const Text &First, const Text &Second = {}, const Text &Help = {},
                       uint8_t Flags = 0, uint16_t Key = 0);  // 0x03
  IfrBuilder &Label(uint16_t Id);  // 0x1D
  IfrBuilder &Ref(uint16_t FormId, const Text &Prompt, const Text &Help = {},
                  uint8_t Flags = 0, uint16_t Key = 0);  // 0x0F

  // One-of (0x05): offset at 2, width at 4, prompt at 5, help at 7; then
  // options and EndOneOf.
  IfrBuilder &OneOf(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help = {});
  // Option (0x09): token at 2, value at 4, flags at 6, key at 7.
  IfrBuilder &Option(const Text &Label, uint16_t Value, uint8_t Flags = 0, uint16_t Key = 0);
  IfrBuilder &EndOneOf();  // 0x10
  // One-of, its options (the one whose value is Default flagged default) and
  // the end-of-one-of.
  IfrBuilder &OneOfWithOptions(uint16_t Offset, uint8_t Width, const Text &Prompt,
                               const std::vector<OptionEntry> &Options, uint16_t Default,
                               const Text &Help = {});
  // Checkbox (0x06): as one-of, then flags at 9 and key at 10.
  IfrBuilder &CheckBox(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help = {},
                       uint8_t Flags = 0, uint16_t Key = 0);
  // Numeric (0x07): as checkbox, then minimum at 12, maximum at 14, step at
  // 16, default at 18.
  IfrBuilder &Numeric(uint16_t Offset, uint8_t Width, const Text &Prompt, const NumericRange &Range,
                      const Text &Help = {}, uint8_t Flags = 0, uint16_t Key = 0);
  // Password (0x08): as checkbox, then minimum and maximum size at 12 and 13,
  // encoding at 14.
  IfrBuilder &Password(uint16_t Offset, uint8_t Width, const Text &Prompt, const Text &Help = {},
                       uint8_t MinSize = 0, uint8_t MaxSize = 0);
  // Ordered list (0x23): offset at 2, maximum entries at 4, prompt at 5,
  // help at 7; its options and EndOneOf follow as for a one-of.
  IfrBuilder &OrderedList(uint16_t Offset, uint8_t MaxEntries, const Text &Prompt,
                          const Text &Help = {});

  // Condition scopes and terms.
  IfrBuilder &SuppressIf();  // 0x0A
  IfrBuilder &GrayOutIf();   // 0x19
  IfrBuilder &Hidden(uint16_t Value = 0, uint16_t Key = 0);  // 0x0C
  IfrBuilder &InconsistentIf(const Text &Popup = {});  // 0x11
  IfrBuilder &EqIdVal(uint16_t Offset, uint8_t Width, uint16_t Value);  // 0x12
  IfrBuilder &EqIdId(uint16_t Offset, uint8_t Width, uint16_t OtherOffset);  // 0x13
  // 0x14: offset at 2, width at 4, count at 5, values from 7.
  IfrBuilder &EqIdList(uint16_t Offset, uint8_t Width, const std::vector<uint16_t> &Values);
  IfrBuilder &And();    // 0x15
  IfrBuilder &Or();     // 0x16
  IfrBuilder &Not();    // 0x17
  IfrBuilder &EndIf();  // 0x18

  // Variable stores. VarStore (0x24): GUID at 2, id at 18, size at 20, then
  // the variable's ASCII name.
  IfrBuilder &VarStore(const EFI_GUID &Guid, uint16_t Id, uint16_t Size, const std::string &Name);
  IfrBuilder &VarStoreSelect(uint16_t Id);  // 0x25
  IfrBuilder &VarStoreSelectPair(uint16_t Id, uint16_t SecondId);  // 0x26

  // Bytes copied as they are, for malformed input.
  IfrBuilder &Raw(const Bytes &Code);

  // The opcodes so far.
  Bytes Code() const;

 private:
  // Throws for a status other than Success (see host_allocator.h).
  IfrBuilder &Check(BuildStatus Status, const char *What);
  uint16_t Token(const Text &T) { return Strings.Token(T); }

  StringTable &Strings;
  ByteBuffer Out;
  IfrEncoder Encoder;
};

// One data table: its IFR pack, one string pack per language and its
// variable packs.
class DataTableBuilder {
 public:
  explicit DataTableBuilder(const EFI_GUID &PackageGuid, std::vector<std::string> Languages = {"eng"},
                            uint16_t HiiHandle = 1);
  DataTableBuilder(const DataTableBuilder &) = delete;
  DataTableBuilder &operator=(const DataTableBuilder &) = delete;

  // The table's IFR. A table whose Ifr() was never asked for has no IFR
  // pack (offset 0).
  IfrBuilder &Ifr() { HasIfr = true; return IfrCode; }
  StringTable &Strings() { return StringPacks; }

  // Variable pack (type 6): GUID at 6, name length at 22, varstore id at 26,
  // name at 28. Length is what its length field holds.
  DataTableBuilder &VariablePack(const EFI_GUID &Guid, uint16_t VarStoreId, const std::u16string &Name,
                                 LengthField Length = {});
  // A pack given as bytes, taking a variable pack's place (e.g. one of
  // another type, or a bad length).
  DataTableBuilder &RawVariablePack(const Bytes &Pack);

  // Malformed lengths: of the table's size field, of its IFR pack and of
  // one language's string pack.
  DataTableBuilder &TableSize(LengthField Size) { SizeField = Size; return *this; }
  DataTableBuilder &IfrPackLength(LengthField Length) { IfrLength = Length; return *this; }
  DataTableBuilder &StringPackLength(const std::string &Language, LengthField Length);
  DataTableBuilder &Layout(PackOrder Order) { Packs = Order; return *this; }

  // Header fields: handle at 0, package GUID at 2, size at 18, IFR offset at
  // 22, first string pack at 26, first variable pack at 30, device path at
  // 34, variable pack count at 38, string pack count at 42.
  Bytes Build() const;

 private:
  EFI_GUID PackageGuid;
  uint16_t HiiHandle;
  StringTable StringPacks;
  IfrBuilder IfrCode;
  bool HasIfr = false;
  std::vector<Bytes> VariablePacks;
  PackOrder Packs = PackOrder::VariablesIfrStrings;
  LengthField SizeField;
  LengthField IfrLength;
  std::map<std::string, LengthField> StringLengths;
};

// A whole export: the header and its data tables one after another.
class ExportBuilder {
 public:
  explicit ExportBuilder(ExportHeaderStyle Style = ExportHeaderStyle::Classic) : Style(Style) {}

  // Adds a data table; handles are numbered 1, 2, ... in order.
  DataTableBuilder &AddTable(const EFI_GUID &PackageGuid, std::vector<std::string> Languages = {"eng"});
  // A data table given as bytes (counted like any other).
  ExportBuilder &AddRawTable(Bytes Table);
  // Writes Count into the header instead of the number of tables.
  ExportBuilder &OverrideTableCount(uint32_t Count);

  Bytes Build() const;
  // The protocol GUID that serves an export of this header style.
  const EFI_GUID &ProtocolGuid() const { return ExportHeaderGuid(Style); }

 private:
  struct Entry {
    std::unique_ptr<DataTableBuilder> Table;
    Bytes Raw;
  };
  ExportHeaderStyle Style;
  std::deque<Entry> Tables;
  bool CountOverridden = false;
  uint32_t CountOverride = 0;
};

// The contents of a setup variable: a zero-filled byte image with values at
// offsets, little-endian.
class VariableImage {
 public:
  explicit VariableImage(size_t Size) : Image(Size, 0) {}
  // Throws std::out_of_range when the value does not fit in the image and
  // std::invalid_argument for a width other than 1, 2 or 4.
  VariableImage &Set(size_t Offset, uint8_t Width, uint32_t Value);
  uint32_t Get(size_t Offset, uint8_t Width) const;
  const Bytes &Data() const { return Image; }
  size_t Size() const { return Image.size(); }

 private:
  Bytes Image;
};

}  // namespace hiibuild
