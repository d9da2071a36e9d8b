// The INI parser image, as the tool reaches it for load --dry-run: the
// lookup the driver's import itself uses, so both read a file alike. If the
// driver has not loaded iniparse.efi yet, the tool loads it from the
// TORVEL_PATH folder; it stays resident, and the driver finds it there.
#pragma once

#include "inicontract/ini_parser_protocol.h"

// The lookup function, or nullptr when the image can't be found or started.
[[nodiscard]] INI_PARSER_LOOKUP FindIniParser();

// One key (without leading blanks) of one section of the file, into Value.
// The parser's result (0: found).
[[nodiscard]] INT32 LookUpKey(INI_PARSER_LOOKUP Lookup, const char *Section, const char *Key, const char *File,
                              char *Value, UINT16 ValueBytes);
