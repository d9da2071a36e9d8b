// The host tool's save and load name files as the FAT volume of a machine
// names them: "Run.ini" saved is the file "run.ini" loads, the file keeps
// the case it was created with, backups are numbered past earlier ones
// whatever their case, and folders in a name work when they exist.
#include "tests/client/tool_fixture.h"
#include "tools/bioscfg-sim/commands.h"

#include "sim/temp_folder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using namespace bioscfgsim;

// Runs the test in a folder of its own: the host tool's names are relative
// to the current folder.
class HostFatNames : public ::testing::Test {
 protected:
  sim::TempFolder Folder{"bioscfg-fat-names-test"};
  fs::path Before;
  Options Opts;
  void SetUp() override {
    Before = fs::current_path();
    fs::current_path(Folder.Path());
    Opts.MessagesPath = MessagesSource();
    Opts.VariablesPath = "variables.txt";
  }
  void TearDown() override { fs::current_path(Before); }

  struct Outcome {
    int Exit;
    std::string Out;
  };
  Outcome Run(int (*Command)(const Options &, const std::vector<std::string> &), const std::vector<std::string> &Args) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int Exit = Command(Opts, Args);
    Outcome Result{Exit, testing::internal::GetCapturedStdout()};
    (void)testing::internal::GetCapturedStderr();
    return Result;
  }
  static std::vector<std::string> Names(const fs::path &Where) {
    std::vector<std::string> Out;
    for (const auto &Entry : fs::directory_iterator(Where))
      if (Entry.path().extension() != ".txt") Out.push_back(Entry.path().filename().string());
    std::sort(Out.begin(), Out.end());
    return Out;
  }
};

TEST_F(HostFatNames, SaveRunIniThenLoadRunIni) {
  ASSERT_EQ(Run(RunSaveCommand, {"Run.ini"}).Exit, 0);
  const Outcome Loaded = Run(RunLoadCommand, {"run.ini"});
  EXPECT_EQ(Loaded.Exit, 0) << Loaded.Out;
  EXPECT_NE(Loaded.Out.find("\nresult: EFI_SUCCESS\nchanges: 0\n"), std::string::npos) << Loaded.Out;
  EXPECT_EQ(Names("."), (std::vector<std::string>{"Run.ini", "run-backup-1.ini", "run-backup-1.vars"}));

  // Saving under another case appends to the one file; an earlier backup in
  // another case still holds its number.
  ASSERT_EQ(Run(RunSaveCommand, {"RUN.INI"}).Exit, 0);
  std::ifstream Saved("Run.ini");
  std::string Text((std::istreambuf_iterator<char>(Saved)), {});
  EXPECT_NE(Text.find("[BIOS]"), Text.rfind("[BIOS]")) << "two blocks in one file";
  std::ofstream("RUN-BACKUP-2.INI") << "an earlier backup\n";
  const Outcome Again = Run(RunLoadCommand, {"run.ini"});
  EXPECT_TRUE(StartsWith(Again.Out, "backup: run-backup-3.ini\n")) << Again.Out;
  EXPECT_EQ(Names("."), (std::vector<std::string>{"RUN-BACKUP-2.INI", "Run.ini", "run-backup-1.ini",
                                                  "run-backup-1.vars", "run-backup-3.ini", "run-backup-3.vars"}));
}

TEST_F(HostFatNames, FoldersInNamesWorkWhenTheyExist) {
  const Outcome Missing = Run(RunSaveCommand, {"cfg\\Run.ini"});
  EXPECT_EQ(Missing.Exit, 1) << "no folder cfg: the driver cannot create the file";
  EXPECT_EQ(Names("."), std::vector<std::string>{});

  fs::create_directory("Cfg");
  const Outcome Saved = Run(RunSaveCommand, {"cfg\\Run.ini"});
  EXPECT_EQ(Saved.Out, "result: EFI_SUCCESS\nsaved: cfg\\Run.ini\n");
  const Outcome Loaded = Run(RunLoadCommand, {"CFG/run.ini"});
  EXPECT_EQ(Loaded.Exit, 0) << Loaded.Out;
  EXPECT_TRUE(StartsWith(Loaded.Out, "backup: CFG/run-backup-1.ini\n")) << Loaded.Out;
  EXPECT_EQ(Names("Cfg"), (std::vector<std::string>{"Run.ini", "run-backup-1.ini", "run-backup-1.vars"}));
}

}  // namespace
