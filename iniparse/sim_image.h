// iniparse.efi as an image the simulated volumes can load (host only).
#pragma once

#include "sim/firmware.h"

namespace sim {

// FileName "iniparse.efi", entry point IniParserEntry, fresh image data
// (the parser's state and its own copy of the runtime) on every load.
ImageDescriptor IniparseImage();

}  // namespace sim
