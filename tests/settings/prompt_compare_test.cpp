// The prompt comparison: A-Z folded, every character by its low 8 bits, and
// texts read at any alignment.
#include "settings/prompt_compare.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

const CHAR16 *W16(const std::u16string &S) { return reinterpret_cast<const CHAR16 *>(S.c_str()); }

// A copy of Text (with its NUL) at an odd address.
struct OddCopy {
  explicit OddCopy(const std::u16string &Text) : Bytes(1 + 2 * (Text.size() + 1)) {
    std::memcpy(Bytes.data() + 1, Text.c_str(), 2 * (Text.size() + 1));
  }
  const CHAR16 *Get() const { return reinterpret_cast<const CHAR16 *>(Bytes.data() + 1); }
  std::vector<uint8_t> Bytes;
};

TEST(PromptsEqual, FoldsOnlyAToZAndComparesLowBytes) {
  struct Case {
    std::u16string A, B;
    bool Equal;
  } Cases[] = {
      {u"Quiet Boot", u"QUIET boot", true},
      {u"ABCDEFGHIJKLMNOPQRSTUVWXYZ", u"abcdefghijklmnopqrstuvwxyz", true},  // every letter, both ends
      {u"@", u"`", false},
      {u"Quiet Boot", u"Quiet  Boot", false},
      {u"Quiet Boot", u"Quiet Boot ", false},
      {u"", u"", true},
      {u"\u00C9t\u00E9", u"\u00E9T\u00C9", false},  // accented letters are not folded
      {u"[x]", u"{X}", false},                       // nor are the neighbours of A-Z
      {u"\u0141BC", u"abc", true},                   // above 255: the low 8 bits count
      {u"Ab\u0100cd", u"ab", true},                  // a low byte of 0 ends the name
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(PromptsEqual(W16(C.A), W16(C.B)) == 0, C.Equal);
    EXPECT_EQ(PromptsEqual(OddCopy(C.A).Get(), OddCopy(C.B).Get()) == 0, C.Equal);
    if (C.Equal) {
      EXPECT_EQ(FoldedNameHash(W16(C.A)), FoldedNameHash(W16(C.B)));
    }
    OddCopy Prompt(C.B);
    EXPECT_EQ(NameMatchesPrompt(W16(C.A), PromptText{Prompt.Get(), static_cast<UINT32>(C.B.size())}), C.Equal);
  }
  EXPECT_LT(PromptsEqual(W16(u"a"), W16(u"b")), 0);
  EXPECT_GT(PromptsEqual(W16(u"ab"), W16(u"a")), 0);
}

TEST(PromptsEqual, APromptCountsOnlyItsRecordedLength) {
  const std::u16string Text = u"Quiet Boot";
  const PromptText Prefix{W16(Text), 5};
  EXPECT_TRUE(NameMatchesPrompt(W16(u"QUIET"), Prefix));
  EXPECT_FALSE(NameMatchesPrompt(W16(u"Quiet Boot"), Prefix));
  EXPECT_EQ(FoldedPromptHash(Prefix), FoldedNameHash(W16(u"quiet")));
  EXPECT_FALSE(NameMatchesPrompt(W16(u"x"), PromptText{nullptr, 0}));
  EXPECT_TRUE(NameMatchesPrompt(W16(u""), PromptText{nullptr, 0}));
}

TEST(PromptsEqual, PrefixesMatchWithTheirCase) {
  OddCopy Text(u"Vexon Swift Boot Mode");
  const PromptText Prompt{Text.Get(), 21};
  EXPECT_TRUE(PromptStartsWith(Prompt, u"Vexon Swift Boot", 16));
  EXPECT_FALSE(PromptStartsWith(Prompt, u"vexon swift boot", 16));
  EXPECT_FALSE(PromptStartsWith(PromptText{Text.Get(), 15}, u"Vexon Swift Boot", 16));
}

}  // namespace
