// bioscfg-tool.efi as an image the simulated volumes can load.
#pragma once

#include "sim/firmware.h"

namespace sim {

// FileName "bioscfg-tool.efi", an application (loader data) whose entry is
// the tool's, with its own runtime reset on every load.
ImageDescriptor ToolImage();

}  // namespace sim
