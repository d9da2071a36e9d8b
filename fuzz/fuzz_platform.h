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

// For a target's LLVMFuzzerInitialize: when the environment variable
// FUZZ_WRITE_SEEDS names a folder, Write puts the target's seed inputs there
// (through WriteSeed) and the process ends; otherwise returns 0.
int WriteSeedsWhenAsked(void (*Write)(const char *Folder));
void WriteSeed(const char *Folder, const std::string &Name, const std::string &Bytes);

// Up to MaxUnits units of a text inside the packed export, read byte-wise
// (it may be unaligned), ending early at a NUL unit; empty for nullptr.
std::u16string WideText(const CHAR16 *Text, size_t MaxUnits = 4096);

}  // namespace fuzz
