// The commands of bioscfg-sim. Each one is an entry of the table in
// commands.cpp; a new command is a function and one more entry.
#pragma once

#include "tools/bioscfg-sim/platform_files.h"

#include <cstdio>
#include <string>
#include <vector>

namespace bioscfgsim {

struct Options {
  std::string ExportPath;     // empty: the sample platform
  std::string VariablesPath;  // empty: the sample platform's defaults
  std::string MessagesPath;   // catalog text source
};

struct Command {
  const char *Name;
  const char *Arguments;
  const char *Summary;
  int (*Run)(const Options &Opts, const std::vector<std::string> &Args);
};

const std::vector<Command> &Commands();
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
