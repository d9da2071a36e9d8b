// The views: show as a tree, show --json read back by a real JSON parser,
// compare of two saved files, and capture replayed by the host tool.
#include "hiibuild/host/hii_export_builder.h"
#include "tests/client/tool_fixture.h"
#include "tools/bioscfg-sim/commands.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <map>
#include <set>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

using Views = ToolMachine;

std::string Joined(const std::vector<std::string> &Lines) {
  std::string Text;
  for (const std::string &L : Lines) Text += L + "\n";
  return Text;
}

TEST_F(Views, ShowNestsFormsAndMarksHiddenQuestionsOnlyWithAll) {
  const std::vector<std::string> Shown = Run({"show"});
  ASSERT_GT(Shown.size(), 100u);
  EXPECT_EQ(Shown[0], "result: EFI_SUCCESS");
  EXPECT_EQ(Shown[1], "Main");
  EXPECT_EQ(Shown[3], "  Quiet Boot = Enabled  {Enabled | Disabled}");
  const std::string Text = Joined(Shown);
  EXPECT_NE(Text.find("\nAdvanced\n"), std::string::npos);
  EXPECT_NE(Text.find("\n  Processor Configuration\n"), std::string::npos) << "nested below Advanced";
  EXPECT_NE(Text.find("\n    Patrol Scrub Interval = 24  {1..24 step 1}\n"), std::string::npos);
  EXPECT_EQ(Text.find("Baud Rate"), std::string::npos) << "suppressed: not without --all";
  const std::string All = Joined(Run({"--all", "show"}));
  EXPECT_NE(All.find("    Baud Rate = 115.2k  {115.2k | 57.6k | 38.4k | 19.2k | 9.6k}  [suppressed]\n"),
            std::string::npos);
}

TEST_F(Views, ShowJsonHasEveryQuestionInTheRegistryShape) {
  const Json Document = Json::parse(Joined(Run({"show", "--json"})));
  const Json &Attributes = Document.at("Attributes");
  ASSERT_EQ(Attributes.size(), 153u);
  std::set<std::string> Names;
  std::map<std::string, Json> ByName;
  for (const Json &A : Attributes) {
    for (const char *Field : {"AttributeName", "DisplayName", "Type", "CurrentValue", "ReadOnly", "GrayOut", "Hidden",
                              "MenuPath"}) {
      EXPECT_TRUE(A.contains(Field)) << Field << " in " << A.dump();
    }
    const std::string Type = A.at("Type");
    if (Type == "Boolean") {
      EXPECT_TRUE(A.at("CurrentValue").is_boolean());
    }
    if (Type == "Integer") {
      EXPECT_TRUE(A.at("CurrentValue").is_number());
    }
    if (Type == "Enumeration") {
      bool Listed = false;
      for (const Json &V : A.at("Value")) Listed = Listed || V.at("ValueName") == A.at("CurrentValue");
      EXPECT_TRUE(Listed) << A.dump();
    }
    Names.insert(A.at("AttributeName").get<std::string>());
    ByName[A.at("DisplayName").get<std::string>()] = A;
  }
  EXPECT_GT(Names.size(), 140u) << "names are all but unique";
  const Json &Quiet = ByName.at("Quiet Boot");
  EXPECT_EQ(Quiet.at("AttributeName"), "BIOS::MAIN::Quiet Boot");
  EXPECT_EQ(Quiet.at("Type"), "Boolean");
  EXPECT_EQ(Quiet.at("CurrentValue"), true);
  EXPECT_EQ(Quiet.at("MenuPath"), "./Main");
  const Json &Baud = ByName.at("Baud Rate");
  EXPECT_EQ(Baud.at("Hidden"), true);
  EXPECT_EQ(Baud.at("CurrentValue"), "115.2k");
  EXPECT_EQ(ByName.at("Vexon(R) Hyper-Threading Technology").at("MenuPath"), "./Advanced/Processor Configuration");
  const Json &Interval = ByName.at("Patrol Scrub Interval");
  EXPECT_EQ(Interval.at("LowerBound"), 1);
  EXPECT_EQ(Interval.at("UpperBound"), 24);
  EXPECT_EQ(Interval.at("ScalarIncrement"), 1);

  // A changed value shows up, as the forms read it in the next session.
  ASSERT_EQ(Run({"set", "Quiet Boot=0"})[0], "result: EFI_SUCCESS");
  const Json After = Json::parse(Joined(Run({"show", "--json"})));
  for (const Json &A : After.at("Attributes")) {
    if (A.at("DisplayName") == "Quiet Boot") {
      EXPECT_EQ(A.at("CurrentValue"), false);
    }
  }
}

// Every visible question of a saved form is named by the section and key
// save writes it under.
TEST_F(Views, AttributeNamesAreTheSectionsAndKeysOfTheIniFile) {
  ASSERT_EQ(Run({"save", "all.ini"})[0], "result: EFI_SUCCESS");
  std::istringstream In(Read("all.ini"));
  std::set<std::string> Saved;
  std::string Section;
  for (std::string Line; std::getline(In, Line);) {
    if (!Line.empty() && Line[0] == '[') Section = Line.substr(1, Line.find(']') - 1);
    const size_t Equals = Line.find('=');
    if (Line.find(";Options") != std::string::npos && Equals != std::string::npos) {
      std::string Key = Line.substr(0, Line.rfind('=', Line.find(";Options")));
      Key.erase(0, Key.find_first_not_of(' '));
      Saved.insert(Section + "::" + Key);
    }
  }
  ASSERT_GT(Saved.size(), 50u);
  std::set<std::string> Named;
  const std::string Text = Joined(Run({"show", "--json"}));
  ASSERT_GT(Text.size(), 1000u) << Text;
  const Json Document = Json::parse(Text);
  for (const Json &A : Document.at("Attributes")) {
    Named.insert(A.at("AttributeName").get<std::string>());
  }
  ASSERT_GT(Named.size(), 100u);
  for (const std::string &Name : Saved) EXPECT_TRUE(Named.count(Name)) << Name;
}

