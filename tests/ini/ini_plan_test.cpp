// LoadSettingsFromIni through the second protocol: a plan writes nothing yet
// lists what the load does, second pass included, and ends as the load
// ends; combined writes give the bytes of one write per question with one
// write per variable; a number that does not fit 32 bits is refused.
#include "settings/reload_flags.h"
#include "tests/ini/ini_fixture.h"
#include "tests/support/step_recorder.h"

#include <map>

namespace {

std::string WithValue(std::string Text, const std::string &Key, const std::string &Value) {
  const size_t Line = Text.find("\n" + Key + "=");
  EXPECT_NE(Line, std::string::npos) << Key;
  if (Line == std::string::npos) return Text;
  const size_t ValueStart = Line + 1 + Key.size() + 1;
  return Text.replace(ValueStart, Text.find_first_of(" ;\n", ValueStart) - ValueStart, Value);
}

// Variables by name and GUID (the sample has two named "Setup").
using VariableBytes = std::map<std::u16string, std::vector<uint8_t>>;
std::u16string KeyOf(const sim::VariableRecord &V) {
  std::u16string Key = V.Name + u"/";
  const auto *G = reinterpret_cast<const uint8_t *>(&V.Guid);
  for (size_t I = 0; I < sizeof V.Guid; ++I) Key.push_back(static_cast<char16_t>(G[I]));
  return Key;
}

class IniPlan : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    ASSERT_EQ(Save("saved.ini"), EFI_SUCCESS);
    Saved = ReadIni("saved.ini");
  }
  // Console Redirection switched on, Baud Rate (there only once it is on)
  // set to BaudRate, Quiet Boot switched off.
  std::string Reshaping(const std::string &BaudRate) {
    std::string Text = WithValue(WithValue(Saved, "Quiet Boot", "0"), "Console Redirection", "1");
    Text.insert(Text.find('\n', Text.find("\nConsole Redirection=1")) + 1, "Baud Rate=" + BaudRate + "\n");
    return Text;
  }
  EFI_STATUS Run(const char *File, StepRecorder &Steps, bool Plan) {
    const BIOS_CONFIG_RUN R = Steps.Run(Plan);
    return Extensions()->RunLoadSettingsFromIni(Extensions(), const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>(File)),
                                                &R);
  }
  VariableBytes Variables() {
    VariableBytes All;
    for (const auto &V : Fw().Variables()) All[KeyOf(V)] = V.Data;
    return All;
  }
  std::string Saved;
};

TEST_F(IniPlan, APlanListsBothPassesWritesNothingAndMatchesTheLoad) {
  WriteIni("reshape.ini", Reshaping("2"));
  const VariableBytes Before = Variables();
  const uint64_t Writes = SetVariableCalls();
  StepRecorder Planned;
  ASSERT_EQ(Run("reshape.ini", Planned, true), EFI_SUCCESS);
  ASSERT_EQ(Planned.Steps().size(), 3u);
  EXPECT_EQ(Planned.Steps()[0], "change 1 [BIOS::MAIN] Quiet Boot 1->0");
  EXPECT_NE(Planned.Steps()[1].find("change 1 ["), std::string::npos);
  EXPECT_NE(Planned.Steps()[1].find("] Console Redirection 0->1 reshapes"), std::string::npos);
  EXPECT_NE(Planned.Steps()[2].find("change 2 ["), std::string::npos) << "seen only on the reloaded forms";
  EXPECT_NE(Planned.Steps()[2].find("] Baud Rate 4->2"), std::string::npos);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(Variables(), Before);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 1) << "the plan's retry leaves the driver's flags alone";

  StepRecorder Loaded;
  ASSERT_EQ(Run("reshape.ini", Loaded, false), EFI_SUCCESS);
  EXPECT_EQ(Loaded.Steps(), Planned.Steps());
  EXPECT_EQ(SampleStored(u"Baud Rate", 41), 2u);
  EXPECT_EQ(SampleStored(u"Console Redirection", 41), 1u);
}

TEST_F(IniPlan, ARefusalBehindAReshapingChangeIsPlannedWhereTheLoadStops) {
  WriteIni("refused.ini", Reshaping("9"));
  StepRecorder Planned;
  EXPECT_EQ(Run("refused.ini", Planned, true), BCFG_INI_E_OUT_OF_RANGE);
  const std::u16string PlannedText = ErrorText();
  EXPECT_EQ(PlannedText, u"\nData for BIOS Var Baud Rate is out of range in INI file\n");
  ASSERT_FALSE(Planned.Steps().empty());
  EXPECT_NE(Planned.Steps().back().find("refuse 2 ["), std::string::npos);
  EXPECT_EQ(SampleStored(u"Console Redirection", 41), 0u);

  StepRecorder Loaded;
  EXPECT_EQ(Run("refused.ini", Loaded, false), BCFG_INI_E_OUT_OF_RANGE);
  EXPECT_EQ(ErrorText(), PlannedText);
  EXPECT_EQ(Loaded.Steps(), Planned.Steps());
  EXPECT_EQ(SampleStored(u"Console Redirection", 41), 1u) << "the first pass was written before the stop";
}

