// LoadSettingsFromIni on the sample platform: which keys it reads, what it
// writes and refuses, the serial-port check, and the reload-and-retry.
#include "ini/ini_parser_bridge.h"
#include "settings/reload_flags.h"
#include "tests/ini/ini_fixture.h"

#include "driver/image_state.h"
#include "ini/ini_access.h"
#include "settings/settings_engine.h"

namespace {

// The text with the value of the first line whose key is Key (after
// From, when given) replaced; the rest of the line stays.
std::string WithValue(std::string Text, const std::string &Key, const std::string &Value, const std::string &From = "") {
  const size_t Start = From.empty() ? 0 : Text.find(From);
  const size_t Line = Text.find("\n" + Key + "=", Start == std::string::npos ? 0 : Start);
  EXPECT_NE(Line, std::string::npos) << Key;
  if (Line == std::string::npos) return Text;
  const size_t ValueStart = Line + 1 + Key.size() + 1;
  const size_t ValueEnd = Text.find_first_of(" ;\n", ValueStart);
  return Text.replace(ValueStart, ValueEnd - ValueStart, Value);
}

class IniImport : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    ASSERT_EQ(Save("saved.ini"), EFI_SUCCESS);
    Saved = ReadIni("saved.ini");
  }
  EFI_STATUS LoadText(const std::string &Text) {
    WriteIni("edited.ini", Text);
    return Load("edited.ini");
  }
  std::string Saved;
};

TEST_F(IniImport, ASavedFileLoadsBackWithoutWritingAnything) {
  const uint64_t Writes = SetVariableCalls();
  const uint64_t Loads = ParserLoads();
  EXPECT_EQ(Load("saved.ini"), EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(ParserLoads() - Loads, 1u);
  EXPECT_EQ(Load("saved.ini"), EFI_SUCCESS);
  EXPECT_EQ(ParserLoads() - Loads, 1u) << "the parser image stays loaded for every later lookup";
}

TEST_F(IniImport, ValuesAreReadAsDecimalNumbersFromTheirKeys) {
  std::string Text = WithValue(Saved, "Quiet Boot", "0   ");           // trailing blanks: 0
  Text = WithValue(Text, "Wake on LAN", "Enabled");                     // no digits: 0
  Text = WithValue(Text, "Fan PWM Offset", "0x10");                     // stops at the x: 0, as stored
  Text = WithValue(Text, "Power Restore Policy", "2");
  const uint64_t Writes = SetVariableCalls();
  ASSERT_EQ(LoadText(Text), EFI_SUCCESS);
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u);
  EXPECT_EQ(SampleStored(u"Wake on LAN", 2), 0u);
  EXPECT_EQ(SampleStored(u"Fan PWM Offset", 27), 0u);
  EXPECT_EQ(SampleStored(u"Power Restore Policy", 2), 2u);
  EXPECT_EQ(SetVariableCalls() - Writes, 3u) << "one write per changed value";
}

TEST_F(IniImport, AnOutOfRangeValueStopsTheRunAfterEarlierWrites) {
  std::string Text = WithValue(Saved, "Quiet Boot", "0");
  Text = WithValue(Text, "POST Error Pause", "1");
  Text = WithValue(Text, "NumLock State at Boot", "9");
  Text = WithValue(Text, "Wake on LAN", "0");
  EXPECT_EQ(LoadText(Text), BCFG_INI_E_OUT_OF_RANGE);
  EXPECT_EQ(ErrorText(), u"\nData for BIOS Var NumLock State at Boot is out of range in INI file\n");
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u);
  EXPECT_EQ(SampleStored(u"POST Error Pause", 1), 1u);
  EXPECT_EQ(SampleStored(u"Wake on LAN", 2), 1u) << "not reached";
}

