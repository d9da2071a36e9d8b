// The runtime's printf families against the host C library.
//
// Every format is run through crt::snprintf and the host's snprintf with the
// same arguments, and through crt::swprintf with the same format made wide,
// so one table checks both instantiations of the formatting engine. As in
// C, %s is an 8-bit string in both families and %ls a CHAR16 one.
#include "runtime/crt.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::string Narrow(const CHAR16 *Text) {
  std::string Out;
  for (; *Text != 0; ++Text) Out.push_back(static_cast<char>(*Text));
  return Out;
}

std::u16string Widened(const std::string &Format) { return std::u16string(Format.begin(), Format.end()); }

template <class... A> void ExpectMatchesHost(const char *Format, A... Args) {
  char Host[512], Ours[512];
  int HostLength = std::snprintf(Host, sizeof(Host), Format, Args...);
  EXPECT_EQ(crt::snprintf(Ours, sizeof(Ours), Format, Args...), HostLength) << Format;
  EXPECT_STREQ(Ours, Host) << Format;

  CHAR16 Wide[512];
  EXPECT_EQ(crt::swprintf(Wide, 512, W(Widened(Format).c_str()), Args...), HostLength) << Format;
  EXPECT_EQ(Narrow(Wide), std::string(Host)) << Format;
}

TEST(Format, MatchesHost) {
  const char *Null = nullptr;
  ExpectMatchesHost("%d|%i|%d %d %d", 0, -1, 42, INT_MAX, INT_MIN);
  ExpectMatchesHost("[%5d][%-5d][%05d][%+d][% d]", 42, 42, -42, 42, 42);
  ExpectMatchesHost("[%.3d][%8.3d][%-8.3d][%08.3d][%.0d][%5.0d]", 7, -7, 7, 7, 0, 0);
  ExpectMatchesHost("%ld %lld %lld %zd", LONG_MIN, LLONG_MAX, LLONG_MIN, static_cast<size_t>(-5));
  ExpectMatchesHost("%hd %hhd %hx %hhx %hu %hhu", 70000, 300, 0x12345u, 0x1FFu, 65537u, 257u);
  ExpectMatchesHost("[%*d][%-*d][%*d]", 6, 1, 6, 2, -6, 3);
  ExpectMatchesHost("%u %u %x %X %#x %#X %#x", 0u, UINT_MAX, 0xBEEFu, 0xBEEFu, 255u, 255u, 0u);
  ExpectMatchesHost("[%08x][%-8X][%8.4x]", 0xABu, 0xABu, 0xABu);
  ExpectMatchesHost("%lx %llX %zx %zu", ULONG_MAX, 0x123456789ABCDEFULL, SIZE_MAX, static_cast<size_t>(12345));
  ExpectMatchesHost("%o %#o %#o %#.0o", 8u, 8u, 0u, 0u);
  ExpectMatchesHost("[%c][%3c][%-3c]", 'a', 'b', 'c');
  ExpectMatchesHost("[%s][%10s][%-10s][%s]", "text", "right", "left", "");
  ExpectMatchesHost("[%.2s][%.0s][%8.3s][%.*s]", "abcdef", "abc", "abcdef", 4, "abcdefgh");
  ExpectMatchesHost("100%% %s%%", "done");
  ExpectMatchesHost("[%s][%8s][%.6s][%.3s]", Null, Null, Null, Null);
}

TEST(Format, WideStringArguments) {
  const CHAR16 *Prompt = W(u"Boot Mode");
  char Out8[64];
  EXPECT_EQ(crt::snprintf(Out8, sizeof(Out8), "<%ls|%-11ls|%.4ls>", Prompt, Prompt, Prompt), 28);
  EXPECT_STREQ(Out8, "<Boot Mode|Boot Mode  |Boot>");
  crt::snprintf(Out8, sizeof(Out8), "[%ls]", static_cast<const CHAR16 *>(nullptr));
  EXPECT_STREQ(Out8, "[(null)]");

  // C's vswprintf: %s and %hs take 8-bit strings, %ls a wide one.
  CHAR16 Wide[64];
  EXPECT_EQ(crt::swprintf(Wide, 64, W(u"%s=%ls;%hs"), "Boot", Prompt, "8-bit"), 20);
  EXPECT_EQ(Narrow(Wide), "Boot=Boot Mode;8-bit");
  const char HighByte[] = {'\xE9', 0};
  crt::swprintf(Wide, 64, W(u"%s"), HighByte);
  EXPECT_EQ(Wide[0], 0x00E9) << "a byte widens by its unsigned value";

  // Units above 0xFF keep their low byte in 8-bit output, whole in 16-bit.
  const CHAR16 NonLatin[] = {0x0141, 'x', 0};
  crt::snprintf(Out8, sizeof(Out8), "%ls", NonLatin);
  EXPECT_EQ(static_cast<unsigned char>(Out8[0]), 0x41);
  crt::swprintf(Wide, 64, W(u"%ls"), NonLatin);
  EXPECT_EQ(Wide[0], 0x0141);

  // Not terminated: a reader that looks beyond the precision trips ASan.
  const char Unterminated[3] = {'a', 'b', 'c'};
  const CHAR16 WideUnterminated[2] = {'x', 'y'};
  crt::snprintf(Out8, sizeof(Out8), "%.3s|%.2ls|a%qb%", Unterminated, WideUnterminated, 1);
  EXPECT_STREQ(Out8, "abc|xy|a%qb%") << "an unknown conversion is shown as written";
}

TEST(Format, TruncatedOutput) {
  char Out[8];
  std::memset(Out, 'X', sizeof(Out));
  EXPECT_EQ(crt::snprintf(Out, 5, "%s-%d", "abcdef", 12345), 12) << "8-bit: the full length";
  EXPECT_STREQ(Out, "abcd");
  EXPECT_EQ(Out[5], 'X') << "wrote beyond the given size";
  EXPECT_EQ(crt::snprintf(nullptr, 0, "%08x", 1u), 8);

  CHAR16 Wide[8];
  for (CHAR16 &Unit : Wide) Unit = 'X';
  EXPECT_EQ(crt::swprintf(Wide, 5, W(u"%d"), 123456), -1) << "16-bit: overflow is -1";
  EXPECT_EQ(Narrow(Wide), "1234");
  EXPECT_EQ(Wide[5], 'X') << "wrote beyond the given size";
  EXPECT_EQ(crt::swprintf(Wide, 5, W(u"%d"), 1234), 4) << "exactly fitting";
  EXPECT_EQ(crt::swprintf(Wide, 0, W(u"")), -1) << "no room even for the NUL";
}

}  // namespace
