// The tool's commands. Each prints its lines through the context's writer
// and returns the status the tool ends with.
#pragma once

#include "bioscfg_protocol.h"
#include "client/console_writer.h"
#include "client/tool_arguments.h"

struct ToolContext {
  BIOS_CONFIG_PROTOCOL *Protocol;
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions;  // on the driver's handle
  ConsoleWriter &Out;
  const ToolArguments &Args;
};

struct ToolCommand {
  const char *Name;
  const char *Operands;  // for the usage text
  const char *Summary;
  const char *Example;  // operands of one typical call
  UINTN MinimumOperands;
  EFI_STATUS (*Run)(ToolContext &Context);
};

// The command named Name, or nullptr.
[[nodiscard]] const ToolCommand *FindToolCommand(const CHAR16 *Name);
void PrintUsage(ConsoleWriter &Out);
