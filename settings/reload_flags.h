// The two driver-wide flags of the reload-and-retry.
//
// Switching "Console Redirection" or the DMA-remapping question to a new
// non-zero value reshapes the firmware's forms. The change steps
// (SetFormSettings and the INI import) then set ReloadRequired, and the
// protocol layer reads the forms again and runs the same work a second time.
// DeferAfterReloadChange is 1 from load until the first such retry: while it
// is 1, the rest of the form after a reshaping change is only marked in the
// first pass. Both outlive sessions, so they live for the image's life.
#pragma once

#include "runtime/uefi.h"

struct ReloadFlags {
  UINT8 ReloadRequired;
  UINT8 DeferAfterReloadChange;
};

constexpr ReloadFlags LoadTimeReloadFlags() { return ReloadFlags{0, 1}; }

extern constinit ReloadFlags gReloadFlags;

void ResetReloadFlags();
