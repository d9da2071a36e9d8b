// Changing questions by prompt: the value check, what reaches the variable
// and what never does, and which questions each change operation may touch.
#include "tests/settings/settings_fixture.h"

namespace {

// One form set with a question for each kind of check. "Setup" is 32 bytes:
//   0 Mode (one-of Off 0 / On 1 / Auto 2, holds 1)   1 Step Five (0..10 step 5)
//   2 Free Byte, 4 Free Word, 8 Free Dword (numeric, step 0: no options)
//   12 Flag (checkbox)   13 Locked (grayed out while Mode is 1)
//   14 Veiled (suppressed while Mode is 1)   16/17 fast-boot prompts, always suppressed
//   20 Other Flag on a second form
class ValueChecks : public SettingsTest {
 protected:
  static constexpr size_t SIZE = 32;
  void SetUp() override {
    SettingsTest::SetUp();
    UsePlatform(Export(), {{u"Setup", Defaults()}}, kTestFormSetGuid);
  }
  static hiibuild::VariableImage Defaults() {
    hiibuild::VariableImage Setup(SIZE);
    Setup.Set(0, 1, 1).Set(1, 1, 5);
    return Setup;
  }
  static hiibuild::Bytes Export() {
    return TestExport([](hiibuild::IfrBuilder &Ifr) {
      Ifr.Form(1, u"Checks")
          .OneOfWithOptions(0, 1, u"Mode", {{u"Off", 0}, {u"On", 1}, {u"Auto", 2}}, 1)
          .Numeric(1, 1, u"Step Five", {.Minimum = 0, .Maximum = 10, .Step = 5})
          .Numeric(2, 1, u"Free Byte", {.Minimum = 0, .Maximum = 0, .Step = 0})
          .Numeric(4, 2, u"Free Word", {.Minimum = 0, .Maximum = 0, .Step = 0})
          .Numeric(8, 4, u"Free Dword", {.Minimum = 0, .Maximum = 0, .Step = 0})
          .CheckBox(12, 1, u"Flag");
      Ifr.GrayOutIf().EqIdVal(0, 1, 1).CheckBox(13, 1, u"Locked").EndIf();
      Ifr.SuppressIf().EqIdVal(0, 1, 1).CheckBox(14, 1, u"Veiled").EndIf();
      Ifr.SuppressIf().EqIdId(0, 1, 0).CheckBox(16, 1, u"Vexon Swift Boot Mode").EndIf();
      Ifr.SuppressIf().EqIdId(0, 1, 0).CheckBox(17, 1, u"vexon swift boot").EndIf();
      Ifr.EndForm();
      Ifr.Form(2, u"Other").CheckBox(20, 1, u"Other Flag").EndForm();
    });
  }
  uint32_t At(size_t Offset, int Width = 1) { return Stored(u"Setup", kTestFormSetGuid, Offset, Width); }
};

TEST_F(ValueChecks, ValuesMustBeAmongTheOptionsUnlessThereAreNone) {
  struct Case {
    const char16_t *Name;
    uint32_t Value;
    EFI_STATUS Result;
    size_t Offset;
    int Width;
    uint32_t StoredAfter;
  } Cases[] = {
      {u"Mode", 2, EFI_SUCCESS, 0, 1, 2},
      {u"Mode", 3, BCFG_E_OUT_OF_RANGE, 0, 1, 2},
      {u"Mode", 0x102, BCFG_E_OUT_OF_RANGE, 0, 1, 2},  // all 32 bits compared
      {u"Step Five", 10, EFI_SUCCESS, 1, 1, 10},
      {u"Step Five", 0, EFI_SUCCESS, 1, 1, 0},
      {u"Step Five", 3, BCFG_E_OUT_OF_RANGE, 1, 1, 0},
      {u"Step Five", 15, BCFG_E_OUT_OF_RANGE, 1, 1, 0},
      {u"Flag", 1, EFI_SUCCESS, 12, 1, 1},
      {u"Flag", 2, BCFG_E_OUT_OF_RANGE, 12, 1, 1},
      {u"Free Byte", 0x1FF, EFI_SUCCESS, 2, 1, 0xFF},  // truncated to the width
      {u"Free Word", 0x12345, EFI_SUCCESS, 4, 2, 0x2345},
      {u"Free Dword", 0xDEADBEEF, EFI_SUCCESS, 8, 4, 0xDEADBEEF},
  };
  for (const Case &C : Cases) {
    ValueList L({{C.Name, C.Value}});
    EXPECT_EQ(Set(L), C.Result) << std::string(C.Name, C.Name + 4) << " " << C.Value;
    EXPECT_EQ(L[0].Status, C.Result == EFI_SUCCESS ? 1 : 2);
    EXPECT_EQ(At(C.Offset, C.Width), C.StoredAfter);
  }
  EXPECT_EQ(At(3), 0u) << "the byte after Free Byte is untouched";
  EXPECT_EQ(ErrorText(), u"") << "SetSettings rejects without a text";
}

TEST_F(ValueChecks, ARejectedValueKeepsEarlierWritesAndSkipsAppliedRecords) {
  // Questions are taken in form order: Mode, Step Five, Free Byte, ... Flag.
  ValueList L({{u"Step Five", 10}, {u"Free Byte", 9}, {u"Flag", 7}, {u"Mode", 2}});
  L[1].Status = BIOS_SETTING_APPLIED;  // entered as applied: passed over
  EXPECT_EQ(Set(L), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 1, 2, 1}));
  EXPECT_EQ(At(0), 2u) << "written before the rejection, and kept";
  EXPECT_EQ(At(1), 10u);
  EXPECT_EQ(At(2), 0u);

  // A record that entered with Status 2 is tried again; applied ones are not.
  L[2].Value = 1;
  L[3].Value = 0;
  EXPECT_EQ(Set(L), EFI_SUCCESS);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 1, 1, 1}));
  EXPECT_EQ(At(12), 1u);
  EXPECT_EQ(At(0), 2u);
}

