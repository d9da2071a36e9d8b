// Writes the seed corpus of the form fuzzer: the sample platform and the
// builder's example exports, well-formed and malformed, each exercising a
// different part of the parser.
//
//   make_seeds OUTPUT_FOLDER
#include "fuzz/seed_guids.h"
#include "hiibuild/host/example_exports.h"
#include "platform/sample_platform.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool Write(const std::string &Folder, const std::string &Name, const hiibuild::Bytes &Image) {
  std::ofstream Out(Folder + "/" + Name, std::ios::binary);
  Out.write(reinterpret_cast<const char *>(Image.data()), static_cast<std::streamsize>(Image.size()));
  return static_cast<bool>(Out);
}

}  // namespace

int main(int Argc, char **Argv) {
  if (Argc != 2) {
    std::fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", Argv[0]);
    return 2;
  }
  const std::string Folder = Argv[1];
  std::vector<hiibuild::ExampleExport> Seeds = hiibuild::ExampleExports(fuzz::kSeedFormSetGuid, fuzz::kSeedOtherGuid);
  Seeds.push_back({"sample_platform", platform::Sample().Export, platform::Sample().HiiProtocolGuid});
  for (const hiibuild::ExampleExport &Seed : Seeds) {
    if (!Write(Folder, Seed.Name, Seed.Image)) {
      std::fprintf(stderr, "cannot write %s/%s\n", Folder.c_str(), Seed.Name.c_str());
      return 1;
    }
  }
  return 0;
}
