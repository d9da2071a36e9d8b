// bioscfg-sim session: tool lines split as the Shell splits them, run on
// one machine whose driver stays loaded, so that a rehearsal of reshaping
// changes prints what the same runs print on one machine, not what a driver
// loaded afresh for each would print.
#include "tests/client/tool_fixture.h"
#include "tools/bioscfg-sim/session.h"
#include "tools/bioscfg-sim/session_line.h"

#include "sim/temp_folder.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using namespace bioscfgsim;

std::string Joined(const std::vector<std::string> &Words) {
  std::string Out;
  for (const std::string &Word : Words) Out += (Out.empty() ? "" : "|") + Word;
  return Out;
}

TEST(SessionLine, SplitsAsTheShellSplits) {
  struct Case {
    const char *Line;
    const char *Words;  // joined with |; nullptr: the line is refused
    const char *Text;
  };
  for (const Case &C : {
           Case{"get \"Quiet Boot\" \"Baud Rate\"", "get|Quiet Boot|Baud Rate", "get \"Quiet Boot\" \"Baud Rate\""},
           Case{"  set   \"A=1\"\t", "set|A=1", "set   \"A=1\""},
           Case{"get \"Serial ^#1\" ^\"x ^^", "get|Serial #1|\"x|^", "get \"Serial ^#1\" ^\"x ^^"},
           Case{"set-form \"\" x", "set-form||x", "set-form \"\" x"},
           Case{"list\r", "list", "list"},
           Case{"get x # why", "get|x", "get x"},
           Case{"   # only a comment", "", ""},
           Case{"get \"Port #1\"", nullptr, "get \"Port"},
           Case{"get \"open", nullptr, "get \"open"},
       }) {
    SessionLine Line;
    std::string Error;
    const bool Split = SplitSessionLine(C.Line, Line, Error);
    EXPECT_EQ(Split, C.Words != nullptr) << C.Line << ": " << Error;
    if (Split) {
      EXPECT_EQ(Joined(Line.Words), C.Words) << C.Line;
    }
    EXPECT_EQ(Line.Text, C.Text) << C.Line;
  }
}

struct Captured {
  int Exit;
  std::string Out;
  std::string Err;
};

template <typename Run> Captured Capture(Run &&Body) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int Exit = Body();
  std::string Out = testing::internal::GetCapturedStdout();
  return Captured{Exit, Out, testing::internal::GetCapturedStderr()};
}

// The output of each run of a session, without its header and status lines.
std::vector<std::string> Runs(const std::string &Out) {
  std::vector<std::string> Blocks;
  for (const std::string &Line : Lines(Out)) {
    if (StartsWith(Line, "> bioscfg-tool ")) Blocks.emplace_back();
    else if (!StartsWith(Line, "< ") && !Blocks.empty()) Blocks.back() += Line + "\n";
  }
  return Blocks;
}

