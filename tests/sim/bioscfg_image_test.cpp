// The bioscfg driver hosted by the simulator through its image descriptor:
// load, start, refuse a second copy, unload, load again, without leaks.
#include "include/bioscfg_protocol.h"
#include "sim/bioscfg_image.h"
#include "tests/sim/platform_helpers.h"
#include "tests/support/sim_fixture.h"

namespace {

class BioscfgImageTest : public PlatformTest {
 protected:
  TempFolder Folder;
  EFI_GUID ProtocolGuid = BIOS_CONFIG_PROTOCOL_GUID;

  void SetUp() override {
    Fw.MountVolume(Folder.Path());
    Fw.RegisterImage(sim::BioscfgImage());
  }
};

TEST_F(BioscfgImageTest, LoadsOnceUnloadsAndLoadsAgain) {
  EFI_HANDLE First = nullptr;
  ASSERT_EQ(Fw.LoadAndStart("fs0:\\tools\\bioscfg.efi", &First), EFI_SUCCESS);
  void *Interface = nullptr;
  ASSERT_EQ(BS()->LocateProtocol(&ProtocolGuid, nullptr, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Fw.FindProtocol(First, ProtocolGuid), Interface) << "installed on the image handle";

  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw.LoadAndStart("fs0:\\tools\\bioscfg.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_FALSE(Fw.IsImageLoaded(Second));
  EXPECT_EQ(Fw.FindProtocol(First, ProtocolGuid), Interface) << "the first copy is untouched";

  EXPECT_EQ(Fw.UnloadImage(First), EFI_SUCCESS);
  EXPECT_EQ(BS()->LocateProtocol(&ProtocolGuid, nullptr, &Interface), EFI_NOT_FOUND);
  EXPECT_EQ(Fw.LivePoolBlocks(), 0u);
  EXPECT_EQ(Fw.LivePageRuns(), 0u);

  ASSERT_EQ(Fw.LoadAndStart("fs0:\\tools\\bioscfg.efi", &First), EFI_SUCCESS);
  EXPECT_EQ(Fw.UnloadImage(First), EFI_SUCCESS);
}

TEST_F(BioscfgImageTest, OldFirmwareEndsTheImageThroughExit) {
  Fw.SetRevision((1u << 16) | 2u);
  EFI_HANDLE Image = nullptr;
  EXPECT_EQ(Fw.LoadAndStart("bioscfg.efi", &Image), EFI_UNSUPPORTED);
  EXPECT_NE(Fw.ConsoleText().find("Please start this image in EFI higher version \r\n"), std::string::npos);
  EXPECT_GE(Fw.Calls(sim::Service::Exit), 1u);
  EXPECT_FALSE(Fw.IsImageLoaded(Image));
}

}  // namespace
