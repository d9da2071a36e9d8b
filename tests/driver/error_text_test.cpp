// The last-error text: formatting, the 511-character cut and the two-buffer
// hand-out through GetLastErrorText.
#include "driver/image_state.h"
#include "driver/last_error_text.h"
#include "driver/settings_engine.h"
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

TEST_F(ErrorTextTest, NothingToHandOutRightAfterTheFirstOpen) {
  EXPECT_EQ(Fetch(BCFG_E_INVALID_PARAMETER), nullptr);
}

TEST_F(ErrorTextTest, EightBitStringFormatsUseTheDriversOwnScan) {
  struct Case {
    const char16_t *Format;
    std::u16string Expected;
    std::function<CHAR16 *(const CHAR16 *)> Set;
  };
  const Case Cases[] = {
      {u"%hs=%d", u"Boot=5", [](const CHAR16 *F) { return SetLastErrorText(F, "Boot", 5); }},
      {u"%hs %u", u"x 4294967295", [](const CHAR16 *F) { return SetLastErrorText(F, "x", 4294967295u); }},
      {u"%hs%d", u"n-2147483648", [](const CHAR16 *F) { return SetLastErrorText(F, "n", INT_MIN); }},
      {u"100%% %hs", u"100% done", [](const CHAR16 *F) { return SetLastErrorText(F, "done"); }},
      // Conversions the scan does not know stay as text and take no argument.
      {u"%ls and %hs", u"%ls and Boot", [](const CHAR16 *F) { return SetLastErrorText(F, "Boot"); }},
      {u"%hs ends with %h", u"x ends with %h", [](const CHAR16 *F) { return SetLastErrorText(F, "x"); }},
      {u"[%hs]", u"[(null)]", [](const CHAR16 *F) { return SetLastErrorText(F, static_cast<char *>(nullptr)); }},
      {u"%hx %hs", u"a b", [](const CHAR16 *F) { return SetLastErrorText(F, "a", "b"); }},
  };
  for (const Case &C : Cases) {
    const CHAR16 *Returned = C.Set(W(C.Format));
    const std::u16string Format(C.Format);
    EXPECT_EQ(AsText(Returned), C.Expected) << "format " << std::string(Format.begin(), Format.end());
    EXPECT_EQ(ErrorText(), C.Expected);
  }
}

TEST_F(ErrorTextTest, OtherFormatsUseTheWideFormatter) {
  EXPECT_EQ(AsText(SetLastErrorText(W(u"%u"), 4294967295u)), u"4294967295");
  EXPECT_EQ(AsText(SetLastErrorText(W(u"\nData for BIOS Var %ls is out of range\n"), W(u"Boot Mode"))),
            u"\nData for BIOS Var Boot Mode is out of range\n");
  EXPECT_EQ(AsText(SetLastErrorText(W(u"%d%%"), -7)), u"-7%");
}

TEST_F(ErrorTextTest, NullFormatKeepsThePreviousText) {
  ASSERT_NE(SetLastErrorText(W(u"first")), nullptr);
  EXPECT_EQ(SetLastErrorText(nullptr), nullptr);
  EXPECT_EQ(ErrorText(), u"first");
}

TEST_F(ErrorTextTest, LongTextsAreCutTo511Characters) {
  const std::u16string Long(600, u'a');
  const std::string LongNarrow(600, 'b');
  EXPECT_EQ(AsText(SetLastErrorText(W(Long.c_str()))), Long.substr(0, 511));
  EXPECT_EQ(AsText(SetLastErrorText(W(u"%ls"), W(Long.c_str()))), Long.substr(0, 511));
  EXPECT_EQ(AsText(SetLastErrorText(W(u"%hs"), LongNarrow.c_str())), std::u16string(511, u'b'));
  // The other buffer is untouched by the cut: both stay inside 512 characters.
  for (const auto &Buffer : gImage.ErrorText) EXPECT_EQ(Buffer[511], 0);
}

TEST_F(ErrorTextTest, HandedOutTextStaysUntilTheNextFetch) {
  ASSERT_NE(SetLastErrorText(W(u"first")), nullptr);
  CHAR16 *First = Fetch(EFI_SUCCESS);
  ASSERT_NE(First, nullptr);
  ASSERT_NE(SetLastErrorText(W(u"second")), nullptr);
  ASSERT_NE(SetLastErrorText(W(u"third")), nullptr);
  EXPECT_EQ(AsText(First), u"first");

  CHAR16 *Latest = Fetch(EFI_SUCCESS);
  EXPECT_EQ(AsText(Latest), u"third") << "only the last of several errors survives";
  EXPECT_NE(Latest, First);
  // The fetch made First's buffer current again and emptied it.
  EXPECT_EQ(AsText(First), u"");
  EXPECT_EQ(Fetch(BCFG_E_INVALID_PARAMETER), nullptr);
}

TEST_F(ErrorTextTest, NullIniNamesAreRefusedWithTheirTexts) {
  InstallEmptyHii();
  EXPECT_EQ(Proto()->SaveSettingsToIni(Proto(), nullptr), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(ErrorText(), u"INI filename NULL before saving HII variables\n");
  EXPECT_EQ(ErrorText(), u"");
  EXPECT_EQ(Proto()->LoadSettingsFromIni(Proto(), nullptr), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(ErrorText(), u"INI filename NULL before loading HII variables\n");
  // Both refuse before they touch the forms.
  EXPECT_EQ(Fw().Calls(sim::Service::HiiExportDatabase), 0u);
  EXPECT_EQ(gImage.Engine->FormsLoaded, 0);
}

TEST_F(ErrorTextTest, NullOutPointerIsRefused) {
  ASSERT_NE(SetLastErrorText(W(u"kept")), nullptr);
  EXPECT_EQ(Proto()->GetLastErrorText(Proto(), nullptr), BCFG_E_INVALID_PARAMETER);
  EXPECT_EQ(ErrorText(), u"kept");
}

}  // namespace
