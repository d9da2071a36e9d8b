// The catalog writer: parsing the message source and laying out bioscfg.str.
#include "tests/messages/catalog_bytes.h"
#include "tools/strc/catalog_image.h"
#include "tools/strc/catalog_source.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace catalog_bytes;

TEST(CatalogSource, ParsesNumberedQuotedTextsWithEscapes) {
  const auto Parsed = strc::ParseCatalogSource(
      "# comment\n\n0 \"first\\n\"\r\n"
      "  1   \"tab\\there \\\"quoted\\\" back\\\\slash \\x41\\xff\"  \n"
      "2 \"\"\n");
  ASSERT_TRUE(Parsed.Ok) << Parsed.Error;
  EXPECT_EQ(Parsed.Messages,
            (std::vector<std::u16string>{u"first\n", u"tab\there \"quoted\" back\\slash A\u00ff", u""}));
}

TEST(CatalogSource, RefusesBadInputWithTheLine) {
  const std::pair<const char *, const char *> Cases[] = {
      {"# only a comment\n", "no messages"},
      {"1 \"starts at one\"\n", "line 1: message 1 out of order"},
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
  for (const auto &[Source, ErrorPart] : Cases) {
    const auto Parsed = strc::ParseCatalogSource(Source);
    EXPECT_FALSE(Parsed.Ok) << Source;
    EXPECT_NE(Parsed.Error.find(ErrorPart), std::string::npos) << Source << " -> " << Parsed.Error;
    EXPECT_TRUE(Parsed.Messages.empty());
  }
}

// Layout is proven by the reader loading the driver's catalog; here only the
// balancing word, added only when the plain layout does not sum to 0 already.
TEST(CatalogImage, AddsABalancingWordOnlyWhenNeeded) {
  // One word of text whose value makes the plain layout sum to 0 already:
  // count 1 + offset 12 + length 2 + the text word + the NUL.
  const char16_t Zeroing = static_cast<char16_t>(0x10000 - (1 + 12 + 2));
  const std::vector<std::vector<std::u16string>> Sets = {{u"a", u"", u"three"}, {u"x"}, {std::u16string(1, Zeroing)}};
  for (const auto &Messages : Sets) {
    const auto Image = strc::BuildCatalogImage(Messages);
    EXPECT_EQ(strc::CatalogWordSum(Image), 0);
    EXPECT_EQ(WordSum(Image), 0);
    size_t Plain = 4 + 8 * Messages.size();
    for (const auto &M : Messages) Plain += 2 * (M.size() + 1);
    const std::vector<uint8_t> Unbalanced(Image.begin(), Image.begin() + static_cast<long>(Plain));
    EXPECT_EQ(Image.size(), WordSum(Unbalanced) == 0 ? Plain : Plain + 2);
  }
  EXPECT_EQ(strc::BuildCatalogImage(Sets[2]).size(), 4u + 8 + 4) << "no word added to a zero sum";
}

}  // namespace
