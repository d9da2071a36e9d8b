// On generated INI files (random edits of a saved file, reshaping switches
// with values behind them, refused values, serial conflicts), load
// --dry-run, the host diff and the real load list the same changes and end
// with the same status, every time.
#include "tests/client/tool_fixture.h"
#include "tools/bioscfg-sim/commands.h"

#include <fstream>
#include <random>
#include <regex>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Line {
  std::string Text;
  std::string Key;                // empty: not a key line
  std::vector<std::string> Values;  // of its ;Options comment
};

std::vector<Line> Parse(const std::string &Saved) {
  static const std::regex KeyLine(R"(^([^=\[;]+)=(\S*)\s*;Options: (.*)$)");
  std::vector<Line> Out;
  for (const std::string &Text : Lines(Saved)) {
    Line L{Text, {}, {}};
    std::smatch M;
    if (std::regex_match(Text, M, KeyLine)) {
      L.Key = M[1];
      const std::string Options = M[3];
      static const std::regex Value(R"((-?\d+)=)");
      for (auto It = std::sregex_iterator(Options.begin(), Options.end(), Value); It != std::sregex_iterator(); ++It) {
        L.Values.push_back((*It)[1]);
      }
    }
    Out.push_back(L);
  }
  return Out;
}

// One generated file: each key changed with some chance, and now and then a
// reshaping switch with a question behind it, a refused or too-wide value, or
// port B moved onto port A's address.
std::string Generate(const std::vector<Line> &Saved, std::mt19937 &Random) {
  auto Chance = [&](double P) { return std::uniform_real_distribution<>(0, 1)(Random) < P; };
  auto Pick = [&](size_t N) { return std::uniform_int_distribution<size_t>(0, N - 1)(Random); };
  const bool Redirect = Chance(0.5), Remap = Chance(0.3), Refuse = Chance(0.2), Wide = Chance(0.1),
             Conflict = Chance(0.1);
  std::string Out;
  bool InPortB = false;
  for (const Line &L : Saved) {
    if (!L.Text.empty() && L.Text[0] == '[') InPortB = L.Text.find("SERIAL B ENABLE") != std::string::npos;
    if (L.Key.empty()) {
      Out += L.Text + "\n";
      continue;
    }
    std::string Value = L.Values.empty() ? "0" : L.Values[Pick(L.Values.size())];
    if (!Chance(0.15)) Value = L.Text.substr(L.Key.size() + 1, L.Text.find(' ') - L.Key.size() - 1);
    if (Refuse && Chance(0.05)) Value = "77";
    if (Wide && Chance(0.05)) Value = "4294967296";
    if (Conflict && InPortB && L.Key == "Address") Value = "1016";
    if (L.Key == "Console Redirection" && Redirect) Value = std::to_string(1 + Pick(2));
    if (L.Key == "Vexon(R) DR for Remapped I/O" && Remap) Value = "1";
    Out += L.Key + "=" + Value + "\n";
    if (L.Key == "Console Redirection" && Redirect) {
      Out += "Baud Rate=" + std::string(Refuse && Chance(0.5) ? "9" : std::to_string(Pick(5))) + "\n";
      Out += "Data Bits=" + std::string(Chance(0.5) ? "7" : "8") + "\n";
    }
    if (L.Key == "Vexon(R) DR for Remapped I/O" && Remap) Out += "Interrupt Remapping=" + std::to_string(Pick(2)) + "\n";
  }
  return Out;
}

struct Outcome {
  int Exit;
  std::vector<std::string> Lines;
};

// A host command's exit and lines, less those only a real load or only a
// dry run prints (the backup and the dry run's last line).
template <class Command> Outcome RunHost(Command Run) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int Exit = Run();
  std::vector<std::string> Kept;
  for (const std::string &L : Lines(testing::internal::GetCapturedStdout())) {
    if (StartsWith(L, "backup: ") || StartsWith(L, "snapshot: ") || StartsWith(L, "restore: ") ||
        StartsWith(L, "dry-run: ")) {
      continue;
    }
    Kept.push_back(L);
  }
  (void)testing::internal::GetCapturedStderr();
  return Outcome{Exit, Kept};
}

TEST(DryRunAgreement, DryRunDiffAndLoadListTheSameChangesAndEndAlike) {
  const fs::path Folder = fs::temp_directory_path() / ("bioscfg-agree-" + std::to_string(::getpid()));
  fs::create_directories(Folder);
  bioscfgsim::Options Opts;
  Opts.MessagesPath = MessagesSource();
  const std::string SavedFile = (Folder / "saved.ini").string();
  ASSERT_EQ(RunHost([&] { return bioscfgsim::RunSaveCommand(Opts, {SavedFile}); }).Exit, 0);
  std::ifstream In(SavedFile);
  const std::vector<Line> Saved = Parse(std::string(std::istreambuf_iterator<char>(In), {}));

  std::mt19937 Random(20261125);
  int Reshaping = 0, Refused = 0;
  for (int Index = 0; Index < 24; ++Index) {
    const std::string File = (Folder / ("gen" + std::to_string(Index) + ".ini")).string();
    const std::string Text = Generate(Saved, Random);
    std::ofstream(File) << Text;
    SCOPED_TRACE(File + ":\n" + Text);
    const Outcome Dry = RunHost([&] { return bioscfgsim::RunLoadCommand(Opts, {"--dry-run", File}); });
    const Outcome Diff = RunHost([&] { return bioscfgsim::RunDiffCommand(Opts, {File}); });
    const Outcome Load = RunHost([&] { return bioscfgsim::RunLoadCommand(Opts, {File}); });
    EXPECT_EQ(Dry.Exit, Load.Exit);
    EXPECT_EQ(Diff.Exit, Load.Exit);
    EXPECT_EQ(Dry.Lines, Load.Lines);
    EXPECT_EQ(Diff.Lines, Load.Lines);
    for (const std::string &L : Load.Lines) {
      Reshaping += StartsWith(L, "after-reload: ");
      Refused += StartsWith(L, "refuse: ");
    }
  }
  // The generator reached what it is for.
  EXPECT_GT(Reshaping, 0);
  EXPECT_GT(Refused, 0);
  fs::remove_all(Folder);
}

}  // namespace
