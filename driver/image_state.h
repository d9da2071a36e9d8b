// What the driver image itself keeps for its whole life: its copy of the
// system table, its handle and the session. Each layer below keeps its own
// image-wide state next to its code (the last-error texts and the catalog in
// messages/, the reload flags in settings/, the parser image in ini/).
//
// Firmware gives every loaded image fresh .data/.bss; gnu-efi runs no global
// constructors, so all of it is constant-initialised. ResetImageState()
// returns every layer's state (and the runtime's) to the load-time values;
// the host simulator calls it when it "loads" the image again.
#pragma once

#include "runtime/uefi.h"

class SettingsEngine;
class MessageCatalogHolder;

struct DriverImageState {
  // The driver's own copy of the system table handed to the entry point;
  // the support library and the runtime work from it.
  EFI_SYSTEM_TABLE SystemTableCopy;
  EFI_HANDLE ImageHandle;

  // Session.
  UINT8 SessionOpen;
  SettingsEngine *Engine;
  MessageCatalogHolder *CatalogHolder;
  UINT8 SessionFlag;
};

extern constinit DriverImageState gImage;

void ResetImageState();
