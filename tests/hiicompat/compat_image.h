// The compatibility image as an image the simulated volumes can load (host
// only): "hiicompat.efi", entry point CompatEntry, fresh image data (its
// state and its own runtime copy) from ResetCompatState on each load.
#pragma once

#include "sim/firmware.h"

namespace compat_test {

sim::ImageDescriptor HiiCompatImage();

}  // namespace compat_test
