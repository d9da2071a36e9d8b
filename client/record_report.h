// The lines the tool prints for an operation and its records. The host
// tool runs this same code in the simulator, so a transcript taken on
// firmware and one taken on the host compare line by line:
//
//   result: BCFG_E_OUT_OF_RANGE
//   error: Data for BIOS Var Mode is out of range
//   record: found=1 type=checkbox value=1 prompt="Quiet Boot" options=0="Disabled",1="Enabled"
//   record: found=0 prompt="No Such Question"
//   record: status=1 value=1 prompt="Quiet Boot"
#pragma once

#include "bioscfg_protocol.h"
#include "client/console_writer.h"

// "result: NAME" (or the status in hexadecimal).
void PrintResult(ConsoleWriter &Out, EFI_STATUS Status);
// Takes the driver's last-error text, if it has one, and prints each of its
// lines as "error: ...".
void PrintLastErrorText(ConsoleWriter &Out, BIOS_CONFIG_PROTOCOL *Protocol);
// An error of the tool's own, as one "error: " line.
void PrintToolError(ConsoleWriter &Out, const char *Before, const CHAR16 *Quoted, const char *After);
// A request record as the client received it: options in the client's
// order, each text read through its 32-bit TextAddress.
void PrintRequest(ConsoleWriter &Out, const BIOS_SETTING_REQUEST &Request);
void PrintValueRecord(ConsoleWriter &Out, const BIOS_SETTING_VALUE &Record);
