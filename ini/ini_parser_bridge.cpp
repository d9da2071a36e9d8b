#include "ini/ini_parser_bridge.h"

#include "inicontract/parser_image.h"
#include "runtime/crt.h"

constinit IniParserBridgeState gIniParser = {};

void ResetIniParserBridge() { gIniParser = IniParserBridgeState{}; }

namespace {

constexpr UINTN BRIDGE_VALUE_BYTES = 256;

// Loads the image on first use (or after every earlier load failed).
// INI_LOOKUP_FOUND when the lookup can be called, else the bridge's result.
INT32 EnsureParserLoaded() {
  if (gIniParser.IniParserImage != nullptr && gIniParser.IniParserLookup != nullptr) return INI_LOOKUP_FOUND;
  inicontract::ParserImage Loaded{};
  const inicontract::ParserImageLoad Result =
      inicontract::LoadIniParserImage(crt::SystemTable()->BootServices, crt::ImageHandle(), crt::getenv("TORVEL_PATH"),
                         gIniParser.IniParserImagePath, sizeof gIniParser.IniParserImagePath, Loaded);
  if (Result == inicontract::ParserImageLoad::PathTooLong) return INI_BRIDGE_PATH_TOO_LONG;
  if (Result != inicontract::ParserImageLoad::Loaded) return INI_BRIDGE_NO_PARSER;
  gIniParser.IniParserImage = Loaded.Image;
  gIniParser.IniParserLookup = Loaded.Lookup;
  return INI_LOOKUP_FOUND;
}

void CopyValue(const char *From, char *Value, UINT32 ValueBytes) {
  if (Value == nullptr || ValueBytes == 0) return;
  UINT32 Index = 0;
  for (; Index + 1 < ValueBytes && From[Index] != '\0'; ++Index) Value[Index] = From[Index];
  Value[Index] = '\0';
}

CHAR8 *Bytes(const char *Text) { return const_cast<CHAR8 *>(reinterpret_cast<const CHAR8 *>(Text)); }

}  // namespace

INT32 ReadIniKey(const char *SectionName, const char *KeyName, char *AuxText, char *Value, UINT32 ValueBytes,
                 UINT16 ValueSize, const char *IniFileName, UINT16 LookupFlags) {
  const INT32 Ready = EnsureParserLoaded();
  if (Ready != INI_LOOKUP_FOUND) return Ready;
  char Found[BRIDGE_VALUE_BYTES] = {};
  if (ValueSize > BRIDGE_VALUE_BYTES) ValueSize = BRIDGE_VALUE_BYTES;  // never more than the buffer holds
  const INT32 Result = gIniParser.IniParserLookup(Bytes(SectionName), Bytes(KeyName), reinterpret_cast<CHAR8 *>(AuxText),
                                                  reinterpret_cast<CHAR8 *>(Found), ValueSize, Bytes(IniFileName),
                                                  LookupFlags);
  if (Result == INI_LOOKUP_VALUE_TOO_LONG || Result == INI_LOOKUP_SECTION_NOT_FOUND || Result == INI_LOOKUP_READ_ERROR) {
    return Result;
  }
  Found[BRIDGE_VALUE_BYTES - 1] = '\0';
  CopyValue(Found, Value, ValueBytes);
  return Result == INI_LOOKUP_KEY_NOT_FOUND ? INI_LOOKUP_KEY_NOT_FOUND : INI_LOOKUP_FOUND;
}
