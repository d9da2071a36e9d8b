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

}  // namespace bioscfgsim
