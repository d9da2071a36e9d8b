// When the parser reads a file: once for many lookups, again when the file
// changes or another file is named; how names resolve; limits and faults.
#include "tests/iniparse/parser_fixture.h"

#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;
using sim::Service;

namespace {

std::string NumberedKeys(const std::string &Heading, int Count) {
  std::string Text = "[" + Heading + "]\n";
  for (int I = 0; I < Count; ++I) Text += "key" + std::to_string(I) + "=" + std::to_string(I) + "\n";
  return Text;
}

TEST_F(ParserTest, ManyLookupsReadTheFileOnce) {
  const std::string Text = NumberedKeys("S", 1000);
  WriteTools("many.ini", Text);
  Fw().ResetCounters();
  ASSERT_EQ(Ask("many.ini", "S", "key0").Value, "0");
  const uint64_t Opens = Fw().Calls(Service::FileOpen);
  const uint64_t Reads = Fw().Calls(Service::FileRead);
  const uint64_t Infos = Fw().Calls(Service::FileGetInfo);
  EXPECT_EQ(Opens, 1u);
  EXPECT_LE(Reads, Text.size() / 4096 + 2) << "reads follow the file's size";
  for (int I = 1; I < 1000; ++I) ASSERT_EQ(Ask("many.ini", "s", "KEY" + std::to_string(I)).Value, std::to_string(I));
  EXPECT_EQ(Fw().Calls(Service::FileOpen), Opens);
  EXPECT_EQ(Fw().Calls(Service::FileRead), Reads);
  EXPECT_LE(Fw().Calls(Service::FileGetInfo) - Infos, 999u) << "at most one question to the firmware per lookup";
}

TEST_F(ParserTest, GrownFileIsReadAgain) {
  WriteTools("a.ini", "[S]\nk=1\n");
  ASSERT_EQ(Ask("a.ini", "S", "j").Result, INI_LOOKUP_KEY_NOT_FOUND);
  WriteTools("a.ini", "[S]\nk=1\nj=2\n");
  EXPECT_EQ(Ask("a.ini", "S", "j").Value, "2");
}

TEST_F(ParserTest, SameSizeWithNewTimeIsReadAgain) {
  WriteTools("a.ini", "[S]\nk=1\n");
  ASSERT_EQ(Ask("a.ini", "S", "k").Value, "1");
  const fs::file_time_type Before = fs::last_write_time(ToolsPath("a.ini"));
  WriteTools("a.ini", "[S]\nk=2\n");
  fs::last_write_time(ToolsPath("a.ini"), Before + std::chrono::seconds(10));
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "2");
}

TEST_F(ParserTest, ASectionProbeReadsTheFileAgainWhateverItsSizeAndTime) {
  WriteTools("a.ini", "[S]\nk=1\n");
  ASSERT_EQ(Ask("a.ini", "S", "k").Value, "1");
  const fs::file_time_type Before = fs::last_write_time(ToolsPath("a.ini"));
  WriteTools("a.ini", "[S]\nk=2\n");
  fs::last_write_time(ToolsPath("a.ini"), Before);  // within the same two seconds on FAT
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1") << "a plain lookup trusts size and time";
  EXPECT_EQ(Ask("a.ini", "S", "").Result, INI_LOOKUP_FOUND);
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "2") << "the probe that starts an import read it afresh";
}

