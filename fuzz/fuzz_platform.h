// The simulated platform the form fuzzer runs on, made once per process:
// the runtime started, the HII protocol installed, a few setup variables.
#pragma once

#include "sim/firmware.h"

namespace fuzz {

sim::Firmware &Platform();

}  // namespace fuzz
