// What every reader of a [BIOS] block agrees on besides section names
// (section_path.h): the sizes of the texts the import hands the parser, the
// two prompts whose change reshapes the forms, which keys open a serial-port
// section, and the check that two serial ports do not share an address or
// an IRQ. The driver's import is the one that acts on them; tools that show
// what an import would do reach the import itself, so these rules are not
// written a second time anywhere.
#pragma once

#include "runtime/uefi.h"

namespace inicontract {

// The longest value the import asks the parser for, and the buffers the
// import and the serial check read values and keys into.
constexpr UINT16 INI_VALUE_MAX = 128;
constexpr UINT32 INI_VALUE_TEXT_BYTES = 50;
constexpr UINT32 INI_KEY_TEXT_BYTES = 150;
constexpr UINT32 INI_AUX_TEXT_BYTES = 150;

// Reads a value text as the import does: blanks skipped, an optional sign,
// then decimal digits up to the first other character; text without digits
// reads as 0 ("Enabled", "0x10" and "7 ;Options" read 0, 0 and 7). False when
// the number does not fit 32 bits (below -2147483648 or above 4294967295):
// such a value is out of range wherever it is given, never wrapped. Value
// gets the number's low 32 bits (a negative one in two's complement).
[[nodiscard]] bool ReadIniNumber(const char *Text, UINT32 &Value);

// Switching either question on changes what the firmware's forms hold:
// "Console Redirection" adds the terminal settings below it, DMA remapping
// changes what the I/O forms offer.
constexpr char CONSOLE_REDIRECTION_PROMPT[] = "Console Redirection";
constexpr char REMAPPING_PROMPT[] = "Vexon(R) DR for Remapped I/O";

// Whether Key (a prompt without its leading blanks) is one of the two,
// compared byte for byte, case kept, as the import compares keys.
[[nodiscard]] bool KeyReshapesForms(const char *Key);

// Whether Key names a serial port ("Serial" anywhere in it, case kept): the
// serial-port form repeats "Address" and "IRQ" once per port, so such a
// question opens a section of its own (BuildSerialSectionPath).
[[nodiscard]] bool KeyOpensSerialSection(const char *Key);

// One key of one section of the file at hand, into Value (ValueBytes long,
// NUL-terminated). INI_LOOKUP_FOUND (0) when read; any other result is a
// missing key to the serial check.
using IniKeyReader = INT32 (*)(void *Context, const char *Section, const char *Key, char *Value,
                               UINT32 ValueBytes);

// Whether the file gives serial ports A and B the same "Address", or else
// the same "IRQ", compared ignoring ASCII case. Each port's key is read from
// the section under "ADVANCED", else from the one at the top. A port that
// lacks a key ends the check with no conflict: there is not enough to tell.
[[nodiscard]] bool SerialPortsConflict(IniKeyReader Read, void *Context);

}  // namespace inicontract