TEST_F(IniPlan, NumbersThatDoNotFit32BitsAreRefusedNeverWrapped) {
  for (const char *Value : {"4294967296", "99999999999999999999", "-2147483649"}) {
    SCOPED_TRACE(Value);
    WriteIni("wide.ini", WithValue(Saved, "Quiet Boot", Value));
    const uint64_t Writes = SetVariableCalls();
    StepRecorder Planned;
    EXPECT_EQ(Run("wide.ini", Planned, true), BCFG_INI_E_OUT_OF_RANGE);
    EXPECT_EQ(Planned.Steps(), std::vector<std::string>{"refuse 1 [BIOS::MAIN] Quiet Boot 1->0 too-wide"});
    EXPECT_EQ(Load("wide.ini"), BCFG_INI_E_OUT_OF_RANGE);
    EXPECT_EQ(ErrorText(), u"\nData for BIOS Var Quiet Boot is out of range in INI file\n");
    EXPECT_EQ(SetVariableCalls(), Writes);
    EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 1u);
  }
  // The widest numbers that fit are read, not refused as too wide.
  WriteIni("fits.ini", WithValue(Saved, "Quiet Boot", "4294967295"));
  StepRecorder Planned;
  EXPECT_EQ(Run("fits.ini", Planned, true), BCFG_INI_E_OUT_OF_RANGE);
  EXPECT_EQ(Planned.Steps(), std::vector<std::string>{"refuse 1 [BIOS::MAIN] Quiet Boot 1->4294967295"});
}

// Ten changes over the sample's variables: with combined writes each
// changed variable is read once and written once, and the bytes end as one
// write per question leaves them.
TEST_F(IniPlan, CombinedWritesGiveTheSameBytesWithOneWritePerVariable) {
  std::string Text = Saved;
  for (const char *Key : {"Quiet Boot", "Wake on LAN", "Fan Speed Monitoring", "Voltage Monitoring"}) {
    Text = WithValue(Text, Key, "0");
  }
  Text = WithValue(Text, "Power Restore Policy", "2");
  WriteIni("many.ini", Text);
  const VariableBytes Start = Variables();

  ASSERT_EQ(Load("many.ini"), EFI_SUCCESS);
  const VariableBytes PerQuestion = Variables();
  const uint64_t PerQuestionWrites = SetVariableCalls();
  ASSERT_NE(PerQuestion, Start);

  for (const auto &V : Fw().Variables()) Fw().PutVariable(V.Name, V.Guid, V.Attributes, Start.at(KeyOf(V)));
  ASSERT_EQ(ReloadDriver(), EFI_SUCCESS);
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), EFI_SUCCESS);
  ASSERT_EQ(Proto()->GetSettings(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);  // forms loaded
  Fw().ResetCounters();
  ASSERT_EQ(Load("many.ini"), EFI_SUCCESS);
  EXPECT_EQ(Variables(), PerQuestion);
  std::map<std::u16string, int> Changed;
  for (const auto &[Name, Bytes] : PerQuestion) Changed[Name] = Bytes != Start.at(Name);
  int ChangedCount = 0;
  for (const auto &[Name, Is] : Changed) ChangedCount += Is;
  EXPECT_EQ(Fw().Calls(sim::Service::SetVariable), static_cast<uint64_t>(ChangedCount));
  EXPECT_LE(Fw().Calls(sim::Service::GetVariable), static_cast<uint64_t>(ChangedCount));
  EXPECT_LT(static_cast<uint64_t>(ChangedCount), PerQuestionWrites);
}

TEST_F(IniPlan, AFailedCombinedWriteLeavesEachVariableBeforeOrAsIntended) {
  std::string Text = Saved;
  for (const char *Key : {"Quiet Boot", "Fan Speed Monitoring", "Wake on LAN"}) Text = WithValue(Text, Key, "0");
  WriteIni("fail.ini", Text);
  const VariableBytes Start = Variables();
  ASSERT_EQ(Load("fail.ini"), EFI_SUCCESS);
  const VariableBytes Intended = Variables();
  for (uint64_t Failing = 1;; ++Failing) {
    SCOPED_TRACE(Failing);
    for (const auto &V : Fw().Variables()) Fw().PutVariable(V.Name, V.Guid, V.Attributes, Start.at(KeyOf(V)));
    ASSERT_EQ(ReloadDriver(), EFI_SUCCESS);
    ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
    ASSERT_EQ(Extensions()->SetWriteMode(Extensions(), BIOS_CONFIG_WRITES_COMBINED), EFI_SUCCESS);
    Fw().FailNthCall(sim::Service::SetVariable, Failing, EFI_DEVICE_ERROR);
    StepRecorder Steps;
    const EFI_STATUS Status = Run("fail.ini", Steps, false);
    Fw().ClearFaults();
    bool AnyUnwritten = false;
    for (const auto &[Name, Bytes] : Variables()) {
      EXPECT_TRUE(Bytes == Start.at(Name) || Bytes == Intended.at(Name)) << "a variable half-written";
      AnyUnwritten = AnyUnwritten || Bytes != Intended.at(Name);
    }
    if (Status == EFI_SUCCESS) {
      EXPECT_FALSE(AnyUnwritten);
      break;
    }
    EXPECT_EQ(Status, BCFG_INI_E_SET_FAILED);
    EXPECT_TRUE(AnyUnwritten) << "the status says the pass was not all written";
    EXPECT_NE(ErrorText().find(u"through INI file"), std::u16string::npos);
    bool Reported = false;
    for (const std::string &Step : Steps.Steps()) Reported = Reported || Step.find("not-stored") != std::string::npos;
    EXPECT_TRUE(Reported);
  }
}

}  // namespace
