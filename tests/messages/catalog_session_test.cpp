// OpenSession and the catalog file: where it is looked for, and what a
// missing or unusable one does to the session.
#include "driver/image_state.h"
#include "driver/last_error_text.h"
#include "messages/message_catalog.h"
#include "tests/messages/catalog_bytes.h"
#include "tests/support/driver_harness.h"

#include <string>

namespace {

using CatalogSessionTest = DriverTest;

TEST_F(CatalogSessionTest, MissingFileFailsTheSessionUntilItIsPlaced) {
  RemoveCatalog();
  EXPECT_EQ(Proto()->OpenSession(Proto()), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(gImage.SessionOpen, 0);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gImage.Catalog, nullptr);
  EXPECT_EQ(Proto()->CloseSession(Proto()), BCFG_E_GENERAL_FAILURE);

  PlaceCatalog();
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(gImage.SessionOpen, 1);
  // Message 8 had no catalog to come from, so there is no text to fetch.
  EXPECT_EQ(ErrorText(), u"");
}

TEST_F(CatalogSessionTest, CorruptFileFailsTheSessionAndKeepsTheEarlierText) {
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  ASSERT_NE(SetLastErrorText(W(u"before")), nullptr);
  auto Bad = DriverCatalogImage();
  Bad[Bad.size() - 1] ^= 0x01;
  PlaceCatalogBytes(Bad);
  EXPECT_EQ(Proto()->OpenSession(Proto()), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(gImage.SessionOpen, 0) << "the reopen closed the old session first";

  PlaceCatalog();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(ErrorText(), u"before");
}

TEST_F(CatalogSessionTest, UnusableTorvelPathsCannotOpenTheFile) {
  struct Case {
    const char *What;
    std::u16string Value;  // empty: variable removed
  };
  const Case Cases[] = {
      {"unset", u""},
      {"64 characters", u"fs0:\\" + std::u16string(59, u'd')},
      {"far too long", u"fs0:\\" + std::u16string(300, u'd')},
      {"folder without the file", u"fs0:\\nowhere"},
  };
  for (const Case &C : Cases) {
    if (C.Value.empty()) {
      RemoveTorvelPath();
    } else {
      SetTorvelPath(C.Value);
    }
    ASSERT_EQ(ReloadDriver(), EFI_SUCCESS) << C.What;
    {
      MessageCatalog Catalog;
      EXPECT_EQ(Catalog.Load(W(u"/bioscfg.str"), 0), CATALOG_CANNOT_OPEN) << C.What;
      EXPECT_EQ(Catalog.FilePath, nullptr) << C.What;
    }
    EXPECT_EQ(Proto()->OpenSession(Proto()), BCFG_E_GENERAL_FAILURE) << C.What;
  }
}

TEST_F(CatalogSessionTest, SixtyThreeCharacterDirectoryIsAccepted) {
  const std::string Folder(58, 'd');  // "fs0:\" + 58 = 63 characters
  PlaceCatalogBytes(DriverCatalogImage(), VolumeDir() + "/" + Folder);
  SetTorvelPath(u"fs0:\\" + std::u16string(Folder.begin(), Folder.end()));
  ASSERT_EQ(ReloadDriver(), EFI_SUCCESS);
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

}  // namespace
