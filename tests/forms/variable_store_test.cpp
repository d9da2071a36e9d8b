// The variable context: variable packs, varstore selection, and how values
// of each width are read at and beyond the end of their variable.
#include "forms_fixture.h"

namespace forms_test {
namespace {

using VariableStoreTest = FormsTest;

// Packs One (id 1, under kOtherGuid) and Two (id 2, under kFormSetGuid),
// each variable holding its own marker byte at offset 0.
IfrBuilder &TwoPacks(ExportBuilder &Export) {
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kOtherGuid, 1, u"One").VariablePack(kFormSetGuid, 2, u"Two");
  return Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main");
}

TEST_F(VariableStoreTest, LastPackIsTheDefaultAndVarstoreOpcodesSelectPacks) {
  // A first table without packs uses "Setup" under the form set's GUID.
  PutSetup(Bytes{0, 0, 0x44, 0});
  ExportBuilder Export;
  StartForms(Export).CheckBox(2, 1, u"Switch").EndForm().EndFormSet();
  PutVariable(u"One", kOtherGuid, Bytes{0x11, 0});
  PutVariable(u"Two", kFormSetGuid, Bytes{0x22, 0});
  PutVariable(u"Two", kOtherGuid, Bytes{0x33, 0});
  TwoPacks(Export)
      .CheckBox(0, 1, u"Default")  // the last pack's name under the form set's GUID
      .VarStoreSelect(1).CheckBox(0, 1, u"On one")
      .VarStoreSelect(9).CheckBox(0, 1, u"Still one")  // no such pack: nothing changes
      .VarStoreSelectPair(2, 1).CheckBox(0, 1, u"On two")  // only the first id counts
      .EndForm().EndFormSet()
      .CheckBox(0, 1, u"After the form set");  // the first pack again
  Load(Export);
  const std::vector<std::pair<std::u16string, uint32_t>> Expected = {
      {u"Setup", 0x44}, {u"Two", 0x22}, {u"One", 0x11}, {u"One", 0x11}, {u"Two", 0x22}, {u"One", 0x11}};
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), Expected.size());
  for (size_t I = 0; I < Kept.size(); ++I) {
    EXPECT_EQ(NameOf(Kept[I]->VariableName), Expected[I].first) << I;
    EXPECT_EQ(Kept[I]->Value, Expected[I].second) << I;
  }
  EXPECT_TRUE(SameGuid(Kept[0]->VariableGuid, kFormSetGuid));
  EXPECT_EQ(Kept[0]->VariableSize, 4u);
  EXPECT_EQ(Kept[0]->VariableAttributes, kAttributes);
  EXPECT_TRUE(SameGuid(Kept[1]->VariableGuid, kFormSetGuid));
  EXPECT_TRUE(SameGuid(Kept[2]->VariableGuid, kOtherGuid));
}

TEST_F(VariableStoreTest, SelectingIdZeroFollowsTheChainOfPacksWithIdZero) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 0, u"Zero").VariablePack(kFormSetGuid, 5, u"Five");
  Table.VariablePack(kFormSetGuid, 7, u"Seven");
  PutVariable(u"Zero", kFormSetGuid, Bytes{1});
  PutVariable(u"Five", kFormSetGuid, Bytes{5});
  PutVariable(u"Seven", kFormSetGuid, Bytes{7});
  Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").VarStoreSelect(0).CheckBox(0, 1, u"Q").EndForm();
  Load(Export);
  // Id 0 matches the first pack, whose own id 0 leaves the wanted id 0, so
  // the second pack's id 5 is adopted and it is selected as well.
  ASSERT_EQ(Questions().size(), 1u);
  EXPECT_EQ(NameOf(Questions()[0]->VariableName), u"Five");
  EXPECT_EQ(Questions()[0]->Value, 5u);
}

