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

TEST_F(VariableStoreTest, UnusablePacksAreSkippedOrStopTheTable) {
  // A type-6 pack whose name has no NUL inside the pack, and a pack of
  // another type: neither is recorded, and the last usable pack names the
  // variable.
  hiibuild::ByteWriter Unterminated;
  Unterminated.U32(28 + 4).U16(6).Guid(kFormSetGuid).U32(4).U16(3).U16(u'X').U16(u'Y');
  hiibuild::ByteWriter OtherType;
  OtherType.U32(28 + 4).U16(5).Guid(kFormSetGuid).U32(4).U16(4).U16(u'Z').U16(0);
  ExportBuilder Export;
  DataTableBuilder &Table = Export.AddTable(kFormSetGuid);
  Table.VariablePack(kFormSetGuid, 1, u"Good").RawVariablePack(Unterminated.Data()).RawVariablePack(OtherType.Data());
  Table.Ifr().FormSet(kFormSetGuid, u"Setup").Form(1, u"Main").VarStoreSelect(3).CheckBox(0, 1, u"Q").EndForm();
  // A table whose first pack is not a variable pack is passed over whole.
  DataTableBuilder &Skipped = Export.AddTable(kOtherGuid);
  Skipped.RawVariablePack(OtherType.Data()).VariablePack(kOtherGuid, 1, u"Good");
  Skipped.Ifr().FormSet(kOtherGuid, u"Other").Form(2, u"Skipped").CheckBox(0, 1, u"Never").EndForm();
  PutVariable(u"Good", kFormSetGuid, Bytes{9});
  Load(Export);
  auto All = Records();
  ASSERT_EQ(All.size(), 2u);
  EXPECT_EQ(NameOf(All[1]->VariableName), u"Good");
  EXPECT_EQ(All[1]->Value, 9u);
}

}  // namespace
}  // namespace forms_test
