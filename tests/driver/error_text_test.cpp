// The last-error text: formatting, the 511-character cut and the two-buffer
// hand-out through GetLastErrorText.
#include "driver/image_state.h"
#include "messages/last_error_text.h"
#include "messages/messages_state.h"
#include "settings/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <climits>
#include <functional>
#include <string>

namespace {

class ErrorTextTest : public DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  }
  CHAR16 *Fetch(EFI_STATUS Expected) {
    CHAR16 *Text = reinterpret_cast<CHAR16 *>(1);
    EXPECT_EQ(Proto()->GetLastErrorText(Proto(), &Text), Expected);
    return Text;
  }
};

std::u16string AsText(const CHAR16 *Text) {
  return Text == nullptr ? u"<null>" : std::u16string(reinterpret_cast<const char16_t *>(Text));
}

TEST_F(ErrorTextTest, FormatsWithBothTheEightBitScanAndTheWideFormatter) {
  const std::u16string Long(600, u'a');
  const std::string LongNarrow(600, 'b');
  const std::pair<std::function<CHAR16 *()>, std::u16string> Cases[] = {
      {[] { return SetLastErrorText(W(u"%hs=%d"), "Boot", 5); }, u"Boot=5"},
      {[] { return SetLastErrorText(W(u"%hs %u"), "x", 4294967295u); }, u"x 4294967295"},
      {[] { return SetLastErrorText(W(u"%hs%d"), "n", INT_MIN); }, u"n-2147483648"},
      {[] { return SetLastErrorText(W(u"100%% %hs"), "done"); }, u"100% done"},
      // Conversions the scan does not know stay as text and take no argument.
      {[] { return SetLastErrorText(W(u"%ls and %hs"), "Boot"); }, u"%ls and Boot"},
      {[] { return SetLastErrorText(W(u"%hs ends with %h"), "x"); }, u"x ends with %h"},
      {[] { return SetLastErrorText(W(u"[%hs]"), static_cast<char *>(nullptr)); }, u"[(null)]"},
      {[] { return SetLastErrorText(W(u"%hx %hs"), "a", "b"); }, u"a b"},
      {[] { return SetLastErrorText(W(u"%u"), 4294967295u); }, u"4294967295"},
      {[] { return SetLastErrorText(W(u"Var %ls out"), W(u"Boot Mode")); }, u"Var Boot Mode out"},
      // The wide formatter reads %s as an 8-bit string, as C's vswprintf does.
      {[] { return SetLastErrorText(W(u"%s: %ls"), "INI", W(u"Boot Mode")); }, u"INI: Boot Mode"},
      {[] { return SetLastErrorText(W(u"%d%%"), -7); }, u"-7%"},
      {[&] { return SetLastErrorText(W(Long.c_str())); }, Long.substr(0, 511)},
      {[&] { return SetLastErrorText(W(u"%hs"), LongNarrow.c_str()); }, std::u16string(511, u'b')},
  };
  for (const auto &[Set, Expected] : Cases) {
    EXPECT_EQ(AsText(Set()), Expected);
    EXPECT_EQ(ErrorText(), Expected);
  }
  for (const auto &Buffer : gMessages.ErrorText) EXPECT_EQ(Buffer[511], 0);
}

// Each format against the arguments a caller would pass, as the two
// expansions of SetLastErrorText take them.
TEST(FormatTakes, CountsTheArgumentsEachExpansionTakes) {
  const struct {
    const char16_t *Format;
    const char *Arguments;
    bool Takes;
  } Cases[] = {
      {u"No session\n", "", true},
      {u"100%% done", "", true},
      {u"Var %ls out", "W", true},
      {u"Var %ls out", "", false},
      {u"%ls and %ls", "W", false},
      {u"Value %u for %ls", "UW", true},
      {u"%ls for %u", "UW", false},
      {u"[%-8.3ls|%5d|%x|%c]", "WUUU", true},
      {u"%s here", "N", true},  // the wide formatter's %s is 8-bit
      {u"%s here", "W", false},
      {u"%*d", "U", false},
      {u"%.*ls", "W", false},
      {u"%*d", "", false},  // a '*' takes an argument of its own
      {u"%.*ls", "", false},
      {u"%ld", "U", false},
      {u"%lls", "N", false},
      {u"%zu", "U", false},
      {u"%p", "U", false},
      {u"%q and %ls", "W", true},  // unknown: shown, takes nothing
      {u"ends in %l", "", true},
      // The 8-bit scan: %hs, %d, %u take arguments, everything else is text.
      {u"INI %hs, line %d", "NU", true},
      {u"%ls then %hs", "N", true},
      {u"%hx %hs", "NN", true},
      {u"%hs", "", false},
      {u"%hs ends with %h", "N", true},
  };
  for (const auto &C : Cases) {
    EXPECT_EQ(FormatTakes(W(C.Format), C.Arguments), C.Takes)
        << std::string(C.Format, C.Format + std::char_traits<char16_t>::length(C.Format)) << " / " << C.Arguments;
  }
  EXPECT_FALSE(FormatTakes(nullptr, ""));
}

TEST_F(ErrorTextTest, HandedOutTextStaysUntilTheNextFetch) {
  EXPECT_EQ(Fetch(BCFG_E_INVALID_PARAMETER), nullptr) << "nothing to hand out after the first open";
  ASSERT_NE(SetLastErrorText(W(u"first")), nullptr);
  EXPECT_EQ(SetLastErrorText(nullptr), nullptr);
  EXPECT_EQ(Proto()->GetLastErrorText(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  CHAR16 *First = Fetch(EFI_SUCCESS);
  ASSERT_EQ(AsText(First), u"first") << "a NULL format or out pointer keeps the text";
  ASSERT_NE(SetLastErrorText(W(u"second")), nullptr);
  ASSERT_NE(SetLastErrorText(W(u"third")), nullptr);
  EXPECT_EQ(AsText(First), u"first");

  CHAR16 *Latest = Fetch(EFI_SUCCESS);
  EXPECT_EQ(AsText(Latest), u"third") << "only the last of several errors survives";
  EXPECT_NE(Latest, First);
  EXPECT_EQ(AsText(First), u"") << "the fetch made First's buffer current again and emptied it";
  EXPECT_EQ(Fetch(BCFG_E_INVALID_PARAMETER), nullptr);
}

TEST_F(ErrorTextTest, NullIniNamesAreRefusedWithTheirTextsBeforeTheForms) {
  InstallEmptyHii();
  EXPECT_EQ(Proto()->SaveSettingsToIni(Proto(), nullptr), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(ErrorText(), u"INI filename NULL before saving HII variables\n");
  EXPECT_EQ(ErrorText(), u"");
  EXPECT_EQ(Proto()->LoadSettingsFromIni(Proto(), nullptr), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(ErrorText(), u"INI filename NULL before loading HII variables\n");
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 0u);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
}

}  // namespace
