// Snapshots of the setup variables: every variable the forms name (name,
// GUID, attributes, bytes), in the variable-store text format the host tool
// and the HII provider read, and their exact restoration.
#pragma once

#include "client/tool_commands.h"

// Reads every variable the driver's forms name and writes them to the file
// at Path (as fopen names it), after the format's header and Comment (a
// "#" line). EFI_SUCCESS or why not (nothing printed).
[[nodiscard]] EFI_STATUS WriteFormVariables(ToolContext &C, const char *Path, const char *Comment);
// WriteFormVariables into the file Name in the TORVEL_PATH folder.
[[nodiscard]] EFI_STATUS WriteVariableSnapshot(ToolContext &C, const char *Name);

// restore SNAPSHOT: checks that the machine has every variable of the
// snapshot with the same size and attributes (else refuses, writing
// nothing), then writes back exactly those whose bytes differ, each once,
// reads each back and prints what it restored.
EFI_STATUS RunRestore(ToolContext &C);
