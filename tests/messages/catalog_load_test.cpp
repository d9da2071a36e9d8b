// Loading bioscfg.str: the checks on the file, and the lazy, cached reading
// of its texts.
#include "driver/image_state.h"
#include "messages/catalog_access.h"
#include "messages/message_catalog.h"
#include "tests/messages/catalog_bytes.h"
#include "tests/support/driver_harness.h"
#include "tools/strc/catalog_image.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace catalog_bytes;
using Bytes = std::vector<uint8_t>;

std::u16string AsText(const CHAR16 *Text) {
  return Text == nullptr ? u"<null>" : std::u16string(reinterpret_cast<const char16_t *>(Text));
}

// A copy of Image changed by Damage, then balanced so the checksum passes.
Bytes Damaged(Bytes Image, const std::function<void(Bytes &)> &Damage) {
  Damage(Image);
  return Balanced(Image);
}

class CatalogLoadTest : public DriverTest {
 protected:
  UINT64 LoadBytes(const Bytes &File, MessageCatalog &Catalog, UINT32 Expected = 0) {
    PlaceCatalogBytes(File);
    return Catalog.Load(W(u"/bioscfg.str"), Expected);
  }
};

TEST_F(CatalogLoadTest, DamagedFilesAreRefusedWithTheirResult) {
  const Bytes Good = DriverCatalogImage();
  Bytes SumOne = Good;
  SumOne.insert(SumOne.end(), {1, 0});
  const struct {
    const char *What;
    Bytes File;
    UINT64 Expected;
  } Cases[] = {
      {"checksum off by one", SumOne, CATALOG_BAD_CHECKSUM},
      {"count of zero", {0, 0, 0, 0}, CATALOG_NO_MESSAGES},
      {"empty file", {}, CATALOG_READ_FAILED},
      {"first text one word late",
       Damaged(Good, [](Bytes &B) { Put32(B, OffsetEntry(0), Get32(B, OffsetEntry(0)) + 2); }), CATALOG_BAD_OFFSET},
      {"odd offset", Damaged(Good, [](Bytes &B) { Put32(B, OffsetEntry(3), Get32(B, OffsetEntry(3)) + 1); }),
       CATALOG_BAD_OFFSET},
      {"ends inside the length table", Damaged(Good, [](Bytes &B) { B.resize(LengthEntry(B, Get32(B, 0) / 2)); }),
       CATALOG_READ_FAILED},
      {"count beyond the file", Damaged(Good, [](Bytes &B) { Put32(B, 0, 0x40000000); }), CATALOG_READ_FAILED},
  };
  for (const auto &C : Cases) {
    MessageCatalog Catalog;
    EXPECT_EQ(LoadBytes(C.File, Catalog), C.Expected) << C.What;
    EXPECT_EQ(Catalog.GetMessage(0), nullptr) << C.What << ": a failed load yields no text";
    EXPECT_EQ(Catalog.Stream, nullptr) << C.What;
    EXPECT_EQ(Catalog.FilePath, nullptr) << C.What;
  }
}

TEST_F(CatalogLoadTest, LoadsTheDriversCatalogAndChecksTheExpectedCount) {
  MessageCatalog Catalog;
  const auto Count = static_cast<UINT32>(DriverMessages().size());
  EXPECT_EQ(LoadBytes(DriverCatalogImage(), Catalog, Count + 1), CATALOG_COUNT_MISMATCH);
  ASSERT_EQ(LoadBytes(DriverCatalogImage(), Catalog, Count), CATALOG_LOADED);
  EXPECT_EQ(AsText(Catalog.FilePath), u"fs0:\\tools/bioscfg.str");
  for (UINT32 N = 0; N < Count; ++N) EXPECT_EQ(AsText(Catalog.GetMessage(N)), DriverMessages()[N]);
  EXPECT_EQ(Catalog.GetMessage(Count), nullptr);
  EXPECT_EQ(Catalog.GetMessage(~0ull), nullptr);
  EXPECT_EQ(Catalog.Load(nullptr, 0), CATALOG_NO_FILE_NAME);
  EXPECT_EQ(Catalog.Count, 0u) << "a new load discards the earlier contents";
}