TEST_F(VariableStoreTest, ValuesOfEachWidthAtAndBeyondTheVariablesEnd) {
  struct Case {
    uint16_t Offset;
    uint8_t Width;
    uint16_t ExpectedWidth, ExpectedOffset;
    uint32_t ExpectedValue;
  };
  const Case Cases[] = {
      {0, 2, 2, 0, 0x2211}, {0, 4, 4, 0, 0x44332211}, {1, 3, 3, 1, 0}, {6, 4, 4, 6, 0x8877},
      {8, 1, 1, 8, 0},      {9, 1, 0, 0, 0},          {0xFFFF, 4, 0, 0, 0},
  };
  ExportBuilder Export;
  IfrBuilder &Ifr = StartForms(Export);
  for (const Case &C : Cases) Ifr.Numeric(C.Offset, C.Width, u"N", {0, 0, 0, 0});
  Ifr.EndForm().EndFormSet();
  PutSetup(Bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88});
  Load(Export);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), std::size(Cases));
  for (size_t I = 0; I < Kept.size(); ++I) {
    SCOPED_TRACE(testing::Message() << "offset " << Cases[I].Offset << " width " << int(Cases[I].Width));
    EXPECT_EQ(Kept[I]->Width, Cases[I].ExpectedWidth);
    EXPECT_EQ(Kept[I]->Offset, Cases[I].ExpectedOffset);
    EXPECT_EQ(Kept[I]->Value, Cases[I].ExpectedValue);
  }
}

TEST_F(VariableStoreTest, MoreThan32PacksRecordsOnlyTheFirst32) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  for (uint16_t Id = 1; Id <= 40; ++Id) {
    std::u16string Name = u"V" + std::u16string(1, static_cast<char16_t>(u'A' + Id - 1));
    Table.VariablePack(kFormSetGuid, Id, Name);
    PutVariable(Name, kFormSetGuid, Bytes{static_cast<uint8_t>(Id)});
  }
  Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"Default");
  Table.Ifr().VarStoreSelect(36).CheckBox(0, 1, u"Unrecorded id").VarStoreSelect(3).CheckBox(0, 1, u"Third");
  Load(Export);
  auto Kept = Questions();
  ASSERT_EQ(Kept.size(), 3u);
  EXPECT_EQ(Kept[0]->Value, 32u);
  EXPECT_EQ(Kept[1]->Value, 32u);
  EXPECT_EQ(Kept[2]->Value, 3u);
}

// A variable pack's length is only the step to the next pack: a wrong one
// costs the packs it steps over, never the pack itself or the table.
TEST_F(VariableStoreTest, PackLengthsAreOnlyTheStepToTheNextPack) {
  using hiibuild::LengthField;
  using Names = std::vector<std::u16string>;
  struct Case {
    const char *Name;
    LengthField One, Two;
    Names Expected;  // the default store, then after selecting ids 1, 2 and 3
  };
  const Case Cases[] = {
      {"right lengths", {}, {}, {u"Three", u"One", u"Two", u"Three"}},
      {"first length 0: the walk stays on it", LengthField::Exactly(0), {}, {u"One", u"One", u"One", u"One"}},
      {"first length below its header", LengthField::Exactly(3), {}, {u"One", u"One", u"One", u"One"}},
      {"second length 0", {}, LengthField::Exactly(0), {u"Two", u"One", u"Two", u"Two"}},
      {"second length below its header", {}, LengthField::Exactly(7), {u"Two", u"One", u"Two", u"Two"}},
      {"second length past the export", {}, LengthField::Exactly(0xFFFFFF00u), {u"Two", u"One", u"Two", u"Two"}},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    ExportBuilder Export;
    DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
    Table.VariablePack(kOtherGuid, 1, u"One", C.One).VariablePack(kFormSetGuid, 2, u"Two", C.Two);
    Table.VariablePack(kFormSetGuid, 3, u"Three");
    IfrBuilder &Ifr = Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"Default");
    for (uint16_t Id = 1; Id <= 3; ++Id) Ifr.VarStoreSelect(Id).CheckBox(0, 1, u"Selected");
    LoadBytes(Export.Build());
    EXPECT_EQ(Map([](const SetupQuestion *Q) { return NameOf(Q->VariableName); }, true), C.Expected);
    EXPECT_EQ(Forms().DiscardForms(), EFI_SUCCESS);
  }
}

