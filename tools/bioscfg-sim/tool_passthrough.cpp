// get, get-form, set and set-form: the configuration tool itself
// (bioscfg-tool.efi), started inside the simulated machine with the same
// operands, so its output here is what it prints on firmware. Changes to
// the variables are kept in the --variables file when one is named.
#include "platform/variable_store_text.h"
#include "tools/bioscfg-sim/commands.h"
#include "tools/bioscfg-sim/simulated_machine.h"

#include <cstdio>
#include <filesystem>

namespace bioscfgsim {

namespace {

int Fail(const std::string &Why) {
  std::fprintf(stderr, "bioscfg-sim: %s\n", Why.c_str());
  return 1;
}

// Writes the variables back to the file they came from (or creates it).
bool KeepVariables(const Options &Opts, const SimulatedMachine &Machine, std::string &Error) {
  const std::string Store = platform::FormatVariableStore(Machine.CurrentVariables());
  return WriteFileBytes(Opts.VariablesPath, std::vector<uint8_t>(Store.begin(), Store.end()), Error);
}

}  // namespace

int RunThroughTool(const Options &Opts, const std::string &Command, const std::vector<std::string> &Operands,
                   bool Changes, const ToolFileHooks &Hooks) {
  PlatformInput Platform;
  std::string Error;
  const bool NewStore = !Opts.VariablesPath.empty() && !std::filesystem::exists(Opts.VariablesPath);
  Options Reading = Opts;
  if (NewStore) Reading.VariablesPath.clear();  // a new file starts from the platform's defaults
  if (!LoadPlatform(Reading, Platform, Error)) return Fail(Error);
  SimulatedMachine Machine;
  if (!Machine.Start(Platform, Opts.MessagesPath, Error)) return Fail(Error);
  if (Hooks.Before && !Hooks.Before(Machine, Error)) return Fail(Error);

  std::vector<std::string> Arguments;
  if (Opts.AllQuestions) Arguments.push_back("--all");
  Arguments.push_back(Command);
  Arguments.insert(Arguments.end(), Operands.begin(), Operands.end());
  std::string Output;
  const EFI_STATUS Status = Machine.RunTool(Arguments, Output);
  std::fputs(Output.c_str(), stdout);
  if (Hooks.After && !Hooks.After(Machine, Output, Error)) return Fail(Error);

  if (Changes) {
    if (Opts.VariablesPath.empty()) {
      std::fprintf(stderr, "bioscfg-sim: no --variables FILE: the changes end with this command\n");
    } else if (!KeepVariables(Opts, Machine, Error)) {
      return Fail(Error);
    }
  }
  return Status == EFI_SUCCESS ? 0 : 1;
}

int RunGetCommand(const Options &Opts, const std::vector<std::string> &Args) {
  return RunThroughTool(Opts, "get", Args, false);
}
int RunGetFormCommand(const Options &Opts, const std::vector<std::string> &Args) {
  return RunThroughTool(Opts, "get-form", Args, false);
}
int RunSetCommand(const Options &Opts, const std::vector<std::string> &Args) {
  return RunSetWithBackups(Opts, "set", Args);
}
int RunSetFormCommand(const Options &Opts, const std::vector<std::string> &Args) {
  return RunSetWithBackups(Opts, "set-form", Args);
}

}  // namespace bioscfgsim

namespace bioscfgsim {

int RunShowCommand(const Options &Opts, const std::vector<std::string> &Args) {
  return RunThroughTool(Opts, "show", Args, false);
}

}  // namespace bioscfgsim