TEST_F(ParserTest, DeletedFileIsGoneUntilWrittenAgain) {
  WriteTools("a.ini", "[S]\nk=1\n");
  ASSERT_EQ(Ask("a.ini", "S", "k").Value, "1");
  fs::remove(ToolsPath("a.ini"));
  EXPECT_EQ(Ask("a.ini", "S", "k").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  ExpectNothingHeld();
  WriteTools("a.ini", "[S]\nk=22\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "22");
}

TEST_F(ParserTest, AnotherFileReplacesTheIndex) {
  WriteTools("a.ini", NumberedKeys("A", 100));
  WriteTools("b.ini", NumberedKeys("B", 200));
  ASSERT_EQ(Ask("a.ini", "A", "key5").Value, "5");
  const size_t Held = Fw().LivePoolBlocks();
  Fw().ResetCounters();
  for (int Round = 0; Round < 5; ++Round) {
    ASSERT_EQ(Ask("b.ini", "B", "key150").Value, "150");
    ASSERT_EQ(Ask("a.ini", "B", "").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  }
  EXPECT_EQ(Fw().Calls(Service::FileOpen), 10u) << "each change of name reads the named file";
  EXPECT_EQ(Fw().LivePoolBlocks(), Held) << "one file's index is held at a time";
}

TEST_F(ParserTest, NamesResolveAsTheExportWritesThem) {
  fs::create_directories(ToolsPath("sub"));
  WriteTools("a.ini", "[S]\nk=tools\n");
  WriteTools("sub/c.ini", "[S]\nk=sub\n");
  WriteHostFile(VolumeDir(0) + "/r.ini", "[S]\nk=root\n");
  WriteHostFile(MountExtraVolume() + "/b.ini", "[S]\nk=fs1\n");
  const struct {
    const char *Name;
    INT32 Result;
    const char *Value;
  } Names[] = {
      {"a.ini", INI_LOOKUP_FOUND, "tools"},
      {"A.INI", INI_LOOKUP_FOUND, "tools"},
      {"fs0:\\tools\\a.ini", INI_LOOKUP_FOUND, "tools"},
      {"FS0:/tools/a.ini", INI_LOOKUP_FOUND, "tools"},
      {"sub\\c.ini", INI_LOOKUP_FOUND, "sub"},
      {"\\sub\\c.ini", INI_LOOKUP_FOUND, "sub"},  // joined as the export joins it
      {"r.ini", INI_LOOKUP_SECTION_NOT_FOUND, ""},
      {"fs0:\\r.ini", INI_LOOKUP_FOUND, "root"},
      {"fs1:\\b.ini", INI_LOOKUP_FOUND, "fs1"},
      {"b.ini", INI_LOOKUP_SECTION_NOT_FOUND, ""},
      {"fs9:\\b.ini", INI_LOOKUP_SECTION_NOT_FOUND, ""},
      {"sub", INI_LOOKUP_SECTION_NOT_FOUND, ""},  // a folder
      {"", INI_LOOKUP_SECTION_NOT_FOUND, ""},
  };
  for (const auto &N : Names) {
    const Answer A = Ask(N.Name, "S", "k");
    EXPECT_EQ(A.Result, N.Result) << N.Name;
    EXPECT_EQ(A.Value, N.Value) << N.Name;
  }
}

TEST_F(ParserImageTest, TorvelPathWithTrailingSeparator) {
  SetTorvelPath(u"fs0:\\tools\\");
  ASSERT_EQ(StartParser(), EFI_SUCCESS);
  WriteTools("a.ini", "[S]\nk=1\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1");
}

TEST_F(ParserImageTest, WithoutTorvelPathOnlyNamesWithAVolumeWork) {
  RemoveTorvelPath();
  ASSERT_EQ(StartParser(), EFI_SUCCESS);
  WriteTools("a.ini", "[S]\nk=1\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  EXPECT_EQ(Ask("fs0:\\tools\\a.ini", "S", "k").Value, "1");
}

TEST_F(ParserImageTest, EmptyTorvelPathResolvesNothing) {
  SetTorvelPath(u"");
  ASSERT_EQ(StartParser(), EFI_SUCCESS);
  WriteHostFile(VolumeDir(0) + "/a.ini", "[S]\nk=1\n");
  WriteTools("a.ini", "[S]\nk=1\n");
  EXPECT_EQ(Ask("a.ini", "S", "k").Result, INI_LOOKUP_SECTION_NOT_FOUND);
}

TEST_F(ParserTest, FileOverTheSizeLimitIsNotRead) {
  constexpr uintmax_t LIMIT = 16u << 20;
  WriteTools("big.ini", "[S]\nk=v\n");
  fs::resize_file(ToolsPath("big.ini"), LIMIT);  // NUL bytes after the key: one long ignored line
  EXPECT_EQ(Ask("big.ini", "S", "k").Value, "v");
  fs::resize_file(ToolsPath("big.ini"), LIMIT + 1);
  Fw().ResetCounters();
  EXPECT_EQ(Ask("big.ini", "S", "k").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  EXPECT_EQ(Fw().Calls(Service::FileRead), 0u);
  ExpectNothingHeld();
}

TEST_F(ParserTest, KeyAndHeadingCountLimits) {
  constexpr int MAX_KEYS = 1 << 18;
  constexpr int MAX_HEADINGS = 1 << 16;
  WriteTools("keys.ini", NumberedKeys("S", MAX_KEYS));
  EXPECT_EQ(Ask("keys.ini", "S", "key" + std::to_string(MAX_KEYS - 1)).Value, std::to_string(MAX_KEYS - 1));
  WriteTools("keys.ini", NumberedKeys("S", MAX_KEYS + 1));
  EXPECT_EQ(Ask("keys.ini", "S", "key0").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  ExpectNothingHeld();

  std::string Headings;
  for (int I = 0; I < MAX_HEADINGS; ++I) Headings += "[h" + std::to_string(I) + "]\n";
  WriteTools("headings.ini", Headings);
  EXPECT_EQ(Ask("headings.ini", "h" + std::to_string(MAX_HEADINGS - 1), "").Result, INI_LOOKUP_FOUND);
  WriteTools("headings.ini", Headings + "[h]\n");
  EXPECT_EQ(Ask("headings.ini", "h0", "").Result, INI_LOOKUP_SECTION_NOT_FOUND);
  ExpectNothingHeld();
}

TEST_F(ParserTest, ReadErrorIsReportedAndTheNextLookupRecovers) {
  WriteTools("a.ini", "[S]\nk=1\n");
  Fw().FailNthCall(Service::FileRead, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Ask("a.ini", "S", "k").Result, INI_LOOKUP_READ_ERROR);
  ExpectNothingHeld();
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1");
}

TEST_F(ParserTest, FileThatCannotBeAskedAboutIsOpenedAgain) {
  WriteTools("a.ini", "[S]\nk=1\n");
  ASSERT_EQ(Ask("a.ini", "S", "k").Value, "1");
  Fw().ResetCounters();
  Fw().FailNthCall(Service::FileGetInfo, 1, EFI_MEDIA_CHANGED);
  EXPECT_EQ(Ask("a.ini", "S", "k").Value, "1");
  EXPECT_EQ(Fw().Calls(Service::FileOpen), 1u);
}

// Every allocation the first lookup makes fails in turn: each attempt gives
// a result, leaves nothing behind, and the lookup works once memory is back.
TEST_F(ParserTest, RunningOutOfMemoryLeavesNothingBehind) {
  WriteTools("a.ini", NumberedKeys("S", 50));
  for (uint64_t Allowed = 0;; ++Allowed) {
    ASSERT_LT(Allowed, 100u) << "the lookup never succeeded";
    Fw().FailAllocationsAfter(Allowed);
    const INT32 Result = Ask("a.ini", "S", "key7").Result;
    Fw().ClearFaults();
    if (Result == INI_LOOKUP_FOUND) break;
    EXPECT_TRUE(Result == INI_LOOKUP_READ_ERROR || Result == INI_LOOKUP_SECTION_NOT_FOUND) << Result;
    ExpectNothingHeld();
  }
  EXPECT_EQ(Ask("a.ini", "S", "key49").Value, "49");
}

}  // namespace
