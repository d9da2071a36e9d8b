#include "tests/support/sim_fixture.h"

#include "runtime/crt.h"

#include <cstdlib>
#include <filesystem>

void SimTest::SetUp() {
  Firmware_ = std::make_unique<sim::Firmware>();
  const std::string Root = MountExtraVolume();
  std::filesystem::create_directory(Root + "/tools");
  Image_ = Firmware_->CreateLoadedImage(Firmware_->VolumeHandle(0), u"\\tools\\test.efi");
  ASSERT_NE(Image_, nullptr);
  const EFI_STATUS Status = crt::Startup(Image_, Firmware_->SystemTable());
  RuntimeStarted_ = true;
  ASSERT_EQ(Status, EFI_SUCCESS) << "crt::Startup";
}

void SimTest::TearDown() {
  if (RuntimeStarted_) crt::Shutdown();
  RuntimeStarted_ = false;
  EXPECT_EQ(Firmware_->LivePoolBlocks(), 0u) << "pool blocks left in the firmware";
  EXPECT_EQ(Firmware_->LivePageRuns(), 0u) << "page runs left in the firmware";
  Firmware_.reset();
  Folders_.clear();
}

sim::Firmware &SimTest::Fw() { return *Firmware_; }

EFI_HANDLE SimTest::Image() { return Image_; }

std::string SimTest::VolumeDir(int Index) {
  if (Index < 0 || static_cast<size_t>(Index) >= Folders_.size()) {
    ADD_FAILURE() << "no volume fs" << Index << ":";
    return {};
  }
  return Folders_[static_cast<size_t>(Index)]->Path();
}

std::string SimTest::MountExtraVolume() {
  Folders_.push_back(std::make_unique<TempFolder>("bioscfg-sim"));
  const std::string &Folder = Folders_.back()->Path();
  EXPECT_FALSE(Folder.empty()) << "cannot make a temporary folder";
  EXPECT_NE(Firmware_->MountVolume(Folder), nullptr);
  return Folder;
}

void SimTest::RestartRuntime() {
  if (RuntimeStarted_) crt::Shutdown();
  const EFI_STATUS Status = crt::Startup(Image_, Firmware_->SystemTable());
  RuntimeStarted_ = true;
  EXPECT_EQ(Status, EFI_SUCCESS) << "crt::Startup";
}