TEST_F(ValueChecks, AValueAlreadyStoredIsNotWrittenAgain) {
  ValueList L({{u"Mode", 1}, {u"Step Five", 5}, {u"Flag", 0}});
  const uint64_t Before = SetVariableCalls();
  EXPECT_EQ(Set(L), EFI_SUCCESS);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(SetVariableCalls(), Before);
  ValueList Form({{u"Checks", 0}, {u"Mode", 1}});
  EXPECT_EQ(SetForm(Form), EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Before);

  // Compared at the question's width: 0x3FF is what 0x1FF stored.
  ValueList Wide({{u"Free Byte", 0x1FF}});
  EXPECT_EQ(Set(Wide), EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Before + 1);
  ValueList Wider({{u"Free Byte", 0x3FF}});
  EXPECT_EQ(Set(Wider), EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Before + 1);
}

TEST_F(ValueChecks, FlagsDecideWhichQuestionsEachOperationMayChange) {
  // Mode holds 1: Locked is grayed out, Veiled suppressed.
  ValueList Hidden({{u"Locked", 1}, {u"Veiled", 1}});
  EXPECT_EQ(Set(Hidden), EFI_SUCCESS);
  EXPECT_EQ(Hidden.Statuses(), (std::vector<int>{0, 0})) << "no eligible question bears these names";
  EXPECT_EQ(At(13) + At(14), 0u);

  // The fast-boot prompt is a case-sensitive prefix.
  ValueList Fast({{u"Vexon Swift Boot Mode", 1}, {u"vexon swift boot", 1}});
  EXPECT_EQ(Set(Fast), EFI_SUCCESS);
  EXPECT_EQ(Fast.Statuses(), (std::vector<int>{1, 0}));
  EXPECT_EQ(At(16), 1u);
  EXPECT_EQ(At(17), 0u);

  // The form paths know no fast-boot exception.
  ValueList FastForm({{u"Checks", 0}, {u"Vexon Swift Boot Mode", 0}});
  EXPECT_EQ(SetForm(FastForm), EFI_SUCCESS);
  EXPECT_EQ(At(16), 1u);
  RequestList FastGet({u"Checks", u"Vexon Swift Boot Mode"});
  EXPECT_EQ(GetForm(FastGet), EFI_SUCCESS);
  EXPECT_EQ(FastGet[1].Options, nullptr);

  // The form path never changes a grayed-out question, whatever the mode.
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 2), EFI_SUCCESS);
  ValueList Form({{u"Checks", 0}, {u"Locked", 1}});
  EXPECT_EQ(SetForm(Form), EFI_SUCCESS);
  EXPECT_EQ(At(13), 0u);

  // With AllQuestionsMode not 0, SetSettings reaches every question.
  ValueList All({{u"Locked", 1}, {u"Veiled", 1}, {u"vexon swift boot", 1}});
  EXPECT_EQ(Set(All), EFI_SUCCESS);
  EXPECT_EQ(All.Statuses(), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(At(13) + At(14) + At(17), 3u);
}

