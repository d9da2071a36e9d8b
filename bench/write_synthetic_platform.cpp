// Writes the synthetic setup database of the load benchmark as the two
// files bioscfg-sim reads, so that a whole run of the host tool can be
// timed on it:
//
//   write_synthetic_platform FOLDER QUESTIONS
//   bioscfg-sim --export FOLDER/platform.hii --variables FOLDER/variables.txt list
#include "bench/synthetic_forms.h"
#include "platform/variable_store_text.h"
#include "tools/bioscfg-sim/platform_files.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int Argc, char **Argv) {
  if (Argc != 3 || std::atoi(Argv[2]) <= 0) {
    std::fprintf(stderr, "usage: %s FOLDER QUESTIONS\n", Argv[0]);
    return 2;
  }
  bench::SyntheticShape Shape;
  Shape.Questions = std::atoi(Argv[2]);
  const bench::SyntheticDatabase Synthetic = bench::BuildSyntheticDatabase(Shape);
  const std::string Folder = Argv[1];
  const std::string Store = platform::FormatVariableStore(Synthetic.Variables);
  std::string Error;
  if (!bioscfgsim::WriteFileBytes(Folder + "/platform.hii", Synthetic.Export, Error) ||
      !bioscfgsim::WriteFileBytes(Folder + "/variables.txt", std::vector<uint8_t>(Store.begin(), Store.end()), Error)) {
    std::fprintf(stderr, "write_synthetic_platform: %s\n", Error.c_str());
    return 1;
  }
  return 0;
}
