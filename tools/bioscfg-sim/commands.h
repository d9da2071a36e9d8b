// The commands of bioscfg-sim. Each one is an entry of the table in
// commands.cpp; a new command is a function and one more entry.
#pragma once

#include "tools/bioscfg-sim/platform_files.h"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace bioscfgsim {

struct Options {
  std::string ExportPath;     // empty: the sample platform
  std::string VariablesPath;  // empty: the sample platform's defaults
  std::string MessagesPath;   // catalog text source
  bool AllQuestions = false;  // --all-questions: SetAllQuestionsMode(1) first
};

struct Command {
  const char *Name;
  const char *Arguments;
  const char *Summary;
  int (*Run)(const Options &Opts, const std::vector<std::string> &Args);
};

const std::vector<Command> &Commands();

class SimulatedMachine;

// What a command does around the tool's run: copying files into the
// simulated TORVEL_PATH folder before, and out of it after. False with a
// reason in Error stops the command.
struct ToolFileHooks {
  std::function<bool(SimulatedMachine &, std::string &Error)> Before;
  std::function<bool(SimulatedMachine &, const std::string &Output, std::string &Error)> After;
};

// Runs bioscfg-tool COMMAND OPERANDS in a machine on the options'
// platform, prints its output and returns 0 when it ended with EFI_SUCCESS;
// with Changes, the variables are kept in the --variables file.
int RunThroughTool(const Options &Opts, const std::string &Command, const std::vector<std::string> &Operands,
                   bool Changes, const ToolFileHooks &Hooks = {});

// The commands that run the configuration tool (tool_passthrough.cpp,
// ini_commands.cpp; diff is the tool's load --dry-run).
int RunGetCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunGetFormCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunSetCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunSetFormCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunSaveCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunLoadCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunListSettingsCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunDiffCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunRestoreCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunShowCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunCompareCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunCaptureCommand(const Options &Opts, const std::vector<std::string> &Args);
// set and set-form; backups the tool makes (--backup) land in the current folder.
int RunSetWithBackups(const Options &Opts, const std::string &Command, const std::vector<std::string> &Args);
void PrintUsage(std::FILE *Out);

// The platform the options name: files when given, the sample otherwise.
[[nodiscard]] bool LoadPlatform(const Options &Opts, PlatformInput &Out, std::string &Error);

// The list command: starts the driver on Platform in a simulated machine,
// loads the forms through a session and writes the question list to Out.
// False with a reason in Error when the machine, the session or the load
// fails.
[[nodiscard]] bool ListQuestions(PlatformInput Platform, const std::string &MessagesPath, std::FILE *Out,
                                 std::string &Error);

}  // namespace bioscfgsim
