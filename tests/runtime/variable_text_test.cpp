// Which variable data counts as environment text. The firmware cases that
// matter: the Shell's `set` (UCS-2, no NUL), tools storing 8-bit text, and
// OVMF's one-zero-byte SecureBoot, which must not become an empty variable.
#include "runtime/variable_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<UINT8>;

Bytes Ucs2(const std::u16string &Text, bool WithNul) {
  Bytes Out;
  for (char16_t Unit : Text) {
    Out.push_back(static_cast<UINT8>(Unit & 0xFF));
    Out.push_back(static_cast<UINT8>(Unit >> 8));
  }
  if (WithNul) Out.insert(Out.end(), {0, 0});
  return Out;
}

Bytes Narrow(const std::string &Text, bool WithNul) {
  Bytes Out(Text.begin(), Text.end());
  if (WithNul) Out.push_back(0);
  return Out;
}

struct TextCase {
  const char *Name;
  Bytes Data;
  const char *Expected;  // nullptr: not text
};

class VariableText : public ::testing::TestWithParam<TextCase> {};

TEST_P(VariableText, DecodesOrRejects) {
  const TextCase &Case = GetParam();
  std::vector<char> Out(Case.Data.size() + 1, 'X');
  size_t Length = crt::detail::DecodeVariableText(Case.Data.data(), Case.Data.size(), Out.data());
  if (Case.Expected == nullptr) {
    EXPECT_EQ(Length, 0u);
    EXPECT_EQ(Out[0], '\0');
  } else {
    EXPECT_EQ(Length, std::string(Case.Expected).size());
    EXPECT_STREQ(Out.data(), Case.Expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VariableText,
    ::testing::Values(
        TextCase{"ShellSetNoNul", Ucs2(u"fs0:\\tools", false), "fs0:\\tools"},
        TextCase{"Ucs2WithNul", Ucs2(u"fs0:\\tools", true), "fs0:\\tools"},
        TextCase{"NarrowNoNul", Narrow("fs1:\\bin", false), "fs1:\\bin"},
        TextCase{"NarrowWithNul", Narrow("fs1:\\bin", true), "fs1:\\bin"},
        TextCase{"SingleCharacterUcs2", Ucs2(u"A", false), "A"},
        TextCase{"SingleCharacterNarrow", Narrow("A", false), "A"},
        TextCase{"SecureBootOneZeroByte", Bytes{0x00}, nullptr},
        TextCase{"OneByteOne", Bytes{0x01}, nullptr},
        TextCase{"ZeroUnitOnly", Bytes{0x00, 0x00}, nullptr},
        TextCase{"Empty", Bytes{}, nullptr},
        TextCase{"TabInNarrow", Narrow("a\tb", false), nullptr},
        TextCase{"DeleteInNarrow", Narrow("ab\x7f", false), nullptr},
        TextCase{"HighByteNarrow", Narrow("caf\xe9", false), nullptr},
        TextCase{"NonAsciiUnit", Ucs2(u"a\u0141", false), nullptr},
        TextCase{"TwoNulUnits", Bytes{'a', 0, 0, 0, 0, 0}, nullptr},
        TextCase{"TwoNulBytes", Narrow(std::string("ab\0", 3), true), nullptr},
        TextCase{"OddUcs2Tail", Bytes{'a', 0, 'b'}, nullptr},
        TextCase{"BootOrderNumbers", Bytes{0x01, 0x00, 0x02, 0x00}, nullptr}),
    [](const ::testing::TestParamInfo<TextCase> &Info) { return std::string(Info.param.Name); });

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
