// SimTest: a fresh simulated platform per test with the runtime started, as
// if the test were an image loaded from fs0:\tools\test.efi.
#pragma once

#include "sim/firmware.h"
#include "sim/temp_folder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using sim::TempFolder;

class SimTest : public ::testing::Test {
 protected:
  // Fresh sim::Firmware; fs0: mounted on a fresh temporary folder (with an
  // empty "tools" folder); an image handle "loaded" from fs0:\tools\test.efi;
  // then crt::Startup(image, system table).
  void SetUp() override;
  // crt::Shutdown(); expects no pool block or page run left in the
  // simulator; removes the temporary folders.
  void TearDown() override;

  sim::Firmware &Fw();
  EFI_HANDLE Image();
  std::string VolumeDir(int Index);  // host folder of fsN:
  std::string MountExtraVolume();    // mounts the next fsN: on a fresh folder
  void RestartRuntime();             // crt::Shutdown + crt::Startup (e.g. after changing variables)

 private:
  std::unique_ptr<sim::Firmware> Firmware_;
  std::vector<std::unique_ptr<TempFolder>> Folders_;
  EFI_HANDLE Image_ = nullptr;
  bool RuntimeStarted_ = false;
};
