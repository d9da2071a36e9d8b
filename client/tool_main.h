// bioscfg-tool: a UEFI Shell application that drives the bioscfg driver
// through BIOS_CONFIG_PROTOCOL, written against the public header alone.
#pragma once

#include "runtime/uefi.h"

// The application's entry in both homes: reads the arguments, finds the
// driver's protocol, opens a session, runs one command and closes the
// session. Returns EFI_SUCCESS or the status that failed (the operation's
// own, or EFI_INVALID_PARAMETER for a bad command line, EFI_NOT_FOUND when
// the driver is not loaded).
EFI_STATUS ToolMain(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
