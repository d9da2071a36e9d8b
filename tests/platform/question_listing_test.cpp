// The question list the host tool prints, for the sample platform and for
// each of the builder's example exports, compared byte for byte with the
// listing recorded under tests/platform/listings/. However the database
// keeps its records and options, what a user sees must not move.
//
// After a change meant to alter what the parser finds, record the listings
// again and review the difference:
//   BIOSCFG_RECORD_LISTINGS=1 build/tests/platform/platform_tests --gtest_filter='QuestionListing.*'
#include "fuzz/seed_guids.h"
#include "hiibuild/host/example_exports.h"
#include "tools/bioscfg-sim/commands.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using bioscfgsim::PlatformInput;

const std::string kSourceDir = BIOSCFG_SOURCE_DIR;

// The variables the example exports read (see example_exports.h): the
// same ones the form fuzzer's platform holds.
std::vector<platform::PlatformVariable> ExampleVariables() {
  std::vector<uint8_t> Setup(64);
  for (size_t I = 0; I < Setup.size(); ++I) Setup[I] = static_cast<uint8_t>(I % 3);
  std::vector<platform::PlatformVariable> Variables;
  for (const EFI_GUID &Guid : {fuzz::kSeedFormSetGuid, fuzz::kSeedOtherGuid}) {
    Variables.push_back({u"Setup", Guid, 0x7, Setup});
    Variables.push_back({u"Other", Guid, 0x3, {1, 0, 1, 0}});
    Variables.push_back({u"Large", Guid, 0x7, std::vector<uint8_t>(5000, 1)});
  }
  return Variables;
}

std::string ListingOf(const PlatformInput &Platform) {
  char *Text = nullptr;
  size_t Size = 0;
  std::FILE *Out = open_memstream(&Text, &Size);
  if (Out == nullptr) return "<no memory stream>";
  std::string Error;
  const bool Listed = bioscfgsim::ListQuestions(Platform, kSourceDir + "/messages/bioscfg.messages", Out, Error);
  std::fclose(Out);
  std::string Listing(Text, Size);
  std::free(Text);
  return Listed ? Listing : "list failed: " + Error;
}

std::string Recorded(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

TEST(QuestionListing, SamplePlatformAndExampleExportsListAsRecorded) {
  std::vector<std::pair<std::string, PlatformInput>> Platforms = {
      {"sample_platform", bioscfgsim::SamplePlatformInput()}};
  for (const hiibuild::ExampleExport &E : hiibuild::ExampleExports(fuzz::kSeedFormSetGuid, fuzz::kSeedOtherGuid)) {
    Platforms.push_back({E.Name, PlatformInput{E.Image, E.ProtocolGuid, ExampleVariables()}});
  }
  const bool Record = std::getenv("BIOSCFG_RECORD_LISTINGS") != nullptr;
  for (const auto &[Name, Platform] : Platforms) {
    SCOPED_TRACE(Name);
    const std::string Path = kSourceDir + "/tests/platform/listings/" + Name + ".txt";
    const std::string Listing = ListingOf(Platform);
    if (Record) {
      std::ofstream(Path, std::ios::binary) << Listing;
      continue;
    }
    EXPECT_EQ(Listing, Recorded(Path)) << "recorded in " << Path;
  }
}

}  // namespace
