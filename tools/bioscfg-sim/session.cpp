#include "tools/bioscfg-sim/session.h"

#include "platform/variable_store_text.h"
#include "tools/bioscfg-sim/folder_mirror.h"
#include "tools/bioscfg-sim/session_line.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace bioscfgsim {

namespace {

namespace fs = std::filesystem;

constexpr int SESSION_FAILED = 1;
constexpr int SESSION_STOPPED = 2;

int Stop(const std::string &Why) {
  std::fprintf(stderr, "bioscfg-sim: %s\n", Why.c_str());
  return SESSION_STOPPED;
}

struct SessionArguments {
  fs::path Files = ".";
  std::string Input;  // a file, or "-" for standard input
};

bool ParseArguments(const std::vector<std::string> &Args, SessionArguments &Out) {
  size_t At = 0;
  if (At + 1 < Args.size() && Args[At] == "--files") {
    Out.Files = Args[At + 1];
    At += 2;
  }
  if (At + 1 != Args.size()) return false;
  Out.Input = Args[At];
  return true;
}

// The platform as the options name it; a --variables file that does not
// exist yet starts from the platform's defaults.
bool SessionPlatform(const Options &Opts, PlatformInput &Platform, std::string &Error) {
  Options Reading = Opts;
  if (!Opts.VariablesPath.empty() && !fs::exists(Opts.VariablesPath)) Reading.VariablesPath.clear();
  return LoadPlatform(Reading, Platform, Error);
}

bool SameVariables(const std::vector<platform::PlatformVariable> &A,
                   const std::vector<platform::PlatformVariable> &B) {
  return platform::FormatVariableStore(A) == platform::FormatVariableStore(B);
}

class Session {
 public:
  Session(const Options &Opts, SimulatedMachine &Machine, FolderMirror &Mirror)
      : Opts(Opts), Machine(Machine), Mirror(Mirror) {}

  // Runs every line of In; the session's exit status.
  int RunLines(std::istream &In, const std::string &InputName) {
    bool AllSucceeded = true;
    size_t Number = 0;
    for (std::string Line; std::getline(In, Line);) {
      ++Number;
      SessionLine Parsed;
      std::string Error;
      const bool Split = SplitSessionLine(Line, Parsed, Error);
      if (Split && Parsed.Words.empty()) continue;  // blank or comment
      std::printf("> bioscfg-tool %s%s\n", Opts.AllQuestions ? "--all " : "", Parsed.Text.c_str());
      if (!Split) {
        std::fflush(stdout);
        std::fprintf(stderr, "bioscfg-sim: %s:%zu: %s\n", InputName.c_str(), Number, Error.c_str());
        std::printf("< not run\n");
        std::fflush(stdout);
        AllSucceeded = false;
        continue;
      }
      EFI_STATUS Status = EFI_SUCCESS;
      if (!RunOne(Parsed.Words, Status, Error)) return Stop(Error);
      AllSucceeded = AllSucceeded && Status == EFI_SUCCESS;
    }
    if (In.bad()) return Stop(InputName + ": read error");
    return AllSucceeded ? 0 : SESSION_FAILED;
  }

 private:
  // One tool run with the files folder brought in before and out after.
  // False only when the folder cannot be mirrored.
  bool RunOne(const std::vector<std::string> &Words, EFI_STATUS &Status, std::string &Error) {
    if (!Mirror.Pull(Error)) return false;
    std::vector<std::string> Arguments;
    if (Opts.AllQuestions) Arguments.push_back("--all");
    Arguments.insert(Arguments.end(), Words.begin(), Words.end());
    std::string Output;
    Status = Machine.RunTool(Arguments, Output);
    std::fputs(Output.c_str(), stdout);
    std::printf("< status 0x%" PRIX64 "\n", static_cast<uint64_t>(Status));
    std::fflush(stdout);
    return Mirror.Push(Error);
  }

  const Options &Opts;
  SimulatedMachine &Machine;
  FolderMirror &Mirror;
};

}  // namespace

int RunSessionCommand(const Options &Opts, const std::vector<std::string> &Args) {
  SessionArguments Parsed;
  if (!ParseArguments(Args, Parsed)) return Stop("session takes [--files DIR] FILE, or - for standard input");
  std::error_code Failed;
  if (!fs::is_directory(Parsed.Files, Failed)) return Stop(Parsed.Files.string() + ": not a folder");
  std::ifstream File;
  if (Parsed.Input != "-") {
    File.open(Parsed.Input);
    if (!File) return Stop(Parsed.Input + ": cannot open");
  }
  std::istream &In = Parsed.Input == "-" ? std::cin : File;

  PlatformInput Platform;
  std::string Error;
  if (!SessionPlatform(Opts, Platform, Error)) return Stop(Error);
  const std::vector<platform::PlatformVariable> Started = Platform.Variables;
  SimulatedMachine Machine;
  if (!Machine.Start(std::move(Platform), Opts.MessagesPath, Error)) return Stop(Error);
  FolderMirror Mirror(Parsed.Files, Machine.ToolsFolder());

  Session Runs(Opts, Machine, Mirror);
  const int Exit = Runs.RunLines(In, Parsed.Input == "-" ? "standard input" : Parsed.Input);

  // The variables as the machine holds them now, whatever became of the runs.
  const std::vector<platform::PlatformVariable> Now = Machine.CurrentVariables();
  if (Opts.VariablesPath.empty()) {
    if (!SameVariables(Started, Now))
      std::fprintf(stderr, "bioscfg-sim: no --variables FILE: the changes end with this session\n");
    return Exit;
  }
  const std::string Store = platform::FormatVariableStore(Now);
  if (!WriteFileBytes(Opts.VariablesPath, std::vector<uint8_t>(Store.begin(), Store.end()), Error))
    return Stop(Error);
  return Exit;
}

}  // namespace bioscfgsim
