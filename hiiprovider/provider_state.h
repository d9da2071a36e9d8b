// Everything the HII provider image keeps while it is loaded, in one place.
//
// Firmware gives every loaded image fresh .data and gnu-efi runs no global
// constructors, so the record is constant-initialised; ResetProviderState()
// returns it (and the image's runtime) to the load-time values, which the
// host simulator calls when it loads the image afresh.
#pragma once

#include "runtime/uefi.h"

namespace hiiprovider {

struct ProviderState {
  // The bytes ExportDatabase hands out: the embedded sample's constant data,
  // or hii.bin read into the runtime heap.
  const UINT8 *Export;
  UINTN ExportSize;
  // The protocols installed on the image handle, for the unload handler.
  EFI_GUID HiiGuid;
  BOOLEAN HiiInstalled;
  BOOLEAN DeviceIoInstalled;
};

extern constinit ProviderState gProvider;

void ResetProviderState();

}  // namespace hiiprovider
