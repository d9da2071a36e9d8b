// Where the driver's variable calls go.
//
// Every read of a setup variable (the form load, condition terms, the
// read-modify-write of a change) and every write goes through one of these:
// normally the firmware's runtime services, or an overlay that keeps the
// variables in memory (variable_overlay.h): a plan that must write nothing,
// or a pass that writes each changed variable once at its end.
#pragma once

#include "runtime/uefi.h"

struct VariableServices {
  // GetVariable's and SetVariable's contracts, for the one store they stand for.
  EFI_STATUS (*Get)(void *Context, CHAR16 *Name, EFI_GUID *Guid, UINT32 *Attributes, UINTN *DataSize, void *Data);
  EFI_STATUS (*Set)(void *Context, CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN DataSize, void *Data);
  void *Context;
};

// The firmware's GetVariable and SetVariable, reached through the runtime's
// system table (EFI_NOT_READY when there is none).
const VariableServices *FirmwareVariables();
