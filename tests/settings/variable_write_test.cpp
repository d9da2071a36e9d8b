// What reaches a setup variable when a change is written, and what never
// does: the write-back keeps the variable's size and attributes, touches
// only the question's bytes, and refuses whatever it cannot do safely.
#include "tests/settings/settings_fixture.h"

namespace {

// "Setup" (16 bytes, attributes 0x7): Low (checkbox, offset 2) and Wide
// (numeric without options, width 4 at offset 10) on form "Writes".
class VariableWrites : public SettingsTest {
 protected:
  void SetUp() override {
    SettingsTest::SetUp();
    hiibuild::VariableImage Setup(16);
    for (size_t I = 0; I < 16; ++I) Setup.Set(I, 1, 0xA0 + static_cast<uint32_t>(I));
    Setup.Set(2, 1, 0);
    UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(1, u"Writes")
                      .CheckBox(2, 1, u"Low")
                      .Numeric(10, 4, u"Wide", {.Minimum = 0, .Maximum = 0, .Step = 0})
                      .EndForm();
                }),
                {{u"Setup", Setup}}, kTestFormSetGuid);
    // Load the forms as they are now; the tests then change the firmware.
    RequestList Warm({u"Low"});
    ASSERT_EQ(Get(Warm), EFI_SUCCESS);
    ASSERT_EQ(Warm[0].Found, 1);
    Original = Fw().FindVariable(u"Setup", kTestFormSetGuid)->Data;
  }
  std::vector<uint8_t> Now() {
    auto V = Fw().FindVariable(u"Setup", kTestFormSetGuid);
    return V ? V->Data : std::vector<uint8_t>{};
  }
  void Replace(std::vector<uint8_t> Data, UINT32 Attributes = 0x7) {
    Fw().PutVariable(u"Setup", kTestFormSetGuid, Attributes, Data);
  }
  std::vector<uint8_t> Original;
};

TEST_F(VariableWrites, OnlyTheQuestionsBytesChangeAndTheRestIsWrittenBackAsRead) {
  ValueList L({{u"Low", 1}, {u"Wide", 0x11223344}});
  ASSERT_EQ(Set(L), EFI_SUCCESS);
  std::vector<uint8_t> Expected = Original;
  Expected[2] = 1;
  Expected[10] = 0x44, Expected[11] = 0x33, Expected[12] = 0x22, Expected[13] = 0x11;
  EXPECT_EQ(Now(), Expected);
  EXPECT_EQ(Fw().FindVariable(u"Setup", kTestFormSetGuid)->Attributes, 0x7u);

  // Grown since the forms were read: written back at its new size.
  std::vector<uint8_t> Longer = Expected;
  Longer.resize(40, 0x5A);
  Replace(Longer);
  ValueList Again({{u"Low", 0}});
  ASSERT_EQ(Set(Again), EFI_SUCCESS);
  Longer[2] = 0;
  EXPECT_EQ(Now(), Longer) << "never shortened to the size seen at load";
}

TEST_F(VariableWrites, RefusalsWriteNothingAndNameTheQuestion) {
  struct Case {
    const char *Why;
    std::vector<uint8_t> Data;  // empty: the variable is gone
    UINT32 Attributes;
    const char16_t *Name;
  } Cases[] = {
      {"variable deleted since the forms were read", {}, 0x7, u"Low"},
      {"variable shorter than the question's bytes", std::vector<uint8_t>(12, 0), 0x7, u"Wide"},
      {"attributes that would make the write a delete", std::vector<uint8_t>(16, 0), 0x1, u"Low"},
  };
  for (const Case &C : Cases) {
    if (C.Data.empty()) {
      Fw().ClearVariables();
    } else {
      Replace(C.Data, C.Attributes);
    }
    const uint64_t Writes = SetVariableCalls();
    for (bool FormPath : {false, true}) {
      ValueList L = FormPath ? ValueList({{u"Writes", 0}, {C.Name, 1}}) : ValueList({{C.Name, 1}});
      EXPECT_EQ(FormPath ? SetForm(L) : Set(L), BCFG_E_VARIABLE_ACCESS) << C.Why;
      EXPECT_EQ(L.Statuses().back(), 0) << C.Why;
      EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable " + std::u16string(C.Name) + u"\n") << C.Why;
    }
    EXPECT_EQ(SetVariableCalls(), Writes) << C.Why;
    EXPECT_EQ(Now(), C.Data) << C.Why;
  }
}

TEST_F(VariableWrites, AFailingSetVariableEndsTheCallAndKeepsEarlierWrites) {
  ValueList L({{u"Low", 1}, {u"Wide", 7}});
  Fw().FailNthCall(sim::Service::SetVariable, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(Set(L), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(L.Statuses(), (std::vector<int>{1, 0}));
  EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable Wide\n");
  EXPECT_EQ(Now()[2], 1) << "the first write stays";
  EXPECT_EQ(Now()[10], Original[10]);

  ValueList Form({{u"Writes", 0}, {u"Low", 0}});
  Fw().FailNthCall(sim::Service::SetVariable, 1, EFI_WRITE_PROTECTED);
  EXPECT_EQ(SetForm(Form), BCFG_E_VARIABLE_ACCESS);
  EXPECT_EQ(Form.Statuses(), (std::vector<int>{1, 0}));
  EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable Low\n");
}

TEST_F(VariableWrites, EachChangeReadsItsVariableOnce) {
  const uint64_t Reads = Fw().Calls(sim::Service::GetVariable);
  ValueList L({{u"Low", 1}, {u"Wide", 9}});
  ASSERT_EQ(Set(L), EFI_SUCCESS);
  EXPECT_EQ(Fw().Calls(sim::Service::GetVariable) - Reads, 2u);
}

}  // namespace
