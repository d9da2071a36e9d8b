// The catalog writer: parsing the message source and laying out bioscfg.str.
#include "tests/messages/catalog_bytes.h"
#include "tools/strc/catalog_image.h"
#include "tools/strc/catalog_source.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace catalog_bytes;

std::u16string TextAt(const std::vector<uint8_t> &Image, uint32_t N) {
  const uint32_t Offset = Get32(Image, OffsetEntry(N));
  const uint32_t Length = Get32(Image, LengthEntry(Image, N));
  std::u16string Text;
  for (uint32_t I = 0; I < Length; ++I)
    Text.push_back(static_cast<char16_t>(Image[Offset + 2 * I] | Image[Offset + 2 * I + 1] << 8));
  return Text;
}

TEST(CatalogSource, ParsesNumberedQuotedTextsWithEscapes) {
  const auto Parsed = strc::ParseCatalogSource(
      "# comment\n"
      "\n"
      "0 \"first\\n\"\r\n"
      "  1   \"tab\\there \\\"quoted\\\" back\\\\slash \\x41\\xff\"  \n"
      "2 \"\"\n");
  ASSERT_TRUE(Parsed.Ok) << Parsed.Error;
  ASSERT_EQ(Parsed.Messages.size(), 3u);
  EXPECT_EQ(Parsed.Messages[0], u"first\n");
  EXPECT_EQ(Parsed.Messages[1], u"tab\there \"quoted\" back\\slash A\u00ff");
  EXPECT_EQ(Parsed.Messages[2], u"");
}

TEST(CatalogSource, RefusesBadInputWithTheLine) {
  struct Case {
    const char *Source;
    const char *ErrorPart;
  };
  const Case Cases[] = {
      {"", "no messages"},
      {"# only a comment\n", "no messages"},
      {"1 \"starts at one\"\n", "line 1: message 1 out of order"},
      {"0 \"a\"\n0 \"again\"\n", "line 2: message 0 out of order"},
      {"0 \"a\"\n2 \"gap\"\n", "line 2: message 2 out of order"},
      {"zero \"a\"\n", "expected a message number"},
      {"0 a\n", "expected a quoted text"},
      {"0 \"open\n", "missing closing quote"},
      {"0 \"a\" trailing\n", "after the closing quote"},
      {"0 \"bad \\q escape\"\n", "unknown escape"},
      {"0 \"\\x4\"\n", "two hex digits"},
      {"0 \"\\x00\"\n", "end the text early"},
      {"0 \"caf\xc3\xa9\"\n", "printable ASCII"},
      {"0 \"a\"\n9999999999 \"b\"\n", "too large"},
  };
  for (const Case &C : Cases) {
    const auto Parsed = strc::ParseCatalogSource(C.Source);
    EXPECT_FALSE(Parsed.Ok) << C.Source;
    EXPECT_NE(Parsed.Error.find(C.ErrorPart), std::string::npos) << C.Source << " -> " << Parsed.Error;
    EXPECT_TRUE(Parsed.Messages.empty());
  }
}

TEST(CatalogImage, LaysOutTablesAndTextsBackToBack) {
  const std::vector<std::u16string> Messages = {u"a", u"", u"three"};
  const auto Image = strc::BuildCatalogImage(Messages);
  ASSERT_EQ(Get32(Image, 0), 3u);
  EXPECT_EQ(Get32(Image, OffsetEntry(0)), 4u + 8 * 3);
  uint32_t Expected = 4 + 8 * 3;
  for (uint32_t N = 0; N < 3; ++N) {
    EXPECT_EQ(Get32(Image, OffsetEntry(N)), Expected);
    EXPECT_EQ(Get32(Image, LengthEntry(Image, N)), Messages[N].size() + 1);
    EXPECT_EQ(TextAt(Image, N), Messages[N] + u'\0');
    Expected += 2 * static_cast<uint32_t>(Messages[N].size() + 1);
  }
  EXPECT_GE(Image.size(), Expected);
  EXPECT_LE(Image.size(), Expected + 2);
}

TEST(CatalogImage, AddsABalancingWordOnlyWhenNeeded) {
  // One word of text whose value makes the plain layout sum to 0 already:
  // count 1 + offset 12 + length 2 + the text word + the NUL.
  const char16_t Zeroing = static_cast<char16_t>(0x10000 - (1 + 12 + 2));
  const std::vector<std::vector<std::u16string>> Sets = {
      {u"x"}, {u"\nNo session is open\n", u"two"}, {std::u16string(1, Zeroing)}};
  for (const auto &Messages : Sets) {
    const auto Image = strc::BuildCatalogImage(Messages);
    EXPECT_EQ(strc::CatalogWordSum(Image), 0);
    EXPECT_EQ(WordSum(Image), 0);
    size_t Plain = 4 + 8 * Messages.size();
    for (const auto &M : Messages) Plain += 2 * (M.size() + 1);
    std::vector<uint8_t> Unbalanced(Image.begin(), Image.begin() + static_cast<long>(Plain));
    EXPECT_EQ(Image.size(), WordSum(Unbalanced) == 0 ? Plain : Plain + 2);
  }
  EXPECT_EQ(strc::BuildCatalogImage(Sets[2]).size(), 4u + 8 + 4) << "no word added to a zero sum";
}

}  // namespace
