// The function that IniParserProtocol's interface pointer is.
#pragma once

#include "inicontract/ini_parser_protocol.h"

namespace iniparse {

// INI_PARSER_LOOKUP: the behaviour and results are described with that
// type in ini_parser_protocol.h.
INT32 INI_PARSER_EFIAPI IniParserLookup(CHAR8 *SectionName, CHAR8 *KeyName, CHAR8 *AuxText, CHAR8 *Value,
                                        UINT16 ValueSize, CHAR8 *IniFileName, UINT16 LookupFlags);

}  // namespace iniparse
