// The builder's encodings against the Framework HII byte layout.
#include "hiibuild/host/hii_export_builder.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <stdexcept>

namespace {

using namespace hiibuild;
using namespace hiibuild::hii_layout;

constexpr EFI_GUID kPackage = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr EFI_GUID kVariable = {0xaabbccdd, 0xeeff, 0x0102, {9, 10, 11, 12, 13, 14, 15, 16}};

// Finds the string pack of Language in a built table; returns its offset.
size_t StringPackOf(const Bytes &Table, const std::string &Language) {
  size_t At = GetU32(Table, TABLE_STRING_OFFSET);
  for (uint32_t I = 0; I < GetU32(Table, TABLE_LANGUAGE_COUNT); ++I) {
    Bytes Pack(Table.begin() + At, Table.end());
    std::u16string Name = GetWideZ(Pack, GetU32(Pack, STRING_LANGUAGE_NAME));
    if (Name == std::u16string(Language.begin(), Language.end())) return At;
    At += GetU32(Table, At + PACK_LENGTH);
  }
  throw std::runtime_error("no pack for " + Language);
}

// The text of Token in the pack at PackAt, or nullopt when its pointer lies
// beyond the pack.
std::optional<std::u16string> StringOf(const Bytes &Table, size_t PackAt, uint16_t Token) {
  Bytes Pack(Table.begin() + PackAt, Table.begin() + PackAt + GetU32(Table, PackAt));
  uint32_t Pointer = GetU32(Pack, STRING_POINTERS + 4 * Token);
  if (Pointer >= Pack.size()) return std::nullopt;
  return GetWideZ(Pack, Pointer);
}

Bytes IfrOf(const Bytes &Table) {
  size_t At = GetU32(Table, TABLE_IFR_OFFSET);
  size_t Length = GetU32(Table, At + PACK_LENGTH);
  return Bytes(Table.begin() + At + PACK_HEADER_SIZE, Table.begin() + At + Length);
}

TEST(ExportHeader, ClassicAndExtendedLayouts) {
  struct Case {
    ExportHeaderStyle Style;
    size_t GuidAt;  // also the width of the table count before it
    const EFI_GUID *Guid;
  };
  for (const Case &C : {Case{ExportHeaderStyle::Classic, 2, &gFrameworkHiiProtocolGuid},
                        Case{ExportHeaderStyle::Extended, 4, &gFrameworkHiiLaterProtocolGuid}}) {
    ExportBuilder Export(C.Style);
    Export.AddTable(kPackage).Ifr().Form(1, u"One").EndForm();
    Export.AddTable(kPackage).Ifr().Form(2, u"Two").EndForm();
    Bytes Image = Export.Build();
    EXPECT_EQ(C.GuidAt == 2 ? GetU16(Image, 0) : GetU32(Image, 0), 2u);
    EXPECT_TRUE(GuidsEqual(GetGuid(Image, C.GuidAt), *C.Guid));
    EXPECT_TRUE(GuidsEqual(Export.ProtocolGuid(), *C.Guid));
    // Tables follow the header back to back, each stepping by its size.
    size_t First = C.GuidAt + 16;
    size_t Second = First + GetU32(Image, First + TABLE_SIZE);
    EXPECT_EQ(GetU16(Image, First + TABLE_HANDLE), 1);
    EXPECT_EQ(GetU16(Image, Second + TABLE_HANDLE), 2);
    EXPECT_EQ(Second + GetU32(Image, Second + TABLE_SIZE), Image.size());
  }
  // A forced count and raw table bytes go out as given.
  ExportBuilder Raw;
  Raw.AddRawTable({0xDE, 0xAD}).OverrideTableCount(7);
  EXPECT_EQ(Raw.Build(), (Bytes{7, 0, 0x2C, 0x6D, 0x81, 0xEA, 0xE5, 0xCE, 0x02, 0x4F, 0x99, 0xB5, 0xD3, 0x90, 0x5C,
                                0xBB, 0xD0, 0x77, 0xDE, 0xAD}));
}

TEST(DataTable, HeaderOffsetsPointAtTheirPacks) {
  DataTableBuilder Table(kPackage, {"fra", "eng"}, 9);
  Table.VariablePack(kVariable, 3, u"Setup").VariablePack(kPackage, 4, u"Other");
  Table.Ifr().Form(1, u"Main").EndForm();
  Bytes Image = Table.Build();

  EXPECT_EQ(GetU16(Image, TABLE_HANDLE), 9);
  EXPECT_TRUE(GuidsEqual(GetGuid(Image, TABLE_PACKAGE_GUID), kPackage));
  EXPECT_EQ(GetU32(Image, TABLE_SIZE), Image.size());
  EXPECT_EQ(GetU32(Image, TABLE_VARIABLE_COUNT), 2u);
  EXPECT_EQ(GetU32(Image, TABLE_LANGUAGE_COUNT), 2u);

  size_t Ifr = GetU32(Image, TABLE_IFR_OFFSET);
  EXPECT_EQ(GetU16(Image, Ifr + PACK_TYPE), HII_IFR_PACK);
  EXPECT_EQ(GetU32(Image, Ifr + PACK_LENGTH), PACK_HEADER_SIZE + 6u + 2u);
  EXPECT_EQ(Image[Ifr + PACK_HEADER_SIZE], IFR_OP_FORM);

  size_t Variable = GetU32(Image, TABLE_VARIABLE_OFFSET);
  EXPECT_EQ(GetU16(Image, Variable + PACK_TYPE), HII_VARIABLE_PACK);
  EXPECT_TRUE(GuidsEqual(GetGuid(Image, Variable + VARIABLE_GUID), kVariable));
  EXPECT_EQ(GetU32(Image, Variable + VARIABLE_NAME_LENGTH), 12u);  // "Setup" and NUL
  EXPECT_EQ(GetU16(Image, Variable + VARIABLE_ID), 3);
  EXPECT_EQ(GetWideZ(Image, Variable + VARIABLE_NAME), u"Setup");
  size_t Second = Variable + GetU32(Image, Variable + PACK_LENGTH);
  EXPECT_EQ(GetWideZ(Image, Second + VARIABLE_NAME), u"Other");

  size_t Strings = GetU32(Image, TABLE_STRING_OFFSET);
  EXPECT_EQ(GetU16(Image, Strings + PACK_TYPE), HII_STRING_PACK);
  EXPECT_EQ(StringPackOf(Image, "fra"), Strings);  // packs in the given order
  EXPECT_GT(StringPackOf(Image, "eng"), Strings);

  Bytes Empty = DataTableBuilder(kPackage, {}).Build();  // absent parts have offset zero
  EXPECT_EQ(Empty.size(), DATA_TABLE_HEADER_SIZE);
  for (size_t Field : {TABLE_IFR_OFFSET, TABLE_STRING_OFFSET, TABLE_VARIABLE_OFFSET}) EXPECT_EQ(GetU32(Empty, Field), 0u);
}

TEST(Strings, OneTokenPerTextInEveryLanguage) {
  DataTableBuilder Table(kPackage, {"eng", "fra"});
  Table.Ifr()
      .Form(1, Text(u"Main", {{"fra", u"Principal"}}))
      .Subtitle(u"Shared")
      .Subtitle(u"Shared")
      .Subtitle(Text::OnlyIn({{"fra", u"Seulement"}}))
      .Subtitle({});
  Bytes Image = Table.Build();
  Bytes Ifr = IfrOf(Image);
  uint16_t MainToken = GetU16(Ifr, 4);
  uint16_t SharedA = GetU16(Ifr, 6 + 2), SharedB = GetU16(Ifr, 10 + 2);
  uint16_t FrenchOnly = GetU16(Ifr, 14 + 2), Empty = GetU16(Ifr, 18 + 2);
  EXPECT_EQ(SharedA, SharedB);
  EXPECT_NE(MainToken, SharedA);
  EXPECT_EQ(Empty, 0);

  size_t Eng = StringPackOf(Image, "eng"), Fra = StringPackOf(Image, "fra");
  EXPECT_EQ(StringOf(Image, Eng, MainToken), u"Main");
  EXPECT_EQ(StringOf(Image, Fra, MainToken), u"Principal");
  EXPECT_EQ(StringOf(Image, Fra, SharedA), u"Shared");  // untranslated: default text
  EXPECT_EQ(StringOf(Image, Eng, 0), u"");
  EXPECT_EQ(StringOf(Image, Fra, FrenchOnly), u"Seulement");
  EXPECT_EQ(StringOf(Image, Eng, FrenchOnly), std::nullopt);
  // Every pack carries a pointer for every token.
  EXPECT_EQ(GetU32(Image, Eng + STRING_POINTER_COUNT), Table.Strings().TokenCount());
}

// Each opcode's number, length byte and operands at their Framework offsets.
struct OpcodeCase {
  const char *Name;
  std::function<void(IfrBuilder &)> Emit;
  uint8_t OpCode;
  uint8_t Length;
  std::vector<std::pair<size_t, uint16_t>> U16At;  // operand offset, value
  std::vector<std::pair<size_t, uint8_t>> U8At;
};
// Keeps test listings readable (gtest would otherwise dump the bytes).
void PrintTo(const OpcodeCase &C, std::ostream *Out) { *Out << C.Name; }

class IfrEncoding : public ::testing::TestWithParam<OpcodeCase> {};

TEST_P(IfrEncoding, OperandsAtFrameworkOffsets) {
  const OpcodeCase &C = GetParam();
  StringTable Strings({"eng"});
  Strings.Token(u"first");  // token 1, so prompts below get distinct tokens
  IfrBuilder Ifr(Strings);
  C.Emit(Ifr);
  const Bytes &Code = Ifr.Code();
  ASSERT_EQ(Code.size(), C.Length) << C.Name;
  EXPECT_EQ(Code[0], C.OpCode) << C.Name;
  EXPECT_EQ(Code[1], C.Length) << C.Name;
  for (auto [At, Value] : C.U16At) EXPECT_EQ(GetU16(Code, At), Value) << C.Name << " at " << At;
  for (auto [At, Value] : C.U8At) EXPECT_EQ(Code[At], Value) << C.Name << " at " << At;
}

INSTANTIATE_TEST_SUITE_P(
    Opcodes, IfrEncoding,
    ::testing::Values(
        OpcodeCase{"form set", [](IfrBuilder &I) { I.FormSet(kPackage, u"S", {}, 1, 2, 0x200); }, 0x0E, 36,
                   {{2, 0x3344}, {6, 0x5566}, {18, 2}, {30, 1}, {32, 2}, {34, 0x200}}, {{10, 1}, {17, 8}}},
        OpcodeCase{"form", [](IfrBuilder &I) { I.Form(0x221, u"T"); }, 0x01, 6, {{2, 0x221}, {4, 2}}, {}},
        OpcodeCase{"one-of", [](IfrBuilder &I) { I.OneOf(0x1234, 2, u"P", u"H"); }, 0x05, 9,
                   {{2, 0x1234}, {5, 2}, {7, 3}}, {{4, 2}}},
        OpcodeCase{"option", [](IfrBuilder &I) { I.Option(u"O", 0xBEEF, IFR_FLAG_DEFAULT); }, 0x09, 9,
                   {{2, 2}, {4, 0xBEEF}}, {{6, IFR_FLAG_DEFAULT}}},
        OpcodeCase{"checkbox", [](IfrBuilder &I) { I.CheckBox(0x40, 1, u"P", {}, 1, 0x77); }, 0x06, 12,
                   {{2, 0x40}, {5, 2}, {7, 0}, {10, 0x77}}, {{4, 1}, {9, 1}}},
        OpcodeCase{"numeric",
                   [](IfrBuilder &I) { I.Numeric(0x10, 2, u"P", {.Minimum = 5, .Maximum = 500, .Step = 0, .Default = 42}); },
                   0x07, 20, {{2, 0x10}, {5, 2}, {12, 5}, {14, 500}, {16, 0}, {18, 42}}, {{4, 2}}},
        OpcodeCase{"ordered list", [](IfrBuilder &I) { I.OrderedList(0x30, 4, u"P"); }, 0x23, 9,
                   {{2, 0x30}, {5, 2}}, {{4, 4}}},
        OpcodeCase{"password", [](IfrBuilder &I) { I.Password(0x50, 16, u"P", {}, 8, 14); }, 0x08, 16,
                   {{2, 0x50}, {5, 2}}, {{4, 16}, {12, 8}, {13, 14}}},
        OpcodeCase{"eq-id-val", [](IfrBuilder &I) { I.EqIdVal(0x0102, 1, 0xA55A); }, 0x12, 7,
                   {{2, 0x0102}, {5, 0xA55A}}, {{4, 1}}},
        OpcodeCase{"eq-id-id", [](IfrBuilder &I) { I.EqIdId(3, 1, 9); }, 0x13, 7, {{2, 3}, {5, 9}}, {{4, 1}}},
        OpcodeCase{"eq-id-list", [](IfrBuilder &I) { I.EqIdList(0x20, 2, {7, 8, 9}); }, 0x14, 13,
                   {{2, 0x20}, {5, 3}, {7, 7}, {9, 8}, {11, 9}}, {{4, 2}}},
        OpcodeCase{"suppress-if", [](IfrBuilder &I) { I.SuppressIf(); }, 0x0A, 3, {}, {}},
        OpcodeCase{"gray-out-if", [](IfrBuilder &I) { I.GrayOutIf(); }, 0x19, 3, {}, {}},
        OpcodeCase{"hidden", [](IfrBuilder &I) { I.Hidden(1, 2); }, 0x0C, 6, {{2, 1}, {4, 2}}, {}},
        OpcodeCase{"inconsistent-if", [](IfrBuilder &I) { I.InconsistentIf(u"P"); }, 0x11, 5, {{2, 2}}, {}},
        OpcodeCase{"varstore select", [](IfrBuilder &I) { I.VarStoreSelect(5); }, 0x25, 4, {{2, 5}}, {}},
        OpcodeCase{"varstore select pair", [](IfrBuilder &I) { I.VarStoreSelectPair(5, 6); }, 0x26, 6,
                   {{2, 5}, {4, 6}}, {}},
        OpcodeCase{"varstore", [](IfrBuilder &I) { I.VarStore(kVariable, 3, 0x200, "Setup"); }, 0x24, 28,
                   {{18, 3}, {20, 0x200}}, {{22, 'S'}, {27, 0}}},
        OpcodeCase{"label", [](IfrBuilder &I) { I.Label(0x1000); }, 0x1D, 4, {{2, 0x1000}}, {}},
        OpcodeCase{"ref", [](IfrBuilder &I) { I.Ref(21, u"P"); }, 0x0F, 11, {{2, 21}, {4, 2}}, {}},
        OpcodeCase{"end form", [](IfrBuilder &I) { I.EndForm(); }, 0x0B, 2, {}, {}},
        OpcodeCase{"end form set", [](IfrBuilder &I) { I.EndFormSet(); }, 0x0D, 2, {}, {}},
        OpcodeCase{"end one-of", [](IfrBuilder &I) { I.EndOneOf(); }, 0x10, 2, {}, {}},
        OpcodeCase{"and", [](IfrBuilder &I) { I.And(); }, 0x15, 2, {}, {}},
        OpcodeCase{"or", [](IfrBuilder &I) { I.Or(); }, 0x16, 2, {}, {}},
        OpcodeCase{"not", [](IfrBuilder &I) { I.Not(); }, 0x17, 2, {}, {}},
        OpcodeCase{"end-if", [](IfrBuilder &I) { I.EndIf(); }, 0x18, 2, {}, {}}));

TEST(IfrEncoding, OneOfWithOptionsFlagsOnlyTheDefaultAndLengthsAreBounded) {
  StringTable Strings({"eng"});
  IfrBuilder Ifr(Strings);
  Ifr.OneOfWithOptions(4, 1, u"P", {{u"A", 0}, {u"B", 1}, {u"C", 2}}, 1);
  const Bytes &Code = Ifr.Code();
  ASSERT_EQ(Code.size(), 9u + 3 * 9u + 2u);
  for (int I = 0; I < 3; ++I) {
    size_t Option = 9 + 9 * I;
    EXPECT_EQ(Code[Option], IFR_OP_ONE_OF_OPTION);
    EXPECT_EQ(GetU16(Code, Option + 4), I);
    EXPECT_EQ(Code[Option + 6], I == 1 ? IFR_FLAG_DEFAULT : 0);
  }
  EXPECT_EQ(Code[Code.size() - 2], IFR_OP_END_ONE_OF);
  // Opcodes whose length would not fit the length byte are refused.
  EXPECT_NO_THROW(Ifr.EqIdList(0, 1, std::vector<uint16_t>(124, 1)));  // 7 + 248 = 255
  EXPECT_THROW(Ifr.EqIdList(0, 1, std::vector<uint16_t>(125, 1)), std::length_error);
  EXPECT_THROW(Ifr.VarStore(kVariable, 1, 1, std::string(240, 'x')), std::length_error);
}

// Length fields written on purpose to disagree with their bytes, and the
// pack order that puts the IFR last: every other byte stays as it was.
TEST(DataTable, LengthOverridesChangeOnlyTheirFields) {
  auto Build = [](const std::function<void(DataTableBuilder &)> &Skew) {
    DataTableBuilder Table(kPackage, {"fra", "eng"});
    Table.VariablePack(kVariable, 1, u"One");
    Table.Ifr().Form(1, u"Main").CheckBox(0, 1, u"Box").EndForm();
    Skew(Table);
    return Table.Build();
  };
  const Bytes Plain = Build([](DataTableBuilder &) {});
  const size_t Variable = GetU32(Plain, TABLE_VARIABLE_OFFSET);
  const size_t Ifr = GetU32(Plain, TABLE_IFR_OFFSET);
  const size_t English = StringPackOf(Plain, "eng");
  struct Case {
    const char *Name;
    std::function<void(DataTableBuilder &)> Skew;
    size_t Field;
    uint32_t Expected;
  };
  const Case Cases[] = {
      {"table size +2", [](DataTableBuilder &T) { T.TableSize(LengthField::Plus(2)); }, TABLE_SIZE,
       static_cast<uint32_t>(Plain.size() + 2)},
      {"IFR pack -1", [](DataTableBuilder &T) { T.IfrPackLength(LengthField::Plus(-1)); }, Ifr,
       GetU32(Plain, Ifr) - 1},
      {"eng pack exactly 0", [](DataTableBuilder &T) { T.StringPackLength("eng", LengthField::Exactly(0)); }, English,
       0},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    Bytes Skewed = Build(C.Skew);
    ASSERT_EQ(Skewed.size(), Plain.size());
    EXPECT_EQ(GetU32(Skewed, C.Field), C.Expected);
    PutU32(Skewed, C.Field, GetU32(Plain, C.Field));
    EXPECT_EQ(Skewed, Plain);
  }
  DataTableBuilder Zero(kPackage);
  Zero.VariablePack(kVariable, 1, u"One", LengthField::Exactly(0));
  EXPECT_EQ(GetU32(Zero.Build(), Variable), 0u);
  EXPECT_THROW(Build([](DataTableBuilder &T) { T.IfrPackLength(LengthField::Plus(-100)); }), std::out_of_range);

  // IFR last: the strings move up, the IFR pack ends the table.
  const Bytes Last = Build([](DataTableBuilder &T) { T.Layout(PackOrder::VariablesStringsIfr); });
  const size_t IfrLast = GetU32(Last, TABLE_IFR_OFFSET);
  EXPECT_EQ(IfrLast + GetU32(Last, IfrLast), Last.size());
  EXPECT_EQ(GetU32(Last, TABLE_STRING_OFFSET), Variable + GetU32(Plain, Variable));
  EXPECT_EQ(IfrOf(Last), IfrOf(Plain));
}

TEST(VariableImageTest, ValuesLittleEndianAndBoundsChecked) {
  VariableImage Image(8);
  Image.Set(0, 1, 0xAB).Set(1, 2, 0x1234).Set(4, 4, 0xCAFEF00D);
  EXPECT_EQ(Image.Data(), (Bytes{0xAB, 0x34, 0x12, 0, 0x0D, 0xF0, 0xFE, 0xCA}));
  EXPECT_EQ(Image.Get(1, 2), 0x1234u);
  EXPECT_THROW(Image.Set(7, 2, 1), std::out_of_range);  // straddles the end
  EXPECT_THROW(Image.Set(0, 1, 0x100), std::out_of_range);
  EXPECT_THROW(Image.Set(0, 3, 1), std::invalid_argument);
  EXPECT_THROW(Image.Get(8, 1), std::out_of_range);
}

TEST(GuidText, RoundTripsAndRejectsMalformedText) {
  EFI_GUID Parsed{};
  EXPECT_EQ(GuidToString(gFrameworkHiiProtocolGuid), "{EA816D2C-CEE5-4F02-99B5-D3905CBBD077}");
  ASSERT_TRUE(ParseGuid("d7ad636e-b997-459b-bf3f-8846897980e1", Parsed));
  EXPECT_TRUE(GuidsEqual(Parsed, gFrameworkHiiLaterProtocolGuid));
  for (const char *Bad : {"", "{D7AD636E-B997-459B-BF3F-8846897980E}", "D7AD636EXB997-459B-BF3F-8846897980E1",
                          "{G7AD636E-B997-459B-BF3F-8846897980E1}"})
    EXPECT_FALSE(ParseGuid(Bad, Parsed)) << Bad;
}

}  // namespace
