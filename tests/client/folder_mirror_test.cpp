// A session's files folder and the simulated TORVEL_PATH folder: what the
// host holds goes in before a run, what the run wrote comes out after it,
// names pair up as on FAT, and the machine's own files stay its own.
#include "tools/bioscfg-sim/folder_mirror.h"

#include "sim/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using bioscfgsim::FolderMirror;

std::string ReadAll(const fs::path &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

void Write(const fs::path &Path, const std::string &Text) { std::ofstream(Path, std::ios::binary) << Text; }

class Mirror : public ::testing::Test {
 protected:
  sim::TempFolder Folder{"bioscfg-mirror-test"};
  fs::path Host = fs::path(Folder.Path()) / "host";
  fs::path Inside = fs::path(Folder.Path()) / "inside";
  void SetUp() override {
    fs::create_directories(Host / "Cfg");
    fs::create_directories(Inside / "cfg");
    Write(Inside / "bioscfg.str", "the machine's catalog");
  }
};

TEST_F(Mirror, KeepsBothSidesInStepAroundEachRun) {
  Write(Host / "Cfg" / "Run.ini", "AAAA");
  Write(Host / "BIOSCFG.STR", "a catalog of the user's");
  Write(Host / "a*b.ini", "no FAT name");
  FolderMirror M(Host, Inside);
  std::string Error;
  ASSERT_TRUE(M.Pull(Error)) << Error;
  EXPECT_EQ(ReadAll(Inside / "Cfg" / "Run.ini"), "AAAA") << "the folder takes the host's case";
  EXPECT_FALSE(fs::exists(Inside / "cfg"));
  EXPECT_EQ(ReadAll(Inside / "bioscfg.str"), "the machine's catalog");
  EXPECT_FALSE(fs::exists(Inside / "a*b.ini"));

  // A run rewrites a file (same size, within the same tick of the host's
  // clock) and writes a new one.
  Write(Inside / "Cfg" / "Run.ini", "BBBB");
  Write(Inside / "Cfg" / "run-backup-1.ini", "backup");
  ASSERT_TRUE(M.Push(Error)) << Error;
  EXPECT_EQ(ReadAll(Host / "Cfg" / "Run.ini"), "BBBB");
  EXPECT_EQ(ReadAll(Host / "Cfg" / "run-backup-1.ini"), "backup");
  EXPECT_EQ(ReadAll(Host / "BIOSCFG.STR"), "a catalog of the user's");
  EXPECT_TRUE(fs::exists(Host / "a*b.ini"));

  // Edits on the host between two runs reach the next one.
  Write(Host / "Cfg" / "Run.ini", "CCCC");
  fs::remove(Host / "Cfg" / "run-backup-1.ini");
  ASSERT_TRUE(M.Pull(Error)) << Error;
  EXPECT_EQ(ReadAll(Inside / "Cfg" / "Run.ini"), "CCCC");
  EXPECT_FALSE(fs::exists(Inside / "Cfg" / "run-backup-1.ini"));

  // A file the run deletes is deleted on the host; the host's own files are not.
  fs::remove(Inside / "Cfg" / "Run.ini");
  ASSERT_TRUE(M.Push(Error)) << Error;
  EXPECT_FALSE(fs::exists(Host / "Cfg" / "Run.ini"));
  EXPECT_TRUE(fs::is_directory(Host / "Cfg"));
  EXPECT_TRUE(fs::exists(Host / "BIOSCFG.STR"));
}

TEST_F(Mirror, RefusesNamesFatCannotTellApart) {
  Write(Host / "Cfg" / "x.ini", "1");
  Write(Host / "Cfg" / "X.INI", "2");
  FolderMirror M(Host, Inside);
  std::string Error;
  EXPECT_FALSE(M.Pull(Error));
  EXPECT_NE(Error.find("are one name on a FAT volume"), std::string::npos) << Error;
  EXPECT_FALSE(fs::exists(Inside / "Cfg" / "x.ini"));
}

}  // namespace
