// The bridge to the INI parser image.
//
// The driver reads INI files through iniparse.efi, a separate image in the
// TORVEL_PATH folder. The first lookup loads and starts it and finds the
// lookup function it installs; the image then stays resident, and every
// later lookup calls straight through.
#pragma once

#include "inicontract/ini_parser_protocol.h"

// Results besides the parser's own INI_LOOKUP_* answers.
constexpr INT32 INI_BRIDGE_PATH_TOO_LONG = -1;  // TORVEL_PATH + "\iniparse.efi" over 256
constexpr INT32 INI_BRIDGE_NO_PARSER = 16;      // the image can't be loaded, started or found

// The parser image as the bridge holds it, for the driver's whole life (it is
// never unloaded; sessions come and go, it stays).
constexpr UINT32 INI_PARSER_PATH_BYTES = 300;
struct IniParserBridgeState {
  char IniParserImagePath[INI_PARSER_PATH_BYTES];
  EFI_HANDLE IniParserImage;
  INI_PARSER_LOOKUP IniParserLookup;
};
extern constinit IniParserBridgeState gIniParser;
void ResetIniParserBridge();

// Looks KeyName up in SectionName of IniFileName (handed to the parser as
// the client gave it). On INI_LOOKUP_FOUND and INI_LOOKUP_KEY_NOT_FOUND the
// value text is copied into Value (ValueBytes long, always NUL-terminated,
// cut to fit); on every other result Value is untouched. Any parser result
// other than INI_LOOKUP_VALUE_TOO_LONG, INI_LOOKUP_SECTION_NOT_FOUND,
// INI_LOOKUP_READ_ERROR and INI_LOOKUP_KEY_NOT_FOUND reads as
// INI_LOOKUP_FOUND.
[[nodiscard]] INT32 ReadIniKey(const char *SectionName, const char *KeyName, char *AuxText, char *Value,
                               UINT32 ValueBytes, UINT16 ValueSize, const char *IniFileName, UINT16 LookupFlags);
