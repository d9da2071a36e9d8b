// The shared SimTest fixture: the test image looks loaded from
// fs0:\tools\test.efi, extra volumes number on, and the runtime restarts.
#include "sim/device_path.h"
#include "tests/support/sim_fixture.h"

#include <filesystem>

namespace {

using FixtureTest = SimTest;

TEST_F(FixtureTest, ImageLoadedFromTheToolsFolderAndExtraVolumes) {
  auto *Loaded = static_cast<EFI_LOADED_IMAGE *>(Fw().FindProtocol(Image(), gEfiLoadedImageProtocolGuid));
  ASSERT_NE(Loaded, nullptr);
  EXPECT_EQ(Loaded->DeviceHandle, Fw().VolumeHandle(0));
  EXPECT_EQ(sim::FilePathText(Loaded->FilePath), std::u16string(u"\\tools\\test.efi"));
  EXPECT_TRUE(std::filesystem::is_directory(VolumeDir(0) + "/tools"));
  EXPECT_EQ(Fw().WatchdogTimeout(), std::optional<UINTN>(0)) << "the runtime turned the watchdog off";
  const std::string Second = MountExtraVolume();
  EXPECT_EQ(VolumeDir(1), Second);
  EXPECT_EQ(Fw().VolumeCount(), 2u);
  RestartRuntime();
}

}  // namespace