TEST_F(IniImport, AFailedWriteStopsTheRunWithItsText) {
  Fw().FailNthCall(sim::Service::SetVariable, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(LoadText(WithValue(Saved, "Quiet Boot", "0")), BCFG_INI_E_SET_FAILED);
  EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable Quiet Boot through INI file\n");
}

TEST_F(IniImport, SerialPortsMayNotShareAnAddressOrAnIrq) {
  const std::string PortB = "SERIAL B ENABLE]";
  // Port B given port A's address, in other letter case: refused whole.
  std::string Clash = WithValue(Saved, "Address", "1016", PortB);
  Clash = WithValue(Clash, "Quiet Boot", "0");
  const uint64_t Writes = SetVariableCalls();
  EXPECT_EQ(LoadText(Clash), BCFG_INI_E_SERIAL_CONFLICT);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(LoadText(WithValue(WithValue(Saved, "Address", "3f8h"), "Address", "3F8H", PortB)),
            BCFG_INI_E_SERIAL_CONFLICT);
  EXPECT_EQ(LoadText(WithValue(Saved, "IRQ", "4", PortB)), BCFG_INI_E_SERIAL_CONFLICT);

  // With only port A's section, nothing can clash: the run goes on.
  const size_t B = Clash.find("\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE]");
  ASSERT_NE(B, std::string::npos);
  const size_t Next = Clash.find("\n[", B + 1);
  std::string OnlyA = Clash;
  OnlyA.erase(B, Next - B);
  EXPECT_EQ(LoadText(OnlyA), EFI_SUCCESS);
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u);
}

TEST_F(IniImport, FilesWithoutABiosBlockAndHiddenQuestionsWriteNothing) {
  EXPECT_EQ(Load("no-such-file.ini"), BCFG_INI_E_BIOS_SECTION);
  EXPECT_EQ(LoadText("[OTHER]\nQuiet Boot=0\n"), BCFG_INI_E_BIOS_SECTION);

  // A suppressed question is never written, whatever the mode and the file.
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 1), EFI_SUCCESS);
  const uint64_t Writes = SetVariableCalls();
  EXPECT_EQ(LoadText(Saved + "\n[BIOS::SERVER MANAGEMENT::CONSOLE REDIRECTION]\nBaud Rate=1\n"
                             "\n[BIOS::BOOT OPTIONS]\nVexon Swift Boot=1\n"),
            EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(SampleStored(u"Baud Rate", 41), 4u);
  EXPECT_EQ(SampleStored(u"Vexon Swift Boot", 6), 0u);

  // A form the export leaves out is still read from a hand-written section.
  EXPECT_EQ(LoadText(Saved + "\n[BIOS::BOOT OPTIONS]\nBoot Mode=1\n"), EFI_SUCCESS);
  EXPECT_EQ(SampleStored(u"Boot Mode", 6), 1u);
}

TEST_F(IniImport, SwitchingConsoleRedirectionOnWritesTheRestOfItsFormAfterTheReload) {
  const std::string Form = "CONSOLE REDIRECTION]";
  std::string Text = WithValue(Saved, "Console Redirection", "1", Form);
  // Baud Rate is suppressed until redirection is on: the export left it out.
  const size_t Line = Text.find('\n', Text.find("\nConsole Redirection=1")) + 1;
  Text.insert(Line, "Baud Rate=2\n");
  Text = WithValue(Text, "Quiet Boot", "0");
  ASSERT_EQ(LoadText(Text), EFI_SUCCESS);
  EXPECT_EQ(SampleStored(u"Console Redirection", 41), 1u);
  EXPECT_EQ(SampleStored(u"Baud Rate", 41), 2u) << "written by the second pass, on the rebuilt forms";
  EXPECT_EQ(SampleStored(u"Quiet Boot", 1), 0u);
  EXPECT_EQ(gReloadFlags.ReloadRequired, 0);
  EXPECT_EQ(gReloadFlags.DeferAfterReloadChange, 0);

  // Back to 0 reshapes nothing.
  const uint64_t Loads = Fw().Calls(sim::Service::HiiExportDatabase);
  ASSERT_EQ(LoadText(WithValue(Saved, "Console Redirection", "0", Form)), EFI_SUCCESS);
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), Loads);
}

