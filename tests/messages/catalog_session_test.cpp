// OpenSession and the catalog file: where it is looked for, and what a
// missing or unusable one does to the session.
#include "driver/image_state.h"
#include "messages/last_error_text.h"
#include "messages/message_catalog.h"
#include "messages/messages_state.h"
#include "sim/device_path.h"
#include "tests/support/driver_harness.h"

#include <filesystem>
#include <string>

namespace {

using CatalogSessionTest = DriverTest;

TEST_F(CatalogSessionTest, MissingOrCorruptFileFailsTheSessionUntilItIsPlaced) {
  RemoveCatalog();
  EXPECT_EQ(Proto()->OpenSession(Proto()), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(gImage.Engine, nullptr);
  EXPECT_EQ(gMessages.Catalog, nullptr);
  EXPECT_EQ(Proto()->CloseSession(Proto()), BCFG_E_GENERAL_FAILURE);
  PlaceCatalog();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(ErrorText(), u"") << "message 8 had no catalog to come from";

  ASSERT_NE(SetLastErrorText(W(u"before")), nullptr);
  auto Bad = DriverCatalogImage();
  Bad.back() ^= 0x01;
  PlaceCatalogBytes(Bad);
  EXPECT_EQ(Proto()->OpenSession(Proto()), BCFG_E_GENERAL_FAILURE);
  EXPECT_EQ(gImage.SessionOpen, 0) << "the reopen closed the old session first";
  PlaceCatalog();
  ASSERT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(ErrorText(), u"before");
}

TEST_F(CatalogSessionTest, TorvelPathIsJoinedAsItIsAndLimitedInLength) {
  // "fs0:\" and 58 or 59 letters: 63 or 64 characters, both folders holding the file.
  const std::string Folder63(58, 'd');
  PlaceCatalogBytes(DriverCatalogImage(), VolumeDir() + "/" + Folder63);
  PlaceCatalogBytes(DriverCatalogImage(), VolumeDir() + "/" + Folder63 + "d");
  const std::u16string Dir63 = u"fs0:\\" + std::u16string(Folder63.begin(), Folder63.end());
  const struct {
    const char *What;
    std::u16string Value;  // empty: variable removed
    std::u16string Path;   // empty: the file cannot be opened
  } Cases[] = {
      {"trailing separator", u"fs0:\\tools\\", u"fs0:\\tools\\/bioscfg.str"},
      {"63 characters", Dir63, Dir63 + u"/bioscfg.str"},
      {"unset", u"", u""},
      {"64 characters", u"fs0:\\" + std::u16string(59, u'd'), u""},
      {"far too long", u"fs0:\\" + std::u16string(300, u'd'), u""},
      {"folder without the file", u"fs0:\\nowhere", u""},
  };
  for (const auto &C : Cases) {
    if (C.Value.empty()) {
      RemoveTorvelPath();
    } else {
      SetTorvelPath(C.Value);
    }
    ASSERT_EQ(ReloadDriver(), EFI_SUCCESS) << C.What;
    const bool Opens = !C.Path.empty();
    {
      MessageCatalog Catalog;
      EXPECT_EQ(Catalog.Load(W(u"/bioscfg.str"), 0), Opens ? CATALOG_LOADED : CATALOG_CANNOT_OPEN) << C.What;
      const auto *Path = reinterpret_cast<const char16_t *>(Catalog.FilePath);
      EXPECT_EQ(Path ? std::u16string(Path) : u"", C.Path) << C.What;
    }
    EXPECT_EQ(Proto()->OpenSession(Proto()), Opens ? EFI_SUCCESS : BCFG_E_GENERAL_FAILURE) << C.What;
  }
}

// TORVEL_PATH=fs0:\tools names the disk the Shell calls fs0:. Of two disks
// at PciRoot(0x0)/Pci(0x2,0x0) and /Pci(0x10,0x0), the Shell maps the second
// first (it compares text), while byte order puts the first, and the
// harness's own volume, ahead of it. Only the Shell's fs0: has a catalog.
class ShellMappedCatalogTest : public DriverTest {
 protected:
  void PreparePlatform() override {
    const std::string DiskA = VolumeDir() + "/disk-a", DiskB = VolumeDir() + "/disk-b";
    PlaceCatalogBytes(DriverCatalogImage(), DiskB + "/tools");
    std::filesystem::create_directories(DiskA + "/tools");
    Fw().MountVolume(DiskA, sim::PciDevicePath(0x2));
    Fw().MountVolume(DiskB, sim::PciDevicePath(0x10));
    Fw().InstallShell();
  }
};

TEST_F(ShellMappedCatalogTest, CatalogComesFromTheVolumeTheShellCallsFs0) {
  RemoveCatalog();  // from the harness's volume, fs0: byte-wise
  EXPECT_EQ(Proto()->OpenSession(Proto()), EFI_SUCCESS);
}

}  // namespace
