// Number parsing against the host's strtol, and the C-locale conversions
// between 8-bit and CHAR16 text.
#include "runtime/crt.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

TEST(Strtol, MatchesHostValueAndEnd) {
  const std::pair<const char *, int> Cases[] = {
      {"  -17xyz", 10}, {"+8", 10}, {"0x1F", 16}, {"0X1f", 0}, {"017", 0}, {"019", 0}, {"0x", 16}, {"0xg", 0},
      {"", 10}, {"   ", 10}, {"-", 10}, {"zz", 36}, {"12", 2}, {"\t\n 5", 10}, {"-0x10", 16},
      {"9223372036854775807", 10}, {"9223372036854775808", 10}, {"-9223372036854775808", 10},
      {"-9223372036854775809", 10},
      {"ffffffffffffffffff", 16}};
  for (const auto &[Text, Base] : Cases) {
    char *HostEnd = nullptr;
    char *OurEnd = nullptr;
    EXPECT_EQ(crt::strtol(Text, &OurEnd, Base), std::strtol(Text, &HostEnd, Base)) << Text << " base " << Base;
    EXPECT_EQ(OurEnd - Text, HostEnd - Text) << Text << " base " << Base;
  }
  for (int Base : {-1, 1, 37}) {
    char *End = nullptr;
    EXPECT_EQ(crt::strtol(Cases[0].first, &End, Base), 0) << Base;
    EXPECT_EQ(End, Cases[0].first) << "an invalid base parses nothing";
  }
  EXPECT_EQ(crt::atoi(" -45abc"), -45);
  EXPECT_EQ(crt::atoi("0x10"), 0) << "decimal only";
}

TEST(Conversions, WideToNarrow) {
  const CHAR16 Source[] = {'f', 's', '0', ':', 0xE9, 0};
  char Out[8];
  std::memset(Out, 'X', sizeof(Out));
  EXPECT_EQ(crt::wcstombs(Out, Source, sizeof(Out)), 5u);
  EXPECT_EQ(std::string(Out), std::string("fs0:\xE9"));
  EXPECT_EQ(crt::wcstombs(nullptr, Source, 0), 5u) << "nullptr measures, ignoring the limit";
  std::memset(Out, 'X', sizeof(Out));
  EXPECT_EQ(crt::wcstombs(Out, W(u"abcdef"), 3), 3u);
  EXPECT_EQ(std::string(Out, 4), "abcX") << "no terminator at the limit";

  const CHAR16 Unconvertible[] = {'a', 0x0100, 'b', 0};
  EXPECT_EQ(crt::wcstombs(Out, Unconvertible, sizeof(Out)), static_cast<size_t>(-1));
  EXPECT_EQ(crt::wcstombs(nullptr, Unconvertible, 0), static_cast<size_t>(-1));
  EXPECT_EQ(crt::wcstombs(Out, Unconvertible, 1), 1u) << "a bad unit beyond the limit is never looked at";
}

TEST(Conversions, NarrowToWideWidensUnsignedBytes) {
  CHAR16 Out[8];
  for (CHAR16 &Unit : Out) Unit = 0xAAAA;
  EXPECT_EQ(crt::mbstowcs(Out, "A\xFFz", 8), 3u);
  EXPECT_EQ(Out[1], 0x00FF) << "no sign extension";
  EXPECT_EQ(Out[3], 0);
  EXPECT_EQ(Out[4], 0xAAAA);
  EXPECT_EQ(crt::mbstowcs(nullptr, "hello", 0), 5u);
  EXPECT_EQ(crt::mbstowcs(Out, "hello", 2), 2u);
  EXPECT_EQ(Out[2], 'z') << "untouched beyond the limit (left from the earlier call)";
}

}  // namespace
