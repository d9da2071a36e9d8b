// Everything the compatibility image keeps while it is loaded, in one place.
//
// Firmware gives every loaded image fresh .data and gnu-efi runs no global
// constructors, so the record is constant-initialised; ResetCompatState()
// returns it (and the image's runtime) to the load-time values, which the
// host simulator calls when it loads the image afresh.
#pragma once

#include "hiicompat/bridged_stores.h"
#include "uefi/hii_config.h"
#include "uefi/hii_database.h"

extern "C" {
#include <efipciio.h>
}

namespace hiicompat {

struct CompatState {
  // The firmware's UEFI HII side, located at entry.
  EFI_HII_DATABASE_PROTOCOL *Database;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing;
  // The root bridge the device I/O forwards to (nullptr: none installed).
  EFI_PCI_ROOT_BRIDGE_IO_PROTOCOL *RootBridge;
  EFI_HANDLE RootBridgeHandle;
  // The runtime services' variable entries before the wrap, and whether
  // the wrap is in place.
  EFI_GET_VARIABLE OriginalGetVariable;
  EFI_SET_VARIABLE OriginalSetVariable;
  BOOLEAN VariablesWrapped;
  EFI_EVENT ExitBootServicesEvent;  // undoes the wrap before an OS takes over
  // What is installed on the image handle, for the unload handler.
  BOOLEAN HiiInstalled;
  BOOLEAN DeviceIoInstalled;
  // The buffer stores of the latest export.
  BridgedStoreList Bridged;
};

extern constinit CompatState gCompat;

void ResetCompatState();

}  // namespace hiicompat