// A form whose question moves when "Console Redirection" (offset 0) is
// switched on: Terminal @1 while it is 0, @2 while it is 1. Its prompt has
// leading blanks, as some setup screens indent dependent questions.
TEST_F(IniImport, FormsAfterTheReshapingOneAreWrittenInTheFirstPass) {
  // Quiet Boot (Main), Console Redirection (its form), Fan Speed Monitoring
  // (Hardware Monitor, after it): the first pass writes all three, so the
  // third write of the call is Fan Speed Monitoring's.
  // Baud Rate, which only the second pass sees, would be the third
  // otherwise.
  std::string Text = WithValue(Saved, "Console Redirection", "1", "CONSOLE REDIRECTION]");
  Text.insert(Text.find('\n', Text.find("\nConsole Redirection=1")) + 1, "Baud Rate=2\n");
  Text = WithValue(WithValue(Text, "Quiet Boot", "0"), "Fan Speed Monitoring", "0");
  Fw().FailNthCall(sim::Service::SetVariable, 3, EFI_DEVICE_ERROR);
  EXPECT_EQ(LoadText(Text), BCFG_INI_E_SET_FAILED);
  EXPECT_EQ(ErrorText(), u"\nError in setting BIOS Variable Fan Speed Monitoring through INI file\n");
  EXPECT_EQ(gReloadFlags.ReloadRequired, 1) << "set before the failure, kept after it";
}

class MovingIniQuestions : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    hiibuild::VariableImage Setup(4);
    UsePlatform(TestExport([](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(12, u"Console Redirection")
                      .OneOfWithOptions(0, 1, u"  Console Redirection", {{u"Off", 0}, {u"On", 1}}, 0);
                  Ifr.SuppressIf().EqIdVal(0, 1, 1).CheckBox(1, 1, u"  Terminal").EndIf();
                  Ifr.SuppressIf().EqIdVal(0, 1, 0).CheckBox(2, 1, u"  Terminal").EndIf();
                  Ifr.EndForm();
                }),
                {{u"Setup", Setup}}, kTestFormSetGuid);
  }
  uint32_t At(size_t Offset) { return Stored(u"Setup", kTestFormSetGuid, Offset, 1); }
};

TEST_F(MovingIniQuestions, KeysDropLeadingBlanksAndTheFormWaitsForTheReload) {
  ASSERT_EQ(Save("moving.ini"), EFI_SUCCESS);
  const std::string Saved = ReadIni("moving.ini");
  EXPECT_NE(Saved.find("\n  Console Redirection=0 "), std::string::npos) << "exported with its blanks";
  WriteIni("moving.ini", "[BIOS]\n[BIOS::CONSOLE REDIRECTION]\nConsole Redirection=1\nTerminal=1\n");
  ASSERT_EQ(Load("moving.ini"), EFI_SUCCESS);
  EXPECT_EQ(At(0), 1u);
  EXPECT_EQ(At(1), 0u) << "the first pass passes over the rest of the form";
  EXPECT_EQ(At(2), 1u) << "the second pass writes the question where it is now";
}

class IniWithoutParser : public SettingsTest {};

TEST_F(IniWithoutParser, EveryLookupFailsAndTheImportWritesNothing) {
  ASSERT_EQ(Proto()->SaveSettingsToIni(Proto(), const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>("s.ini"))),
            EFI_SUCCESS);
  const uint64_t Writes = SetVariableCalls();
  EXPECT_EQ(Proto()->LoadSettingsFromIni(Proto(), const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>("s.ini"))),
            EFI_SUCCESS);
  EXPECT_EQ(SetVariableCalls(), Writes);
  EXPECT_EQ(gIniParser.IniParserImage, nullptr) << "the next lookup tries again";
}

}  // namespace
