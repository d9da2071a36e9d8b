// The host tool's platform files: the variable store text and the export
// header detection.
#include "tools/bioscfg-sim/platform_files.h"
#include "tools/hiibuild/hii_export_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace bioscfgsim;

TEST(VariableStoreText, SamplePlatformRoundTrips) {
  const auto &Sample = platform::Sample().Variables;
  std::vector<platform::PlatformVariable> Parsed;
  std::string Error;
  ASSERT_TRUE(ParseVariableStore(FormatVariableStore(Sample), Parsed, Error)) << Error;
  ASSERT_EQ(Parsed.size(), Sample.size());
  for (size_t I = 0; I < Sample.size(); ++I) {
    EXPECT_EQ(Parsed[I].Name, Sample[I].Name);
    EXPECT_TRUE(hiibuild::GuidsEqual(Parsed[I].Guid, Sample[I].Guid));
    EXPECT_EQ(Parsed[I].Attributes, Sample[I].Attributes);
    EXPECT_EQ(Parsed[I].Data, Sample[I].Data);
  }
}

TEST(VariableStoreText, AcceptsCommentsEmptyDataAndBareNumbers) {
  std::vector<platform::PlatformVariable> Parsed;
  std::string Error;
  ASSERT_TRUE(ParseVariableStore("# header\n\n  Lang 158def5a-f656-419c-b027-7a3192c079d2 3 656E\n"
                                 "Empty {158DEF5A-F656-419C-B027-7A3192C079D2} 0x7 -\n",
                                 Parsed, Error))
      << Error;
  ASSERT_EQ(Parsed.size(), 2u);
  EXPECT_EQ(Parsed[0].Name, u"Lang");
  EXPECT_EQ(Parsed[0].Attributes, 3u);
  EXPECT_EQ(Parsed[0].Data, (std::vector<uint8_t>{0x65, 0x6E}));
  EXPECT_TRUE(Parsed[1].Data.empty());
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
  EXPECT_TRUE(hiibuild::GuidsEqual(HiiProtocolOf({}), hiibuild::gFrameworkHiiProtocolGuid));
}

}  // namespace
