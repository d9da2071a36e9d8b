// The tool's save, load and list on the sample platform, and the host
// tool's diff: backups that never overwrite, a load that changes nothing
// when its backup fails, and reports of what a load would change.
#include "tools/bioscfg-sim/commands.h"
#include "tests/client/tool_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

class ToolIni : public ToolMachine {
 protected:
  // The saved text with one key's value replaced.
  static std::string Edit(std::string Text, const std::string &Key, const std::string &Value) {
    const size_t Line = Text.find("\n" + Key + "=");
    EXPECT_NE(Line, std::string::npos) << Key;
    const size_t Start = Line + Key.size() + 2;
    return Text.replace(Start, Text.find(' ', Start) - Start, Value);
  }
};

TEST_F(ToolIni, LoadBacksUpFirstUnderANameNoFileHas) {
  EXPECT_EQ(Run({"save", "cfg.ini"}), (std::vector<std::string>{"result: EFI_SUCCESS", "saved: cfg.ini"}));
  Write("cfg.ini", Edit(Read("cfg.ini"), "Quiet Boot", "0"));
  Write("cfg-backup-1.ini", "an earlier backup\n");
  const std::vector<std::string> Loaded = Run({"load", "cfg.ini"});
  EXPECT_EQ(Loaded, (std::vector<std::string>{"backup: cfg-backup-2.ini", "snapshot: cfg-backup-2.vars",
                                              "restore: bioscfg-tool restore cfg-backup-2.vars", "result: EFI_SUCCESS",
                                              "change: [BIOS::MAIN] \"Quiet Boot\" 1 \"Enabled\" -> 0 \"Disabled\"",
                                              "changes: 1"}));
  EXPECT_EQ(Read("cfg-backup-1.ini"), "an earlier backup\n");
  EXPECT_FALSE(fs::exists(fs::path(Machine.ToolsFolder()) / "cfg-backup-1.vars")) << "one N for both files";
  EXPECT_NE(Read("cfg-backup-2.ini").find("\nQuiet Boot=1 "), std::string::npos) << "the settings before the load";
  EXPECT_NE(Run({"get", "Quiet Boot"})[1].find("value=0"), std::string::npos);

  // The backup restores them.
  EXPECT_EQ(Run({"load", "--no-backup", "cfg-backup-2.ini"}),
            (std::vector<std::string>{"result: EFI_SUCCESS",
                                      "change: [BIOS::MAIN] \"Quiet Boot\" 0 \"Disabled\" -> 1 \"Enabled\"",
                                      "changes: 1"}));
  EXPECT_NE(Run({"get", "Quiet Boot"})[1].find("value=1"), std::string::npos);
}