std::string ReadAll(const fs::path &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

class Session : public ::testing::Test {
 protected:
  sim::TempFolder Folder{"bioscfg-session-test"};
  fs::path Files = fs::path(Folder.Path()) / "files";
  Options Opts;
  void SetUp() override {
    fs::create_directories(Files);
    Opts.MessagesPath = MessagesSource();
  }
};

// Console Redirection switched on with a baud rate, then to port B and back
// to A: three reshaping changes. A freshly loaded driver holds back the
// rest of the form in the first pass (DeferAfterReloadChange), so the baud
// rate is written after the forms are read again ("after-reload:"). The
// first retry clears that flag for the life of the driver: in one session,
// as on one machine, the second and third changes write the baud rate in
// their first pass ("change:"); run as separate commands, each on a driver
// loaded for it, they print "after-reload:" every time. The settings end the
// same either way.
TEST_F(Session, ReshapingChangesInARowPrintWhatOneMachinePrints) {
  const std::vector<std::vector<std::string>> Changes = {
      {"Console Redirection", "Console Redirection=1", "Baud Rate=2"},
      {"Console Redirection", "Console Redirection=2", "Baud Rate=3"},
      {"Console Redirection", "Console Redirection=1", "Baud Rate=4"}};
  const fs::path Script = fs::path(Folder.Path()) / "rehearsal.txt";
  std::ofstream(Script) << "# three reshaping changes\n"
                           "set-form \"Console Redirection\" \"Console Redirection=1\" \"Baud Rate=2\"\n"
                           "\n"
                           "set-form \"Console Redirection\" \"Console Redirection=2\" \"Baud Rate=3\"  # to B\n"
                           "set-form \"Console Redirection\" \"Console Redirection=1\" \"Baud Rate=4\"\n";
  Options InSession = Opts;
  InSession.VariablesPath = Folder.Path() + "/session.txt";
  const Captured Rehearsed = Capture([&] { return RunSessionCommand(InSession, {"--files", Files, Script}); });
  ASSERT_EQ(Rehearsed.Exit, 0) << Rehearsed.Out << Rehearsed.Err;
  EXPECT_TRUE(StartsWith(Rehearsed.Out, "> bioscfg-tool set-form \"Console Redirection\" \"Console Redirection=1\" "
                                        "\"Baud Rate=2\"\nresult: EFI_SUCCESS\n"))
      << Rehearsed.Out;
  const std::vector<std::string> Session = Runs(Rehearsed.Out);
  ASSERT_EQ(Session.size(), 3u) << Rehearsed.Out;

  Options Separate = Opts;
  Separate.VariablesPath = Folder.Path() + "/separate.txt";
  const std::string Held = "after-reload: [Console Redirection] \"Baud Rate\"";
  const std::string AtOnce = "change: [Console Redirection] \"Baud Rate\"";
  for (size_t Index = 0; Index < Changes.size(); ++Index) {
    std::string Alone = Capture([&] { return RunSetFormCommand(Separate, Changes[Index]); }).Out;
    ASSERT_NE(Alone.find(Held), std::string::npos) << "a fresh driver holds the baud rate back:\n" << Alone;
    if (Index == 0) {
      EXPECT_EQ(Session[Index], Alone) << "the first change meets a fresh driver in both";
      continue;
    }
    EXPECT_NE(Session[Index].find(AtOnce), std::string::npos) << Session[Index];
    Alone.replace(Alone.find(Held), Held.size(), AtOnce);
    EXPECT_EQ(Session[Index], Alone) << "the baud rate's line is the only difference";
  }
  EXPECT_EQ(Lines(Rehearsed.Out).back(), "< status 0x0");
  EXPECT_EQ(ReadAll(InSession.VariablesPath), ReadAll(Separate.VariablesPath)) << "the same settings in the end";
}

// From standard input: files a run writes are there for the next and come
// out to the --files folder, names match as on FAT, a failing run or a line
// that cannot be split does not stop the runs after it, and the exit status
// says that one failed.
TEST_F(Session, RunsFromStandardInputAndReportsEachRun) {
  std::istringstream Input("save Run.ini\n"
                           "load --dry-run run.ini\n"
                           "set \"Quiet Boot=7\"\n"
                           "get \"Quiet Boot\n"
                           "load --no-backup RUN.INI\n");
  std::streambuf *Saved = std::cin.rdbuf(Input.rdbuf());
  const Captured Result = Capture([&] { return RunSessionCommand(Opts, {"--files", Files, "-"}); });
  std::cin.rdbuf(Saved);

  EXPECT_EQ(Result.Exit, 1) << Result.Out;
  std::vector<std::string> Trailers;
  for (const std::string &Line : Lines(Result.Out))
    if (StartsWith(Line, "< ")) Trailers.push_back(Line);
  EXPECT_EQ(Trailers, (std::vector<std::string>{"< status 0x0", "< status 0x0", "< status 0xC0000000000C0004",
                                                "< not run", "< status 0x0"}))
      << Result.Out;
  const std::vector<std::string> Blocks = Runs(Result.Out);
  ASSERT_EQ(Blocks.size(), 5u);
  EXPECT_EQ(Blocks[1], "result: EFI_SUCCESS\nchanges: 0\ndry-run: nothing was written\n");
  EXPECT_TRUE(StartsWith(Blocks[4], "result: EFI_SUCCESS\n")) << Blocks[4];
  EXPECT_NE(Result.Err.find("standard input:4: a double quote is left open"), std::string::npos) << Result.Err;

  std::vector<std::string> Names;
  for (const auto &Entry : fs::directory_iterator(Files)) Names.push_back(Entry.path().filename().string());
  EXPECT_EQ(Names, (std::vector<std::string>{"Run.ini"})) << "one file, the case it was saved with";
  EXPECT_NE(ReadAll(Files / "Run.ini").find("[BIOS::MAIN]"), std::string::npos);
}

TEST_F(Session, RefusesWhatItCannotRun) {
  for (const std::vector<std::string> &Args : std::vector<std::vector<std::string>>{
           {}, {"a", "b"}, {"--files", (Files / "missing").string(), "-"}, {(Files / "missing.txt").string()}}) {
    const Captured Result = Capture([&] { return RunSessionCommand(Opts, Args); });
    EXPECT_EQ(Result.Exit, 2) << Result.Err;
    EXPECT_EQ(Result.Out, "");
  }
}

}  // namespace