TEST_F(DuplicatePrompts, OneQuestionTakesEveryRecordOfItsName) {
  // Both records go into the first question, in list order: the last value
  // remains; the second question of that prompt is not changed.
  ValueList L({{u"Twin", 0}, {u"Single", 0}, {u"twin", 1}, {u"TWIN", 0}});
  EXPECT_EQ(Set(L), EFI_SUCCESS);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 1, 1, 1}));
  EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 0, 1), 0u);
  EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 1, 1), 0u) << "the second Twin keeps its value";
  EXPECT_EQ(Stored(u"Setup", kTestFormSetGuid, 2, 1), 0u);
}

TEST_F(ValueChecks, FormPathRules) {
  // Rejected on the path: Status 0 and a text naming the record.
  ValueList Rejected({{u"Checks", 0}, {u"Mode", 2}, {u"Flag", 9}});
  EXPECT_EQ(SetForm(Rejected), BCFG_E_OUT_OF_RANGE);
  EXPECT_EQ(Rejected.Statuses(), (std::vector<int>{1, 1, 0}));
  EXPECT_EQ(ErrorText(), u"\nData for BIOS Var Flag is out of range\n");
  EXPECT_EQ(At(0), 2u);

  // The form ends before the list: written values stay, the title gets 2,
  // and the next form sets every Status back to 0 first.
  ValueList Short({{u"Checks", 0}, {u"Free Byte", 4}, {u"Other Flag", 1}});
  EXPECT_EQ(SetForm(Short), EFI_SUCCESS);
  EXPECT_EQ(Short.Statuses(), (std::vector<int>{2, 0, 0}));
  EXPECT_EQ(At(2), 4u);
  EXPECT_EQ(At(20), 0u);

  // Nothing written: no 2.
  ValueList Nothing({{u"Checks", 0}, {u"No Such Question", 1}});
  EXPECT_EQ(SetForm(Nothing), EFI_SUCCESS);
  EXPECT_EQ(Nothing.Statuses(), (std::vector<int>{0, 0}));

  // Records past the end of the path are left as they are.
  ValueList Whole({{u"Other", 0}, {u"Other Flag", 1}});
  EXPECT_EQ(SetForm(Whole), EFI_SUCCESS);
  EXPECT_EQ(Whole.Statuses(), (std::vector<int>{1, 1}));
  EXPECT_EQ(At(20), 1u);
}

TEST_F(ValueChecks, ListsThatCannotBeWalkedAreRefusedAfterTheFormsLoad) {
  EXPECT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Proto()->GetFormSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Proto()->SetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Proto()->SetFormSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);

  // A list that loops back on itself would keep the driver walking forever.
  ValueList Loop({{u"Checks", 0}, {u"Flag", 1}, {u"Mode", 2}});
  Loop[2].Next = &Loop[1];
  EXPECT_EQ(Set(Loop), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(SetForm(Loop), BCFG_E_INVALID_PARAMETER);
  RequestList Ring({u"Checks", u"Flag"});
  Ring[1].Next = &Ring[0];
  EXPECT_EQ(Get(Ring), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(GetForm(Ring), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(At(12) + At(0), 1u) << "nothing written";

  // Without forms, the forms' failure comes first.
  Fw().SetHiiExport({});
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(Proto()->SetFormSettings(Proto(), nullptr), BCFG_E_VARIABLE_ACCESS);
}

}  // namespace
