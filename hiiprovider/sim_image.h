// The HII provider as an image the simulated volumes can load (host only).
#pragma once

#include "sim/firmware.h"

namespace hiiprovider {

// FileName "hiiprovider.efi", entry point ProviderEntry, fresh image data
// (its state and its own runtime copy) from ResetProviderState on each load.
sim::ImageDescriptor HiiProviderImage();

}  // namespace hiiprovider
