// The runtime's printf families against the host C library.
//
// Every format is run through crt::snprintf and the host's snprintf with the
// same arguments, and through crt::swprintf with the same format made wide
// (8-bit string arguments marked %hs there), so one table checks both
// instantiations of the formatting engine.
#include "runtime/crt.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::u16string Widen(const std::string &Text) {
  std::u16string Wide;
  for (unsigned char C : Text) Wide.push_back(C);
  return Wide;
}

std::string Narrow(const CHAR16 *Text) {
  std::string Out;
  for (; *Text != 0; ++Text) Out.push_back(static_cast<char>(*Text));
  return Out;
}

// In the 16-bit family a plain %s takes a CHAR16 string: mark 8-bit ones.
std::string MarkNarrowStrings(const std::string &Format) {
  std::string Out;
  for (size_t I = 0; I < Format.size(); ++I) {
    Out.push_back(Format[I]);
    if (Format[I] != '%') continue;
    size_t J = I + 1;
    while (J < Format.size() && std::string("-0+ #*.0123456789").find(Format[J]) != std::string::npos) ++J;
    if (J < Format.size() && Format[J] == 's') {
      Out.append(Format, I + 1, J - I - 1);
      Out += "hs";
      I = J;
    } else if (J < Format.size() && Format[J] == '%') {
      Out.push_back('%');
      I = J;
    }
  }
  return Out;
}

template <class... A> void ExpectMatchesHost(const char *Format, A... Args) {
  char Host[512];
  int HostLength = std::snprintf(Host, sizeof(Host), Format, Args...);

  char Ours[512];
  int OurLength = crt::snprintf(Ours, sizeof(Ours), Format, Args...);
  EXPECT_EQ(OurLength, HostLength) << Format;
  EXPECT_STREQ(Ours, Host) << Format;

  std::u16string WideFormat = Widen(MarkNarrowStrings(Format));
  CHAR16 Wide[512];
  int WideLength = crt::swprintf(Wide, 512, W(WideFormat.c_str()), Args...);
  EXPECT_EQ(WideLength, HostLength) << WideFormat.size() << " " << Format;
  EXPECT_EQ(Narrow(Wide), std::string(Host)) << Format;
}

TEST(Format, SignedIntegersMatchHost) {
  ExpectMatchesHost("%d|%i|%d", 0, -1, 42);
  ExpectMatchesHost("%d %d", INT_MAX, INT_MIN);
  ExpectMatchesHost("[%5d][%-5d][%05d][%+d][% d]", 42, 42, -42, 42, 42);
  ExpectMatchesHost("[%.3d][%8.3d][%-8.3d][%08.3d]", 7, -7, 7, 7);
  ExpectMatchesHost("[%.0d][%5.0d]", 0, 0);
  ExpectMatchesHost("%ld %lld %lld", LONG_MIN, LLONG_MAX, LLONG_MIN);
  ExpectMatchesHost("%hd %hhd", 70000, 300);  // truncated to short and char
  ExpectMatchesHost("%zd", static_cast<size_t>(-5));
  ExpectMatchesHost("[%*d][%-*d][%*d]", 6, 1, 6, 2, -6, 3);
}

TEST(Format, UnsignedIntegersMatchHost) {
  ExpectMatchesHost("%u %u", 0u, UINT_MAX);
  ExpectMatchesHost("%x %X %#x %#X %#x", 0xBEEFu, 0xBEEFu, 255u, 255u, 0u);
  ExpectMatchesHost("[%08x][%-8X][%8.4x]", 0xABu, 0xABu, 0xABu);
  ExpectMatchesHost("%lx %llX %zx %zu", ULONG_MAX, 0x123456789ABCDEFULL, SIZE_MAX, static_cast<size_t>(12345));
  ExpectMatchesHost("%hx %hhx %hu %hhu", 0x12345u, 0x1FFu, 65537u, 257u);
  ExpectMatchesHost("%o %#o %#o %#.0o", 8u, 8u, 0u, 0u);
}

