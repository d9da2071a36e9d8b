// Section names from form identifiers: children, siblings and forms higher
// up, as the export and the import both derive them.
#include "inicontract/section_path.h"

#include <gtest/gtest.h>

#include <string>

using inicontract::BuildSectionPath;
using inicontract::IsExportedFormTitle;
using inicontract::SECTION_PATH_BYTES;
using inicontract::UppercaseAscii;

namespace {

std::string Build(const char *Path, UINT32 Previous, const char *Title, UINT32 New) {
  char Result[SECTION_PATH_BYTES] = {};
  BuildSectionPath(Path, Previous, Title, New, Result);
  return Result;
}

TEST(SectionPath, NestingFollowsTheIdentifiers) {
  const char *Deep = "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE";
  struct Case {
    const char *Path;
    UINT32 Previous;
    UINT32 New;
    std::string Expected;
  } Cases[] = {
      {"BIOS", 0, 1, "BIOS::Title"},                 // the first form
      {"BIOS::MAIN", 1, 2, "BIOS::Title"},           // a sibling at the top
      {"BIOS::ADVANCED", 2, 21, "BIOS::ADVANCED::Title"},  // a child: 10 x 2 + 1
      {"BIOS::ADVANCED", 2, 29, "BIOS::ADVANCED::Title"},
      {"BIOS::ADVANCED", 2, 30, "BIOS::Title"},      // 30 - 20 is 10: not a child
      {Deep, 212, 23, "BIOS::ADVANCED::Title"},      // ancestor 21 lies 2 below 23
      {Deep, 212, 3, "BIOS::Title"},                 // ancestor 2
      {Deep, 212, 213, "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::Title"},  // sibling
      {Deep, 212, 221, "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::Title"},  // 9 above: still a sibling
      {Deep, 212, 30, "BIOS::Title"},                // 30 - 21 is 9: the ancestor test allows only 8
      {"BIOS::A::B", 21, 5, "BIOS::Title"},          // nothing matches: the top
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(Build(C.Path, C.Previous, "Title", C.New), C.Expected) << C.Path << " " << C.Previous << " -> " << C.New;
  }
}

TEST(SectionPath, NamesStayInsideTheBufferAndOnlyAToZIsRaised) {
  const std::string Long(200, 'x');
  const std::string Built = Build("BIOS::MAIN", 1, Long.c_str(), 10);
  EXPECT_EQ(Built.size(), SECTION_PATH_BYTES - 1);
  EXPECT_EQ(Built.substr(0, 12), "BIOS::MAIN::");

  char Text[] = "serial a \xe9t\xc9 [x]";
  EXPECT_STREQ(UppercaseAscii(Text), "SERIAL A \xe9T\xc9 [X]");
  EXPECT_TRUE(IsExportedFormTitle("mAiN"));
  EXPECT_TRUE(IsExportedFormTitle("Memory RAS and Performance Configuration"));
  EXPECT_FALSE(IsExportedFormTitle("Main "));
  EXPECT_FALSE(IsExportedFormTitle("Boot"));
}

}  // namespace
