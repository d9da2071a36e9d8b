// The bridge to the INI parser image.
//
// The driver reads INI files through iniparse.efi, a separate image in the
// TORVEL_PATH folder. The first lookup loads and starts it and finds the
// lookup function it installs; the image then stays resident, and every
// later lookup calls straight through.
#pragma once

#include "runtime/uefi.h"

// Results besides the parser's own (0 found, -2 no such key, -4 no such
// section or no file, -5 read error, 75 value too long).
constexpr INT32 INI_BRIDGE_PATH_TOO_LONG = -1;  // TORVEL_PATH + "\iniparse.efi" over 256
constexpr INT32 INI_BRIDGE_NO_PARSER = 16;      // the image can't be loaded, started or found

// Looks KeyName up in SectionName of IniFileName (handed to the parser as
// the client gave it). On 0 and -2 the value text is copied into Value
// (ValueBytes long, always NUL-terminated, cut to fit); on every other
// result Value is untouched. Any parser result other than 75, -4, -5 and -2
// reads as 0.
[[nodiscard]] INT32 ReadIniKey(const char *SectionName, const char *KeyName, char *AuxText, char *Value,
                               UINT32 ValueBytes, UINT16 ValueSize, const char *IniFileName, UINT16 LookupFlags);

// Loads and starts the image at Path and finds its lookup function.
// True when all three steps succeeded; on failure the driver holds no
// image, so a later lookup tries again.
[[nodiscard]] bool LoadIniParser(const char *Path);