TEST(Format, CharactersAndNarrowStringsMatchHost) {
  ExpectMatchesHost("[%c][%3c][%-3c]", 'a', 'b', 'c');
  ExpectMatchesHost("[%s][%10s][%-10s]", "text", "right", "left");
  ExpectMatchesHost("[%.2s][%.0s][%8.3s][%.*s]", "abcdef", "abc", "abcdef", 4, "abcdefgh");
  ExpectMatchesHost("[%s]", "");
  ExpectMatchesHost("100%% %s%%", "done");
}

TEST(Format, NullStringsPrintAsHostDoes) {
  const char *Null = nullptr;
  ExpectMatchesHost("[%s][%8s][%.6s]", Null, Null, Null);
  ExpectMatchesHost("[%.3s]", Null);  // cut short: glibc prints nothing
  char Out[32];
  crt::snprintf(Out, sizeof(Out), "[%ls]", static_cast<const CHAR16 *>(nullptr));
  EXPECT_STREQ(Out, "[(null)]");
}

TEST(Format, WideStringArguments) {
  const CHAR16 *Prompt = W(u"Boot Mode");
  char Narrow8[64];
  EXPECT_EQ(crt::snprintf(Narrow8, sizeof(Narrow8), "<%ls|%-11ls|%.4ls>", Prompt, Prompt, Prompt), 28);
  EXPECT_STREQ(Narrow8, "<Boot Mode|Boot Mode  |Boot>");

  CHAR16 Wide[64];
  EXPECT_EQ(crt::swprintf(Wide, 64, W(u"%s=%ls;%hs"), Prompt, Prompt, "8-bit"), 25);
  EXPECT_EQ(Narrow(Wide), "Boot Mode=Boot Mode;8-bit");

  // Units above 0xFF keep their low byte in 8-bit output, whole in 16-bit.
  const CHAR16 NonLatin[] = {0x0141, 'x', 0};
  crt::snprintf(Narrow8, sizeof(Narrow8), "%ls", NonLatin);
  EXPECT_EQ(static_cast<unsigned char>(Narrow8[0]), 0x41);
  crt::swprintf(Wide, 64, W(u"%s"), NonLatin);
  EXPECT_EQ(Wide[0], 0x0141);
}

TEST(Format, PrecisionNeverReadsPastItsLimit) {
  // Not terminated: a reader that looks beyond the precision trips ASan.
  const char Unterminated[3] = {'a', 'b', 'c'};
  const CHAR16 WideUnterminated[2] = {'x', 'y'};
  char Out[16];
  crt::snprintf(Out, sizeof(Out), "%.3s|%.2ls", Unterminated, WideUnterminated);
  EXPECT_STREQ(Out, "abc|xy");
}

TEST(Format, NarrowFamilyReportsFullLengthWhenCut) {
  char Out[8];
  std::memset(Out, 'X', sizeof(Out));
  EXPECT_EQ(crt::snprintf(Out, 5, "%s-%d", "abcdef", 12345), 12);
  EXPECT_STREQ(Out, "abcd");
  EXPECT_EQ(Out[5], 'X') << "wrote beyond the given size";

  EXPECT_EQ(crt::snprintf(nullptr, 0, "%08x", 1u), 8);
  Out[0] = 'X';
  EXPECT_EQ(crt::snprintf(Out, 1, "abc"), 3);
  EXPECT_EQ(Out[0], '\0');
}

TEST(Format, WideFamilyReportsOverflowAsMinusOne) {
  CHAR16 Out[8];
  for (CHAR16 &Unit : Out) Unit = 'X';
  EXPECT_EQ(crt::swprintf(Out, 5, W(u"%d"), 123456), -1);
  EXPECT_EQ(Narrow(Out), "1234");
  EXPECT_EQ(Out[5], 'X') << "wrote beyond the given size";

  EXPECT_EQ(crt::swprintf(Out, 5, W(u"%d"), 1234), 4) << "exactly fitting";
  EXPECT_EQ(crt::swprintf(Out, 0, W(u"")), -1) << "no room even for the NUL";
}

TEST(Format, UnknownConversionIsShownAsWritten) {
  char Out[32];
  EXPECT_EQ(crt::snprintf(Out, sizeof(Out), "a%qb%", 1), 5);
  EXPECT_STREQ(Out, "a%qb%");
}

}  // namespace