TEST_F(CatalogLoadTest, UnreadableTextsYieldNullAndLeaveTheOthersWorking) {
  const Bytes Image = strc::BuildCatalogImage({u"zero", u"one", u"two", u"last text"});
  const struct {
    const char *What;
    Bytes File;
    UINT32 Broken;
  } Cases[] = {
      {"short last text", Damaged(Image, [](Bytes &B) { B.resize(Get32(B, OffsetEntry(3)) + 6); }), 3},
      {"no terminating zero", Damaged(Image, [](Bytes &B) { Put32(B, LengthEntry(B, 1), 3); }), 1},
      {"huge length", Damaged(Image, [](Bytes &B) { Put32(B, LengthEntry(B, 2), 0xFFFFFFFF); }), 2},
      {"offset beyond the file", Damaged(Image, [](Bytes &B) { Put32(B, OffsetEntry(2), 0xFFFFFFFE); }), 2},
  };
  for (const auto &C : Cases) {
    MessageCatalog Catalog;
    ASSERT_EQ(LoadBytes(C.File, Catalog), CATALOG_LOADED) << C.What;
    EXPECT_EQ(Catalog.GetMessage(C.Broken), nullptr) << C.What;
    EXPECT_EQ(Catalog.GetMessage(C.Broken), nullptr) << C.What << " (asked again)";
    EXPECT_EQ(AsText(Catalog.GetMessage(0)), u"zero") << C.What;
  }
}

TEST_F(CatalogLoadTest, EachTextIsReadFromTheFileOnce) {
  // Texts far larger than any stream buffer, so a late message is read from the file.
  std::vector<std::u16string> Messages;
  for (int N = 0; N < 12; ++N) Messages.push_back(std::u16string(6000, static_cast<char16_t>(u'a' + N)));
  MessageCatalog Catalog;
  ASSERT_EQ(LoadBytes(strc::BuildCatalogImage(Messages), Catalog), CATALOG_LOADED);

  Fw().ResetCounters();
  const CHAR16 *First = Catalog.GetMessage(9);
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
  for (UINT32 Number = 0; Number < DriverMessages().size(); ++Number) {
    EXPECT_EQ(AsText(LookupMessage(Number)), DriverMessages()[Number]) << "the driver's own texts all pass";
  }
  ASSERT_EQ(Proto()->CloseSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(LookupMessage(MSG_NO_SESSION), nullptr);
}

// A replaced catalog whose texts would take other arguments than the
// driver passes for their numbers yields no text for them.
TEST_F(CatalogLoadTest, TextsTakingOtherArgumentsAreNotUsed) {
  std::vector<std::u16string> Messages = DriverMessages();
  Messages[MSG_NO_SESSION] = u"No session: %ls";            // takes a string, none is passed
  Messages[MSG_CATALOG_NOT_LOADED] = u"%ls, %ls";           // one string is passed
  Messages[5] = u"%ls is not %u";                           // the order is number, then name
  Messages[2] = u"Variable %s";                             // an 8-bit string where a wide one is passed
  Messages[3] = u"Variable %ls could not be written (%%)";  // fine
  PlaceCatalogBytes(strc::BuildCatalogImage(Messages));
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  for (UINT32 Refused : {MSG_NO_SESSION, MSG_CATALOG_NOT_LOADED, 5u, 2u}) {
    EXPECT_EQ(LookupMessage(Refused), nullptr) << "message " << Refused;
  }
  EXPECT_EQ(AsText(LookupMessage(3)), Messages[3]);
  EXPECT_EQ(AsText(LookupMessage(12)), Messages[12]);
}

}  // namespace
