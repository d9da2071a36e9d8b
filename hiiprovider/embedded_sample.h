// The sample platform as the provider image carries it: its HII export and
// its variable store text (variablefile/), as constant data generated at
// build time from platform::Sample() by sample-platform-embed
// (platform/embed_sample_platform.cpp), so the image serves the very bytes
// the host builds.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

struct EmbeddedPlatform {
  const UINT8 *Export;
  size_t ExportSize;
  const char *Variables;  // not NUL-terminated within VariablesLength
  size_t VariablesLength;
};

EmbeddedPlatform EmbeddedSample();

}  // namespace hiiprovider