TEST_F(VariableStoreTest, PacksOfOtherTypesAreSkippedOrStopTheTable) {
  // A type-6 pack whose name has no NUL inside the pack still counts: its
  // name runs on into the next pack's length (0x0020, then 0x0000), as the
  // firmware's own reader would take it. A pack of another type is not
  // recorded, and the walk goes on past it.
  hiibuild::ByteWriter Unterminated;
  Unterminated.U32(28 + 4).U16(6).Guid(kFormSetGuid).U32(4).U16(3).U16(u'X').U16(u'Y');
  hiibuild::ByteWriter OtherType;
  OtherType.U32(28 + 4).U16(5).Guid(kFormSetGuid).U32(4).U16(4).U16(u'Z').U16(0);
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"Good").RawVariablePack(Unterminated.Data()).RawVariablePack(OtherType.Data());
  Table.VariablePack(kFormSetGuid, 5, u"Last");
  IfrBuilder &Ifr = Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"Default");
  Ifr.VarStoreSelect(3).CheckBox(0, 1, u"Pack 3").VarStoreSelect(4).CheckBox(0, 1, u"No pack 4");
  Ifr.VarStoreSelect(1).CheckBox(0, 1, u"Pack 1").EndForm();
  // A table whose first pack is not a variable pack is passed over whole.
  DataTableBuilder &Skipped = Export.AddTable(kOtherGuid);
  Skipped.RawVariablePack(OtherType.Data()).VariablePack(kOtherGuid, 1, u"Good");
  Skipped.Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Skipped").CheckBox(0, 1, u"Never").EndForm();
  PutVariable(u"Good", kFormSetGuid, Bytes{9});
  PutVariable(u"XY ", kFormSetGuid, Bytes{7});
  PutVariable(u"Last", kFormSetGuid, Bytes{5});
  Load(Export);
  EXPECT_EQ(Prompts(), (std::vector<std::u16string>{u"Main", u"Default", u"Pack 3", u"No pack 4", u"Pack 1"}));
  EXPECT_EQ(Map([](const SetupQuestion *Q) { return NameOf(Q->VariableName); }, true),
            (std::vector<std::u16string>{u"Last", u"XY ", u"XY ", u"Good"}));
  EXPECT_EQ(Map([](const SetupQuestion *Q) { return Q->Value; }, true), (std::vector<uint32_t>{5, 7, 7, 9}));
}

// A first variable pack cut by the end of the export: its type says the
// table can be parsed, but its name cannot be read, so it is not recorded
// and the table's questions keep "Setup".
TEST_F(VariableStoreTest, FirstPackCutByTheEndOfTheExportIsNotRecorded) {
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"Never");
  Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").CheckBox(0, 1, u"Q").VarStoreSelect(1)
      .CheckBox(1, 1, u"After select").EndForm();
  Bytes Image = Export.Build();
  // A copy of the pack, without its name's NUL, ends the export, and the
  // table's variable-pack offset points at it.
  const size_t Pack = 18 + hiibuild::GetU32(Image, 18 + 30);
  const size_t PackLength = hiibuild::GetU32(Image, Pack);
  Image.insert(Image.end(), Image.begin() + Pack, Image.begin() + Pack + PackLength - 2);
  hiibuild::PutU32(Image, 18 + 30, static_cast<uint32_t>(Image.size() - PackLength + 2 - 18));
  PutSetup(Bytes{4, 5});
  LoadBytes(Image);
  EXPECT_EQ(Prompts(), (std::vector<std::u16string>{u"Main", u"Q", u"After select"}));
  EXPECT_EQ(Map([](const SetupQuestion *Q) { return NameOf(Q->VariableName); }, true),
            (std::vector<std::u16string>{u"Setup", u"Setup"}));
  EXPECT_EQ(Map([](const SetupQuestion *Q) { return Q->Value; }, true), (std::vector<uint32_t>{4, 5}));
}

}  // namespace
}  // namespace forms_test
