// The bioscfg driver as an image the simulated volumes can load.
#pragma once

#include "sim/firmware.h"

namespace sim {

// FileName "bioscfg.efi", entry point DriverEntry, fresh image data from
// ResetImageState on every load.
ImageDescriptor BioscfgImage();

}  // namespace sim
