// bioscfg-sim: the bioscfg driver on a simulated machine, from the command line.
#include "tools/bioscfg-sim/commands.h"

#include <cstdio>
#include <cstring>

#ifndef BIOSCFG_DEFAULT_MESSAGES
#define BIOSCFG_DEFAULT_MESSAGES "messages/bioscfg.messages"
#endif

int main(int Argc, char **Argv) {
  using namespace bioscfgsim;
  Options Opts;
  Opts.MessagesPath = BIOSCFG_DEFAULT_MESSAGES;
  int At = 1;
  for (; At < Argc && (std::strncmp(Argv[At], "--", 2) == 0 || std::strcmp(Argv[At], "-h") == 0); ++At) {
    std::string Flag = Argv[At];
    if (Flag == "--help" || Flag == "-h") {
      PrintUsage(stdout);
      return 0;
    }
    if (Flag == "--all-questions") {
      Opts.AllQuestions = true;
      continue;
    }
    std::string *Target = Flag == "--export"      ? &Opts.ExportPath
                          : Flag == "--variables" ? &Opts.VariablesPath
                          : Flag == "--messages"  ? &Opts.MessagesPath
                                                  : nullptr;
    if (Target == nullptr || At + 1 >= Argc) {
      std::fprintf(stderr, "bioscfg-sim: %s %s\n", Flag.c_str(),
                   Target == nullptr ? "is not an option" : "needs a value");
      PrintUsage(stderr);
      return 2;
    }
    *Target = Argv[++At];
  }
  if (At >= Argc) {
    PrintUsage(stderr);
    return 2;
  }
  for (const Command &C : Commands()) {
    if (C.Name != std::string(Argv[At])) continue;
    return C.Run(Opts, std::vector<std::string>(Argv + At + 1, Argv + Argc));
  }
  std::fprintf(stderr, "bioscfg-sim: unknown command '%s'\n", Argv[At]);
  PrintUsage(stderr);
  return 2;
}
