// SaveSettingsToIni: the exact text appended, which forms and questions it
// holds, and where the file goes.
#include "tests/ini/ini_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

// Main (1) with a checkbox and a numeric question, Advanced (2) and its
// Serial Port Configuration (21), whose two ports repeat "Address".
class ExampleExport : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    hiibuild::VariableImage Setup(8);
    Setup.Set(0, 1, 1).Set(1, 1, 2).Set(2, 1, 1).Set(3, 2, 1016).Set(5, 1, 0).Set(6, 2, 760);
    const std::vector<hiibuild::OptionEntry> Addresses = {{u"2F8h", 760}, {u"3F8h", 1016}};
    UsePlatform(TestExport([&](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(1, u"Main")
                      .CheckBox(0, 1, u"Example Switch")
                      .Numeric(1, 1, u"Example Delay", {.Minimum = 0, .Maximum = 3, .Step = 1})
                      .EndForm();
                  Ifr.Form(2, u"Advanced").EndForm();
                  Ifr.Form(21, u"Serial Port Configuration")
                      .CheckBox(2, 1, u"Serial A Enable")
                      .OneOfWithOptions(3, 2, u"Address", Addresses, 1016)
                      .CheckBox(5, 1, u"Serial B Enable")
                      .OneOfWithOptions(6, 2, u"Address", Addresses, 760)
                      .EndForm();
                }),
                {{u"Setup", Setup}}, kTestFormSetGuid);
  }
};

constexpr char EXAMPLE_BLOCK[] = R"(
[BIOS]

[BIOS::MAIN]
Example Switch=1                                      ;Options: 1=Enabled: 0=Disabled
Example Delay=2                                       ;Options: 3=0003: 2=0002: 1=0001: 0=0000

[BIOS::ADVANCED]

[BIOS::ADVANCED::SERIAL PORT CONFIGURATION]

[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE]
Serial A Enable=1                                     ;Options: 1=Enabled: 0=Disabled
Address=1016                                          ;Options: 1016=3F8h: 760=2F8h

[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE]
Serial B Enable=0                                     ;Options: 1=Enabled: 0=Disabled
Address=760                                           ;Options: 1016=3F8h: 760=2F8h
)";

TEST_F(ExampleExport, AppendsTheBlockByteForByteAndKeepsWhatTheFileHeld) {
  WriteIni("settings.ini", "; kept\n");
  ASSERT_EQ(Save("settings.ini"), EFI_SUCCESS);
  EXPECT_EQ(ReadIni("settings.ini"), std::string("; kept\n") + EXAMPLE_BLOCK);
  ASSERT_EQ(Save("settings.ini"), EFI_SUCCESS);
  EXPECT_EQ(ReadIni("settings.ini"), std::string("; kept\n") + EXAMPLE_BLOCK + EXAMPLE_BLOCK);
}

TEST_F(ExampleExport, TheFileGoesIntoTheTorvelPathFolderAndLongPathsAreRefused) {
  for (const std::u16string &Folder : {std::u16string(u"fs0:\\tools"), std::u16string(u"fs0:\\tools\\")}) {
    SetTorvelPath(Folder);
    ASSERT_EQ(ReloadDriver(), EFI_SUCCESS);
    ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
    std::filesystem::remove(ToolsDir() + "/joined.ini");
    EXPECT_EQ(Save("joined.ini"), EFI_SUCCESS);
    EXPECT_EQ(ReadIni("joined.ini"), EXAMPLE_BLOCK);
  }
  // fs0:\tools\ (11) + name + 1 may reach 256, not pass it.
  EXPECT_EQ(Save(std::string(244, 'n').c_str()), EFI_SUCCESS);
  EXPECT_EQ(Save(std::string(245, 'n').c_str()), BCFG_E_INVALID_PARAMETER);
  EXPECT_FALSE(std::filesystem::exists(ToolsDir() + "/" + std::string(245, 'n')));
  EXPECT_EQ(Save("missing-folder\\x.ini"), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(ErrorText(), u"") << "the export sets no text";
}

// Forms outside the saved set, a form without a title, prompts that are
// never written, and the serial sections' counter.
class ExportRules : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    hiibuild::VariableImage Setup(16);
    Setup.Set(0, 4, 0xFFFFFFFF).Set(4, 1, 1);
    UsePlatform(TestExport([&](hiibuild::IfrBuilder &Ifr) {
                  Ifr.Form(6, u"Boot").CheckBox(4, 1, u"Boot Switch").EndForm();
                  Ifr.Form(61, u"USB Configuration").CheckBox(4, 1, u"Under Boot").EndForm();
                  Ifr.Form(62, hiibuild::Text::OnlyIn({{"fra", u"Sans titre"}})).CheckBox(4, 1, u"After Untitled").EndForm();
                  Ifr.Form(7, u"Main")
                      .Numeric(0, 4, u"Negative", {.Minimum = 0, .Maximum = 0, .Step = 0})
                      .CheckBox(4, 1, u"Hidden Switch")
                      .CheckBox(4, 1, u"Speed N/A")
                      .CheckBox(4, 1, u"Key of exactly fifty-two characters, padded to 54 xy")
                      .CheckBox(4, 1, u"Key of exactly fifty-three characters, padded to 54 x")
                      .EndForm();
                  Ifr.Form(8, u"Serial Port Configuration")
                      .CheckBox(4, 1, u"Serial Hidden One")
                      .CheckBox(4, 1, u"After It")
                      .CheckBox(4, 1, u"Serial Two")
                      .EndForm();
                  Ifr.Form(9, u"Security").CheckBox(4, 1, u"Serial Elsewhere").EndForm();
                  Ifr.Form(10, u"Serial Port Configuration").CheckBox(4, 1, u"Serial Three").EndForm();
                }),
                {{u"Setup", Setup}}, kTestFormSetGuid);
  }
};

