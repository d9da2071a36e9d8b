// String and memory functions against the host C library, on the inputs
// where hand-written versions usually go wrong: bytes above 0x7F, empty
// strings, overlapping moves, limits that end inside a string.
#include "runtime/crt.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

int Sign(int Value) { return (Value > 0) - (Value < 0); }

TEST(Strings, ComparisonsAndSearchesMatchHost) {
  const std::pair<const char *, const char *> Pairs[] = {
      {"", ""}, {"a", ""}, {"", "a"}, {"abc", "abd"}, {"abc", "ab"}, {"\x80", "\x7f"}, {"\xff", "a"}, {"Setup", "setup"}};
  for (const auto &[A, B] : Pairs) {
    EXPECT_EQ(Sign(crt::strcmp(A, B)), Sign(std::strcmp(A, B))) << A << "|" << B;
    for (size_t Max : {0, 2, 3, 10}) {
      EXPECT_EQ(Sign(crt::strncmp(A, B, Max)), Sign(std::strncmp(A, B, Max))) << A << "|" << B << " max " << Max;
    }
    size_t Common = std::min(std::strlen(A), std::strlen(B)) + 1;
    EXPECT_EQ(Sign(crt::memcmp(A, B, Common)), Sign(std::memcmp(A, B, Common))) << A << "|" << B;
  }
  const char *Text = "fs0:\\tools/bioscfg.str";
  for (int C : {'\\', 's', 'z', '\0'}) {
    EXPECT_EQ(crt::strchr(Text, C), std::strchr(Text, C)) << char(C);
    EXPECT_EQ(crt::strrchr(Text, C), std::strrchr(Text, C)) << char(C);
  }
  for (const char *Needle : {"", "tools", "str", "strx", "fs0:\\tools/bioscfg.str!"}) {
    EXPECT_EQ(crt::strstr(Text, Needle), std::strstr(Text, Needle)) << Needle;
  }
  EXPECT_EQ(crt::strnlen("abc", 2), 2u);
}

TEST(Strings, CopiesAndMovesAsC) {
  char Buffer[8];
  std::memset(Buffer, 'X', sizeof(Buffer));
  crt::strncpy(Buffer, "ab", 5);
  EXPECT_EQ(std::string(Buffer, 6), std::string("ab\0\0\0X", 6)) << "pads with NULs up to the limit only";
  std::memset(Buffer, 'X', sizeof(Buffer));
  crt::strncpy(Buffer, "abcdef", 3);
  EXPECT_EQ(std::string(Buffer, 4), "abcX") << "no terminator when the source is as long as the limit";

  char Joined[16] = "fs0:";
  EXPECT_STREQ(crt::strcat(crt::strcat(Joined, "\\tools"), ""), "fs0:\\tools");

  for (int Shift : {-3, -1, 1, 3}) {
    std::string Ours = "0123456789";
    std::string Host = Ours;
    crt::memmove(Ours.data() + 3 + Shift, Ours.data() + 3, 5);
    std::memmove(Host.data() + 3 + Shift, Host.data() + 3, 5);
    EXPECT_EQ(Ours, Host) << "shift " << Shift;
  }
}

TEST(WideStrings, CompareByUnitValue) {
  const CHAR16 High[] = {0x8000, 0};
  const CHAR16 Low[] = {0x7FFF, 0};
  EXPECT_GT(crt::wcscmp(High, Low), 0) << "units are unsigned";
  EXPECT_LT(crt::wcscmp(W(u"Setup"), W(u"SetupX")), 0);
  EXPECT_EQ(crt::wcsncmp(W(u"Boot Mode"), W(u"Boot Order"), 5), 0);
  EXPECT_NE(crt::wcsncmp(W(u"Boot Mode"), W(u"Boot Order"), 6), 0);
  EXPECT_EQ(crt::wcsncmp(W(u"ab"), W(u"ab"), 10), 0) << "stops at the terminator";
  CHAR16 Copy[8];
  EXPECT_EQ(crt::wcslen(crt::wcscpy(Copy, W(u"abc"))), 3u);
}

}  // namespace
