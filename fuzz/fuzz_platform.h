// The simulated machine a fuzz target runs on, made on first use and kept
// for every input of the process: making one costs far more than most
// inputs. fs0: is a temporary folder (removed when the process exits), an
// image "loaded" from fs0:\tools runs the C runtime, and the driver's image
// state holds the machine's system table.
#pragma once

#include "sim/firmware.h"

#include <string>

namespace fuzz {

struct Machine {
  sim::Firmware &Fw;
  std::string Folder;  // the host folder behind fs0:
  EFI_HANDLE Image;    // the image the runtime runs as
};

Machine &TheMachine();

// When the environment variable FUZZ_WRITE_SEEDS names a folder, a target's
// LLVMFuzzerInitialize writes its seed inputs there and ends the process.
const char *SeedFolder();
void WriteSeed(const char *Folder, const std::string &Name, const std::string &Bytes);

}  // namespace fuzz
