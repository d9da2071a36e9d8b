// The commands of bioscfg-sim. Each one is an entry of the table in
// commands.cpp; a new command is a function and one more entry.
#pragma once

#include "tools/bioscfg-sim/platform_files.h"

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

// The commands that run the configuration tool (tool_passthrough.cpp).
int RunGetCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunGetFormCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunSetCommand(const Options &Opts, const std::vector<std::string> &Args);
int RunSetFormCommand(const Options &Opts, const std::vector<std::string> &Args);
void PrintUsage(std::FILE *Out);

// The platform the options name: files when given, the sample otherwise.
[[nodiscard]] bool LoadPlatform(const Options &Opts, PlatformInput &Out, std::string &Error);

}  // namespace bioscfgsim
