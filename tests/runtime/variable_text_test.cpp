// Which variable data counts as environment text. The firmware cases that
// matter: the Shell's `set` (UCS-2, no NUL), tools storing 8-bit text, and
// the one-zero-byte SecureBoot, which must not become an empty variable.
#include "runtime/variable_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<UINT8>;

Bytes Ucs2(const std::u16string &Text) {
  Bytes Out;
  for (char16_t Unit : Text) Out.insert(Out.end(), {static_cast<UINT8>(Unit & 0xFF), static_cast<UINT8>(Unit >> 8)});
  return Out;
}

Bytes Narrow(const std::string &Text) { return Bytes(Text.begin(), Text.end()); }

TEST(VariableText, DecodesOrRejects) {
  const std::pair<Bytes, const char *> Cases[] = {  // nullptr: not text
      {Ucs2(u"fs0:\\tools"), "fs0:\\tools"},  // as the Shell's `set` stores it
      {Ucs2(std::u16string(u"fs0:\\tools", 11)), "fs0:\\tools"}, {Narrow("fs1:\\bin"), "fs1:\\bin"},
      {Narrow(std::string("fs1:\\bin", 9)), "fs1:\\bin"}, {Ucs2(u"A"), "A"}, {Narrow("A"), "A"},
      {Bytes{0x00}, nullptr} /* SecureBoot */, {Bytes{0x01}, nullptr}, {Bytes{0x00, 0x00}, nullptr}, {Bytes{}, nullptr},
      {Narrow("a\tb"), nullptr}, {Narrow("ab\x7f"), nullptr}, {Narrow("caf\xe9"), nullptr}, {Ucs2(u"a\u0141"), nullptr},
      {Bytes{'a', 0, 0, 0, 0, 0}, nullptr}, {Narrow(std::string("ab\0\0", 4)), nullptr}, {Bytes{'a', 0, 'b'}, nullptr},
      {Bytes{0x01, 0x00, 0x02, 0x00}, nullptr} /* BootOrder */};
  for (const auto &[Data, Expected] : Cases) {
    std::vector<char> Out(Data.size() + 1, 'X');
    size_t Length = crt::detail::DecodeVariableText(Data.data(), Data.size(), Out.data());
    std::string Shown(Data.begin(), Data.end());
    EXPECT_EQ(Length, Expected == nullptr ? 0 : std::string(Expected).size()) << Shown;
    EXPECT_STREQ(Out.data(), Expected == nullptr ? "" : Expected) << Shown;
  }
}

TEST(VariableName, NarrowsOnlyByteRangeNames) {
  char Out[16];
  EXPECT_TRUE(crt::detail::NarrowVariableName(W(u"TORVEL_PATH"), 15, Out));
  EXPECT_STREQ(Out, "TORVEL_PATH");
  const CHAR16 Wide[] = {'A', 0x0100, 0};
  EXPECT_FALSE(crt::detail::NarrowVariableName(Wide, 15, Out));
  EXPECT_FALSE(crt::detail::NarrowVariableName(W(u""), 15, Out));
  EXPECT_FALSE(crt::detail::NarrowVariableName(W(u"LONGNAME"), 4, Out)) << "not terminated within the limit";
}

}  // namespace