TEST_F(ExportRules, OnlySavedFormsAndWritableQuestionsAppear) {
  ASSERT_EQ(Save("rules.ini"), EFI_SUCCESS);
  const std::string Text = ReadIni("rules.ini");
  const std::string Expected =
      "\n[BIOS]\n"
      // Boot is not saved; its sub-form with a saved title is, and the form
      // without an English title leaves its questions in that section.
      "\n[BIOS::USB CONFIGURATION]\n"
      "Under Boot=1                                          ;Options: 1=Enabled: 0=Disabled\n"
      "After Untitled=1                                      ;Options: 1=Enabled: 0=Disabled\n"
      "\n[BIOS::MAIN]\n"
      "Negative=-1                                           ;Options: N/A\n"
      "Key of exactly fifty-two characters, padded to 54 xy=1;Options: 1=Enabled: 0=Disabled\n"
      "Key of exactly fifty-three characters, padded to 54 x=1;Options: 1=Enabled: 0=Disabled\n"
      "\n[BIOS::SERIAL PORT CONFIGURATION]\n"
      // A prompt with "Hidden" gets no line but still opens its section.
      "\n[BIOS::SERIAL PORT CONFIGURATION::SERIAL HIDDEN ONE]\n"
      "After It=1                                            ;Options: 1=Enabled: 0=Disabled\n"
      "\n[BIOS::SERIAL PORT CONFIGURATION::SERIAL TWO]\n"
      "Serial Two=1                                          ;Options: 1=Enabled: 0=Disabled\n"
      // Outside a serial path a "Serial" prompt is an ordinary key.
      "\n[BIOS::SECURITY]\n"
      "Serial Elsewhere=1                                    ;Options: 1=Enabled: 0=Disabled\n"
      // The serial count runs on across forms: a later serial question
      // replaces the last name instead of adding one.
      "\n[BIOS::SERIAL PORT CONFIGURATION]\n"
      "\n[BIOS::SERIAL THREE]\n"
      "Serial Three=1                                        ;Options: 1=Enabled: 0=Disabled\n";
  EXPECT_EQ(Text, Expected);
}

TEST_F(SettingsTest, SavedQuestionsIgnoreAllQuestionsModeAndKeepLoadTimeValues) {
  ASSERT_EQ(Proto()->SetAllQuestionsMode(Proto(), 1), EFI_SUCCESS);
  ValueList Change({{u"Quiet Boot", 0}});
  ASSERT_EQ(Set(Change), EFI_SUCCESS);
  ASSERT_EQ(Proto()->SaveSettingsToIni(Proto(), const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>("all.ini"))),
            EFI_SUCCESS);
  std::ifstream In(ToolsDir() + "/all.ini");
  std::stringstream Text;
  Text << In.rdbuf();
  EXPECT_EQ(Text.str().find("Baud Rate="), std::string::npos) << "suppressed, whatever the mode";
  EXPECT_EQ(Text.str().find("Power On Password="), std::string::npos) << "grayed out";
  EXPECT_NE(Text.str().find("\nQuiet Boot=1 "), std::string::npos) << "the value read when the forms loaded";
}

}  // namespace
