// Loading bioscfg.str: the checks on the file, and the lazy, cached reading
// of its texts.
#include "driver/image_state.h"
#include "messages/catalog_access.h"
#include "messages/message_catalog.h"
#include "tests/messages/catalog_bytes.h"
#include "tests/support/driver_harness.h"
#include "tools/strc/catalog_image.h"

#include <string>
#include <vector>

namespace {

using namespace catalog_bytes;

std::u16string AsText(const CHAR16 *Text) {
  return Text == nullptr ? u"<null>" : std::u16string(reinterpret_cast<const char16_t *>(Text));
}

class CatalogLoadTest : public DriverTest {
 protected:
  // Loads Bytes as the catalog file through a catalog of the test's own.
  UINT64 LoadBytes(const std::vector<uint8_t> &Bytes, MessageCatalog &Catalog, UINT32 Expected = 0) {
    PlaceCatalogBytes(Bytes);
    return Catalog.Load(W(u"/bioscfg.str"), Expected);
  }
};

TEST_F(CatalogLoadTest, DamagedFilesAreRefusedWithTheirResult) {
  const std::vector<uint8_t> Good = DriverCatalogImage();
  const uint32_t Count = Get32(Good, 0);
  struct Case {
    const char *What;
    std::vector<uint8_t> Bytes;
    UINT64 Expected;
  };
  std::vector<Case> Cases;
  {
    auto B = Good;
    B.push_back(1);  // word sum 1 instead of 0
    B.push_back(0);
    Cases.push_back({"checksum off by one", B, CATALOG_BAD_CHECKSUM});
  }
  Cases.push_back({"count of zero", {0, 0, 0, 0}, CATALOG_NO_MESSAGES});
  Cases.push_back({"empty file", {}, CATALOG_READ_FAILED});
  {
    auto B = Good;
    Put32(B, OffsetEntry(0), Get32(B, OffsetEntry(0)) + 2);
    Cases.push_back({"first text one word late", Balanced(B), CATALOG_BAD_OFFSET});
  }
  {
    auto B = Good;
    Put32(B, OffsetEntry(3), Get32(B, OffsetEntry(3)) + 1);
    Cases.push_back({"odd offset", Balanced(B), CATALOG_BAD_OFFSET});
  }
  {
    std::vector<uint8_t> B(Good.begin(), Good.begin() + static_cast<long>(LengthEntry(Good, Count / 2)));
    Cases.push_back({"ends inside the length table", Balanced(B), CATALOG_READ_FAILED});
  }
  {
    auto B = Good;
    Put32(B, 0, 0x40000000);  // tables far larger than the file
    Cases.push_back({"count beyond the file", Balanced(B), CATALOG_READ_FAILED});
  }

  for (const Case &C : Cases) {
    MessageCatalog Catalog;
    EXPECT_EQ(LoadBytes(C.Bytes, Catalog), C.Expected) << C.What;
    EXPECT_EQ(Catalog.GetMessage(0), nullptr) << C.What << ": a failed load yields no text";
    EXPECT_EQ(Catalog.Stream, nullptr) << C.What;
    EXPECT_EQ(Catalog.FilePath, nullptr) << C.What;
  }
}

TEST_F(CatalogLoadTest, LoadsTheDriversCatalogAndItsTexts) {
  MessageCatalog Catalog;
  ASSERT_EQ(LoadBytes(DriverCatalogImage(), Catalog), CATALOG_LOADED);
  EXPECT_EQ(AsText(Catalog.FilePath), u"fs0:\\tools/bioscfg.str");
  ASSERT_EQ(Catalog.Count, DriverMessages().size());
  for (UINT32 N = 0; N < Catalog.Count; ++N) EXPECT_EQ(AsText(Catalog.GetMessage(N)), DriverMessages()[N]);
  EXPECT_EQ(Catalog.GetMessage(Catalog.Count), nullptr);
  EXPECT_EQ(Catalog.GetMessage(~0ull), nullptr);
}

TEST_F(CatalogLoadTest, ExpectedCountAndMissingName) {
  MessageCatalog Catalog;
  const auto Count = static_cast<UINT32>(DriverMessages().size());
  EXPECT_EQ(LoadBytes(DriverCatalogImage(), Catalog, Count + 1), CATALOG_COUNT_MISMATCH);
  EXPECT_EQ(LoadBytes(DriverCatalogImage(), Catalog, Count), CATALOG_LOADED);
  EXPECT_EQ(Catalog.Load(nullptr, 0), CATALOG_NO_FILE_NAME);
  EXPECT_EQ(Catalog.Count, 0u) << "a new load discards the earlier contents";
}

TEST_F(CatalogLoadTest, UnreadableTextsYieldNullAndLeaveTheOthersWorking) {
  std::vector<std::u16string> Messages = {u"zero", u"one", u"two", u"last text"};
  struct Case {
    const char *What;
    std::vector<uint8_t> Bytes;
    UINT32 Broken;
  };
  std::vector<Case> Cases;
  {
    // The file ends before the last text does (balance word dropped first).
    auto B = strc::BuildCatalogImage(Messages);
    B.resize(Get32(B, OffsetEntry(3)) + 6);
    Cases.push_back({"short last text", Balanced(B), 3});
  }
  {
    auto B = strc::BuildCatalogImage(Messages);
    Put32(B, LengthEntry(B, 1), 0);
    Cases.push_back({"length zero", Balanced(B), 1});
  }
  {
    auto B = strc::BuildCatalogImage(Messages);
    Put32(B, LengthEntry(B, 1), 3);  // "one" without its terminating zero
    Cases.push_back({"no terminating zero", Balanced(B), 1});
  }
  {
    auto B = strc::BuildCatalogImage(Messages);
    Put32(B, LengthEntry(B, 2), 0xFFFFFFFF);
    Cases.push_back({"huge length", Balanced(B), 2});
  }
  {
    auto B = strc::BuildCatalogImage(Messages);
    Put32(B, OffsetEntry(2), 0xFFFFFFFE);
    Cases.push_back({"offset beyond the file", Balanced(B), 2});
  }
  for (const Case &C : Cases) {
    MessageCatalog Catalog;
    ASSERT_EQ(LoadBytes(C.Bytes, Catalog), CATALOG_LOADED) << C.What;
    EXPECT_EQ(Catalog.GetMessage(C.Broken), nullptr) << C.What;
    EXPECT_EQ(Catalog.GetMessage(C.Broken), nullptr) << C.What << " (asked again)";
    EXPECT_EQ(AsText(Catalog.GetMessage(0)), u"zero") << C.What;
  }
}

TEST_F(CatalogLoadTest, EachTextIsReadFromTheFileOnce) {
  // Texts far larger than any stream buffer, so the first lookup of a late
  // message must read from the file.
  std::vector<std::u16string> Messages;
  for (int N = 0; N < 12; ++N) Messages.push_back(std::u16string(6000, static_cast<char16_t>(u'a' + N)));
  MessageCatalog Catalog;
  ASSERT_EQ(LoadBytes(strc::BuildCatalogImage(Messages), Catalog), CATALOG_LOADED);

  Fw().ResetCounters();
  const CHAR16 *First = Catalog.GetMessage(9);
  ASSERT_NE(First, nullptr);
  EXPECT_EQ(AsText(First), Messages[9]);
  EXPECT_GT(Fw().Calls(sim::Service::FileRead), 0u);

  Fw().ResetCounters();
  EXPECT_EQ(Catalog.GetMessage(9), First);
  EXPECT_EQ(Fw().Calls(sim::Service::FileRead), 0u);
  EXPECT_EQ(Fw().Calls(sim::Service::FileSetPosition), 0u);
}

TEST_F(CatalogLoadTest, LookupGoesThroughTheSessionsCatalog) {
  EXPECT_EQ(LookupMessage(MSG_NO_SESSION), nullptr) << "no session, no catalog";
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(AsText(LookupMessage(MSG_NO_SESSION)), DriverMessages()[MSG_NO_SESSION]);
  EXPECT_EQ(AsText(LookupMessage(MSG_CATALOG_NOT_LOADED)), DriverMessages()[MSG_CATALOG_NOT_LOADED]);
  EXPECT_EQ(LookupMessage(100000), nullptr);
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(gImage.Catalog, nullptr);
  EXPECT_EQ(LookupMessage(MSG_NO_SESSION), nullptr);
}

}  // namespace
