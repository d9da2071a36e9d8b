// The sample platform as a firmware image carries it: its HII export and its
// variable store text (the format of variable_store_text.h), as constant
// data generated at build time from platform::Sample() by
// sample-platform-embed, so an image serves the very bytes the host builds.
#pragma once

#include "runtime/uefi.h"

namespace platform {

struct EmbeddedPlatform {
  const UINT8 *Export;
  size_t ExportSize;
  const char *Variables;  // not NUL-terminated within VariablesLength
  size_t VariablesLength;
};

EmbeddedPlatform EmbeddedSample();

}  // namespace platform