TEST_F(ToolIni, ALoadWhoseBackupFailsChangesNothing) {
  // A name the folder takes, whose backup name is too long to save:
  // fs0:\tools\ (11) + 240 fits in 256, + "-backup-1" does not.
  const std::string Name = std::string(236, 'c') + ".ini";
  Write(Name, "[BIOS]\n[BIOS::MAIN]\nQuiet Boot=0\n");
  const std::vector<std::string> Out = Run({"load", Name}, BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(Out.front(), "result: BCFG_E_INVALID_PARAMETER");
  EXPECT_EQ(Out.back(), "error: the backup could not be saved; nothing was written");
  EXPECT_NE(Run({"get", "Quiet Boot"})[1].find("value=1"), std::string::npos);
}

TEST_F(ToolIni, DryRunReportsWhatALoadWouldDoAndWritesNothing) {
  ASSERT_EQ(Run({"save", "cfg.ini"})[0], "result: EFI_SUCCESS");
  std::string Text = Edit(Read("cfg.ini"), "Quiet Boot", "0");
  Text = Edit(Text, "Console Redirection", "1");
  Write("cfg.ini", Text);
  EXPECT_EQ(Run({"load", "--dry-run", "cfg.ini"}),
            (std::vector<std::string>{
                "result: EFI_SUCCESS", "change: [BIOS::MAIN] \"Quiet Boot\" 1 \"Enabled\" -> 0 \"Disabled\"",
                "change: [BIOS::SERVER MANAGEMENT::CONSOLE REDIRECTION] \"Console Redirection\" 0 \"Disabled\" -> 1 "
                "\"Serial Port A\" (reshapes the forms: they are read again and the rest applied a second time)",
                "changes: 2", "dry-run: nothing was written"}));
  EXPECT_NE(Run({"get", "Quiet Boot"})[1].find("value=1"), std::string::npos) << "nothing written";

  Write("bad.ini", Edit(Text, "Wake on LAN", "7"));
  const std::vector<std::string> Refused = Run({"load", "--dry-run", "bad.ini"}, BCFG_INI_E_OUT_OF_RANGE);
  EXPECT_EQ(Refused, (std::vector<std::string>{
                         "result: BCFG_INI_E_OUT_OF_RANGE", "error: Data for BIOS Var Wake on LAN is out of range in INI file",
                         "change: [BIOS::MAIN] \"Quiet Boot\" 1 \"Enabled\" -> 0 \"Disabled\"",
                         "refuse: [BIOS::ADVANCED] \"Wake on LAN\" 1 \"Enabled\" -> 7 (not an option: the run stops here)",
                         "changes: 1", "dry-run: nothing was written"}));
  EXPECT_EQ(Run({"load", "--dry-run", "missing.ini"}, BCFG_INI_E_BIOS_SECTION)[0], "result: BCFG_INI_E_BIOS_SECTION");
  // A file that is not there: no backup, and the result in words.
  EXPECT_EQ(Run({"load", "missing.ini"}, BCFG_INI_E_BIOS_SECTION),
            (std::vector<std::string>{"result: BCFG_INI_E_BIOS_SECTION",
                                      "error: the file has no [BIOS] section (or there is no such file in the "
                                      "TORVEL_PATH folder)",
                                      "changes: 0"}));
  EXPECT_FALSE(fs::exists(fs::path(Machine.ToolsFolder()) / "missing-backup-1.ini"));
}

TEST_F(ToolIni, ListShowsWhatSaveSaves) {
  const std::vector<std::string> Out = Run({"list"});
  ASSERT_GT(Out.size(), 100u);
  EXPECT_EQ(Out[0], "result: EFI_SUCCESS");
  EXPECT_EQ(Out[1], "section: \"BIOS::MAIN\"");
  EXPECT_EQ(Out[3], "question: \"Quiet Boot\" value=1 options=1=\"Enabled\",0=\"Disabled\"");
  EXPECT_EQ(Read("bioscfg-tool.tmp"), "") << "the scratch file is left empty";
  for (const std::string &Line : Out) EXPECT_EQ(Line.find("Boot Mode"), std::string::npos) << "Boot is not saved";
}

// The host tool's diff is the tool's load --dry-run: the import's own walk,
// so it also sees keys of forms that save leaves out, in a hand-written
// section.
TEST(HostDiff, FollowsTheImportExactly) {
  const fs::path Folder = fs::temp_directory_path() / ("bioscfg-diff-" + std::to_string(::getpid()));
  fs::create_directories(Folder);
  const std::string File = (Folder / "hand.ini").string();
  std::ofstream(File) << "[BIOS]\n[BIOS::MAIN]\nQuiet Boot=0\n[BIOS::BOOT OPTIONS]\nBoot Mode=2\n"
                         "[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE]\nAddress=1016\n"
                         "[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE]\nAddress=1016\n";
  bioscfgsim::Options Opts;
  Opts.MessagesPath = MessagesSource();
  testing::internal::CaptureStdout();
  EXPECT_EQ(bioscfgsim::RunDiffCommand(Opts, {File}), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "result: BCFG_INI_E_SERIAL_CONFLICT\n"
            "error: the file gives serial ports A and B the same address or IRQ; nothing is written\n"
            "changes: 0\n"
            "dry-run: nothing was written\n");

  std::ofstream(File, std::ios::trunc) << "[BIOS]\n[BIOS::MAIN]\nQuiet Boot=0\n[BIOS::BOOT OPTIONS]\nBoot Mode=2\n";
  testing::internal::CaptureStdout();
  EXPECT_EQ(bioscfgsim::RunDiffCommand(Opts, {File}), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "result: EFI_SUCCESS\n"
            "change: [BIOS::MAIN] \"Quiet Boot\" 1 \"Enabled\" -> 0 \"Disabled\"\n"
            "change: [BIOS::BOOT OPTIONS] \"Boot Mode\" 0 \"UEFI\" -> 2 \"Dual\"\n"
            "changes: 2\n"
            "dry-run: nothing was written\n");
  fs::remove_all(Folder);
}

}  // namespace
