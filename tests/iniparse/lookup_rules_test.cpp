// The format rules and result codes of the lookup, one file per case.
#include "tests/iniparse/parser_fixture.h"

#include <cstdio>
#include <ostream>

namespace {

struct RuleCase {
  const char *Name;
  std::string File;  // contents of fs0:\tools\rules.ini
  std::string Section;
  std::string Key;
  INT32 Result;
  std::string Value;
};

const RuleCase RULES[] = {
    {"PlainKey", "[S]\nk=v\n", "S", "k", INI_LOOKUP_FOUND, "v"},
    {"SectionIgnoresCase", "[bios::Main]\nk=v\n", "BIOS::MAIN", "k", INI_LOOKUP_FOUND, "v"},
    {"KeyIgnoresCase", "[S]\nQuiet Boot=1\n", "S", "QUIET boot", INI_LOOKUP_FOUND, "1"},
    {"OnlyAsciiFolds", "[\xC4]\nk=v\n", "\xE4", "k", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"BlanksAroundKeyAndValue", "[S]\n \t Key \t=\t value with blanks \t\n", "S", "Key", INI_LOOKUP_FOUND,
     "value with blanks"},
    {"AskedKeyBlanksIgnored", "[S]\nKey=1\n", "S", " \tKey ", INI_LOOKUP_FOUND, "1"},
    {"ValueEndsAtSemicolon", "[S]\nk=12 ;Options: 1=On\n", "S", "k", INI_LOOKUP_FOUND, "12"},
    {"ValueKeepsEquals", "[S]\nk=a=b\n", "S", "k", INI_LOOKUP_FOUND, "a=b"},
    {"KeyEndsAtFirstEquals", "[S]\na=b=c\n", "S", "a=b", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"KeyMayHoldSemicolon", "[S]\na;b=1\n", "S", "a;b", INI_LOOKUP_FOUND, "1"},
    {"KeyMayHoldBrackets", "[S]\na[1]=x\n", "S", "a[1]", INI_LOOKUP_FOUND, "x"},
    {"EmptyValue", "[S]\nk=\n", "S", "k", INI_LOOKUP_FOUND, ""},
    {"EmptyValueBeforeComment", "[S]\nk=  ;c\n", "S", "k", INI_LOOKUP_FOUND, ""},
    {"SemicolonComment", "[S]\n  ; k=1\n", "S", "k", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"HashComment", "[S]\n\t#k=1\n", "S", "k", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"HashInsideValueIsText", "[S]\nk=a#b\n", "S", "k", INI_LOOKUP_FOUND, "a#b"},
    {"CrLf", "[S]\r\nk=v\r\n", "S", "k", INI_LOOKUP_FOUND, "v"},
    {"CrLfSection", "[S]\r\n", "S", "", INI_LOOKUP_FOUND, ""},
    {"LastLineWithoutNewline", "[S]\nk=v", "S", "k", INI_LOOKUP_FOUND, "v"},
    {"ByteOrderMarkSkipped", "\xEF\xBB\xBF[S]\nk=v\n", "S", "k", INI_LOOKUP_FOUND, "v"},
    {"ByteOrderMarkOnlyAtStart", "[S]\n\xEF\xBB\xBFk=v\n", "S", "k", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"HeadingIsTextBetweenBrackets", "[ S ] trailing text\nk=v\n", " s ", "k", INI_LOOKUP_FOUND, "v"},
    {"HeadingNotTrimmed", "[ S ]\nk=v\n", "S", "k", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"HeadingEndsAtFirstBracket", "[a]b]\nk=v\n", "a", "k", INI_LOOKUP_FOUND, "v"},
    {"IndentedHeading", "  \t[S]\nk=v\n", "S", "k", INI_LOOKUP_FOUND, "v"},
    {"UnclosedHeadingIgnored", "[S\nk=v\n", "S", "", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"KeysBeforeAnyHeadingIgnored", "k=v\n[S]\n", "S", "k", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"LineWithoutEqualsIgnored", "[S]\nk v\n", "S", "k v", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"EmptyKeyNameIgnored", "[S]\n =5\nk=1\n", "S", "k", INI_LOOKUP_FOUND, "1"},
    {"LaterKeyReplacesEarlier", "[S]\nk=1\nk=2\n", "S", "K", INI_LOOKUP_FOUND, "2"},
    {"SameKeyInOtherSection", "[S]\nk=1\n[T]\nk=2\n", "s", "k", INI_LOOKUP_FOUND, "1"},
    {"LaterSectionReplacesWhole", "[S]\na=1\nb=2\n[T]\nx=0\n[s]\na=3\n", "S", "b", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"LaterSectionValue", "[S]\na=1\nb=2\n[T]\nx=0\n[s]\na=3\n", "S", "a", INI_LOOKUP_FOUND, "3"},
    {"OtherSectionUntouchedByRepeat", "[S]\na=1\n[T]\nx=0\n[S]\na=3\n", "T", "x", INI_LOOKUP_FOUND, "0"},
    {"EmptyRepeatEmptiesSection", "[S]\na=1\n[S]\n", "S", "a", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"ProbeExistingSection", "[S]\n", "S", "", INI_LOOKUP_FOUND, ""},
    {"ProbeWithBlanksOnly", "[S]\n", "S", "  \t", INI_LOOKUP_FOUND, ""},
    {"ProbeMissingSection", "[S]\n", "T", "", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"MissingSection", "[S]\nk=v\n", "T", "k", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"PrefixIsNotTheSection", "[BIOS::MAIN]\n", "BIOS", "", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"PrefixIsNotTheKey", "[S]\nkey=1\n", "S", "ke", INI_LOOKUP_KEY_NOT_FOUND, ""},
    {"EmptySectionName", "[]\nk=v\n", "", "k", INI_LOOKUP_FOUND, "v"},
    {"EmptyFile", "", "S", "", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"BlankLinesOnly", "\n \n\t\r\n", "S", "", INI_LOOKUP_SECTION_NOT_FOUND, ""},
    {"NulInsideValueEndsTheText", std::string("[S]\nk=a\0b\n", 10), "S", "k", INI_LOOKUP_FOUND, "a"},
};

void PrintTo(const RuleCase &C, std::ostream *Out) { *Out << C.Name; }

class LookupRules : public ParserTest, public ::testing::WithParamInterface<RuleCase> {};

TEST_P(LookupRules, FileGivesResult) {
  const RuleCase &C = GetParam();
  WriteTools("rules.ini", C.File);
  const Answer A = Ask("rules.ini", C.Section, C.Key);
  EXPECT_EQ(A.Result, C.Result);
  EXPECT_EQ(A.Value, C.Value);
}

INSTANTIATE_TEST_SUITE_P(IniParser, LookupRules, ::testing::ValuesIn(RULES),
                         [](const auto &Info) { return std::string(Info.param.Name); });

// ValueSize counts the value's bytes and its NUL; a value that does not fit
// gets VALUE_TOO_LONG and the buffer stays untouched (Ask checks the bytes).
struct SizeCase {
  const char *Name;
  std::string Key;
  UINT16 ValueSize;
  INT32 Result;
};

const SizeCase SIZES[] = {
    {"ValueAndNulFit", "five", 6, INI_LOOKUP_FOUND},
    {"NoRoomForNul", "five", 5, INI_LOOKUP_VALUE_TOO_LONG},
    {"NoRoomAtAll", "five", 0, INI_LOOKUP_VALUE_TOO_LONG},
    {"EmptyValueNeedsOneByte", "empty", 1, INI_LOOKUP_FOUND},
    {"EmptyValueInNothing", "empty", 0, INI_LOOKUP_VALUE_TOO_LONG},
    {"ProbeNeedsOneByte", "", 0, INI_LOOKUP_VALUE_TOO_LONG},
    {"DriverSizeLongValue", "long", 128, INI_LOOKUP_VALUE_TOO_LONG},
    {"DriverSizeLongestValue", "longest", 128, INI_LOOKUP_FOUND},
    {"LargeBufferShortValue", "five", 4096, INI_LOOKUP_FOUND},
};

void PrintTo(const SizeCase &C, std::ostream *Out) { *Out << C.Name; }

class ValueSizes : public ParserTest, public ::testing::WithParamInterface<SizeCase> {};

TEST_P(ValueSizes, ValueFitsOrIsRefused) {
  const SizeCase &C = GetParam();
  WriteTools("sizes.ini", "[S]\nfive=12345\nempty=\nlong=" + std::string(128, 'x') + "\nlongest=" +
                              std::string(127, 'y') + "\n");
  EXPECT_EQ(Ask("sizes.ini", "S", C.Key, C.ValueSize).Result, C.Result);
}

INSTANTIATE_TEST_SUITE_P(IniParser, ValueSizes, ::testing::ValuesIn(SIZES),
                         [](const auto &Info) { return std::string(Info.param.Name); });

TEST_F(ParserTest, NullArgumentsAreAnsweredNotFollowed) {
  WriteTools("a.ini", "[S]\nk=v\n");
  CHAR8 Section[] = "S";
  CHAR8 Key[] = "k";
  CHAR8 File[] = "a.ini";
  CHAR8 Value[8] = {};
  EXPECT_EQ(Lookup()(nullptr, Key, nullptr, Value, sizeof Value, File, 0), INI_LOOKUP_SECTION_NOT_FOUND);
  EXPECT_EQ(Lookup()(Section, Key, nullptr, Value, sizeof Value, nullptr, 0), INI_LOOKUP_SECTION_NOT_FOUND);
  EXPECT_EQ(Lookup()(Section, Key, nullptr, nullptr, sizeof Value, File, 0), INI_LOOKUP_VALUE_TOO_LONG);
  EXPECT_EQ(Lookup()(Section, nullptr, nullptr, Value, sizeof Value, File, 0), INI_LOOKUP_FOUND) << "a probe";
}

// A block as the driver's export writes it: keys carry the prompt's leading
// blanks and are padded to 54 characters before ";Options"; the import asks
// by the prompt without its leading blanks. Saving twice appends a second
// block, whose sections replace the first block's.
std::string ExportLine(const std::string &KeyAndValue, const std::string &Options) {
  char Line[512];
  std::snprintf(Line, sizeof Line, "%-54s;Options%s\n", KeyAndValue.c_str(), Options.c_str());
  return Line;
}

std::string ExportBlock(int SerialAddress) {
  return "\n[BIOS]\n"
         "\n[BIOS::MAIN]\n" +
         ExportLine("Example Switch=1", ": 1=Enabled: 0=Disabled") +
         ExportLine("Example Delay=2", ": 3=0003: 2=0002: 1=0001: 0=0000") +
         ExportLine("  Indented Prompt=-5", ": N/A") +
         ExportLine(std::string(60, 'P') + "=7", ": N/A") +
         "\n[BIOS::ADVANCED]\n"
         "\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION]\n"
         "\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE]\n" +
         ExportLine("Serial A Enable=1", ": 1=Enabled: 0=Disabled") +
         ExportLine("Address=1016", ": 1016=3F8h: 760=2F8h") +
         "\n[BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE]\n" +
         ExportLine("Serial B Enable=0", ": 1=Enabled: 0=Disabled") +
         ExportLine("Address=" + std::to_string(SerialAddress), ": 1016=3F8h: 760=2F8h");
}

TEST_F(ParserTest, ExportedBlockIsReadByPrompt) {
  WriteTools("saved.ini", ExportBlock(760));
  EXPECT_EQ(Ask("saved.ini", "BIOS", "").Result, INI_LOOKUP_FOUND);
  EXPECT_EQ(Ask("saved.ini", "BIOS::MAIN", "Example Switch").Value, "1");
  EXPECT_EQ(Ask("saved.ini", "BIOS::MAIN", "Example Delay").Value, "2");
  EXPECT_EQ(Ask("saved.ini", "BIOS::MAIN", "Indented Prompt").Value, "-5");
  EXPECT_EQ(Ask("saved.ini", "BIOS::MAIN", std::string(60, 'P')).Value, "7");
  EXPECT_EQ(Ask("saved.ini", "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL A ENABLE", "Address").Value, "1016");
  EXPECT_EQ(Ask("saved.ini", "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE", "Address").Value, "760");
  EXPECT_EQ(Ask("saved.ini", "BIOS::ADVANCED", "Address").Result, INI_LOOKUP_KEY_NOT_FOUND);
  EXPECT_EQ(Ask("saved.ini", "BIOS::BOOT", "").Result, INI_LOOKUP_SECTION_NOT_FOUND);
}

TEST_F(ParserTest, SecondSavedBlockWins) {
  WriteTools("saved.ini", ExportBlock(760) + ExportBlock(1016));
  EXPECT_EQ(Ask("saved.ini", "BIOS::ADVANCED::SERIAL PORT CONFIGURATION::SERIAL B ENABLE", "Address").Value, "1016");
  EXPECT_EQ(Ask("saved.ini", "BIOS::MAIN", "Example Switch").Value, "1");
}

}  // namespace
