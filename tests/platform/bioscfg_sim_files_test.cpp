// The host tool's platform files: the variable store text of the host's
// variable lists and the export header detection.
#include "hiibuild/host/hii_export_builder.h"
#include "platform/variable_store_text.h"
#include "tools/bioscfg-sim/platform_files.h"

#include <gtest/gtest.h>

namespace {

using namespace bioscfgsim;
using platform::FormatVariableStore;
using platform::ParseVariableStore;

// The sample's variables survive a round trip; comments, blank lines, bare
// GUIDs, hex attributes and empty data ("-") are accepted.
TEST(VariableStoreText, RoundTripsAndAcceptsTheLooseForms) {
  auto Sample = platform::Sample().Variables;
  std::vector<platform::PlatformVariable> Parsed;
  std::string Error;
  ASSERT_TRUE(ParseVariableStore(FormatVariableStore(Sample) +
                                     "# note\n\n  Lang c7f7c970-fcff-455d-a884-f67c0e300856 0x3 656E\n"
                                     "Empty {C7F7C970-FCFF-455D-A884-F67C0E300856} 7 -\n",
                                 Parsed, Error))
      << Error;
  Sample.push_back({u"Lang", platform::gSampleSetupFormSetGuid, 3, {0x65, 0x6E}});
  Sample.push_back({u"Empty", platform::gSampleSetupFormSetGuid, 7, {}});
  ASSERT_EQ(Parsed.size(), Sample.size());
  for (size_t I = 0; I < Sample.size(); ++I) {
    EXPECT_EQ(Parsed[I].Name, Sample[I].Name);
    EXPECT_TRUE(hiibuild::GuidsEqual(Parsed[I].Guid, Sample[I].Guid));
    EXPECT_EQ(Parsed[I].Attributes, Sample[I].Attributes);
    EXPECT_EQ(Parsed[I].Data, Sample[I].Data);
  }
}

TEST(VariableStoreText, RejectsMalformedLinesNamingTheLine) {
  const std::string Guid = " {158DEF5A-F656-419C-B027-7A3192C079D2} ";
  struct Case {
    std::string Line;
    const char *Reason;
  };
  for (const Case &C : {Case{"Setup" + Guid + "7", "expected NAME GUID ATTRIBUTES DATA"},
                        Case{"Setup {158DEF5A} 7 00", "bad GUID"},
                        Case{"Setup" + Guid + "7x 00", "bad attributes"},
                        Case{"Setup" + Guid + "123456789 00", "bad attributes"},
                        Case{"Setup" + Guid + "7 0", "hex digits"},
                        Case{"Setup" + Guid + "7 0G", "hex digits"},
                        Case{"Setup" + Guid + "7 00 extra", "unexpected text"}}) {
    std::vector<platform::PlatformVariable> Parsed;
    std::string Error;
    EXPECT_FALSE(ParseVariableStore("# ok\n" + C.Line + "\n", Parsed, Error)) << C.Line;
    EXPECT_NE(Error.find("line 2: "), std::string::npos) << Error;
    EXPECT_NE(Error.find(C.Reason), std::string::npos) << Error;
  }
}

TEST(ExportFile, HeaderStyleSelectsTheServingProtocol) {
  for (auto Style : {hiibuild::ExportHeaderStyle::Classic, hiibuild::ExportHeaderStyle::Extended}) {
    hiibuild::ExportBuilder Export(Style);
    Export.AddTable(platform::gSampleSetupFormSetGuid).Ifr().Form(1, u"Main").EndForm();
    EXPECT_TRUE(hiibuild::GuidsEqual(HiiProtocolOf(Export.Build()), Export.ProtocolGuid()));
  }
  EXPECT_TRUE(hiibuild::GuidsEqual(HiiProtocolOf({}), gFrameworkHiiProtocolGuid));
}

}  // namespace