TEST_F(Views, CompareNamesWhatDiffers) {
  ASSERT_EQ(Run({"save", "a.ini"})[0], "result: EFI_SUCCESS");
  ASSERT_EQ(Run({"set", "Quiet Boot=0", "Wake on LAN=0"})[0], "result: EFI_SUCCESS");
  ASSERT_EQ(Run({"save", "b.ini"})[0], "result: EFI_SUCCESS");
  EXPECT_EQ(Run({"compare", "a.ini", "a.ini"}), (std::vector<std::string>{"result: EFI_SUCCESS", "differences: 0"}));
  EXPECT_EQ(Run({"compare", "a.ini", "b.ini"}, 5),
            (std::vector<std::string>{"result: SETTINGS_DIFFER",
                                      "differ: [BIOS::ADVANCED] \"Wake on LAN\" 1 \"Enabled\" | 0 \"Disabled\"",
                                      "differ: [BIOS::MAIN] \"Quiet Boot\" 1 \"Enabled\" | 0 \"Disabled\"",
                                      "differences: 2"}));
  // A later section of the same name replaces the earlier whole, as when
  // loading: a.ini with a second MAIN section holding Quiet Boot alone.
  Write("c.ini", Read("a.ini") +
                     "\n[BIOS::MAIN]\nQuiet Boot=0                                          ;Options: 1=Enabled: 0=Disabled\n");
  const std::vector<std::string> Replaced = Run({"compare", "c.ini", "a.ini"}, 5);
  EXPECT_EQ(Replaced[1], "only-second: [BIOS::MAIN] \"Boot-time Diagnostic Screen\" 0 \"Disabled\"");
  EXPECT_EQ(Replaced.back(), "differences: 5") << "Quiet Boot differs, the other four of MAIN are only in a.ini";
}

// A prompt with quotes, a backslash, control and non-ASCII characters is
// still valid JSON and reads back as it was.
TEST(ViewsJson, AnyPromptTextStaysValidJson) {
  const EFI_GUID Guid = {0x1f2e3d4c, 0x5b6a, 0x4789, {0x90, 0xab, 0xcd, 0xef, 0x01, 0x23, 0x45, 0x67}};
  const std::u16string Odd = u"Say \"hi\" \\ to \u00C9t\u00E9\t\u4E2D";
  hiibuild::ExportBuilder Export;
  hiibuild::DataTableBuilder &Table = Export.AddTable(Guid);
  Table.Ifr().FormSet(Guid, u"Setup").Form(1, u"Odd / \"Form\"").CheckBox(0, 1, Odd).EndForm().EndFormSet();
  bioscfgsim::PlatformInput Input{Export.Build(), Export.ProtocolGuid(), {{u"Setup", Guid, 7, {1, 0}}}};
  bioscfgsim::SimulatedMachine Machine;
  std::string Error;
  ASSERT_TRUE(Machine.Start(Input, MessagesSource(), Error)) << Error;
  std::string Output;
  ASSERT_EQ(Machine.RunTool({"show", "--json"}, Output), EFI_SUCCESS);
  const Json Document = Json::parse(Output);
  ASSERT_EQ(Document.at("Attributes").size(), 1u);
  const Json &A = Document.at("Attributes")[0];
  std::u16string Read;
  for (char32_t C : [&] {
         std::u32string Units;
         const std::string Utf8 = A.at("DisplayName");
         for (size_t I = 0; I < Utf8.size();) {
           const unsigned char B = Utf8[I];
           const int N = B < 0x80 ? 1 : B < 0xE0 ? 2 : B < 0xF0 ? 3 : 4;
           char32_t Code = N == 1 ? B : B & (0xFF >> (N + 1));
           for (int K = 1; K < N; ++K) Code = (Code << 6) | (Utf8[I + K] & 0x3F);
           Units.push_back(Code);
           I += N;
         }
         return Units;
       }()) {
    Read.push_back(static_cast<char16_t>(C));
  }
  EXPECT_EQ(Read, Odd);
  EXPECT_EQ(A.at("MenuPath"), "./Odd / \"Form\"");
}

TEST(ViewsCapture, ACaptureReplaysToTheSameListing) {
  const fs::path Folder = fs::temp_directory_path() / ("bioscfg-capture-" + std::to_string(::getpid()));
  fs::remove_all(Folder);
  bioscfgsim::Options Opts;
  Opts.MessagesPath = MessagesSource();
  testing::internal::CaptureStdout();
  ASSERT_EQ(bioscfgsim::RunCaptureCommand(Opts, {(Folder / "machine").string()}), 0);
  const std::string Captured = testing::internal::GetCapturedStdout();
  EXPECT_NE(Captured.find("captured: machine\\hii.bin ("), std::string::npos) << Captured;
  testing::internal::CaptureStdout();
  ASSERT_EQ(bioscfgsim::RunShowCommand(Opts, {"--json"}), 0);
  const std::string Original = testing::internal::GetCapturedStdout();

  bioscfgsim::Options Replay = Opts;
  Replay.ExportPath = (Folder / "machine" / "hii.bin").string();
  Replay.VariablesPath = (Folder / "machine" / "variables.txt").string();
  testing::internal::CaptureStdout();
  ASSERT_EQ(bioscfgsim::RunShowCommand(Replay, {"--json"}), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), Original);
  fs::remove_all(Folder);
}

}  // namespace
