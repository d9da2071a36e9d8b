#include "client/parser_access.h"

#include "inicontract/ini_file_path.h"
#include "inicontract/parser_image.h"
#include "runtime/crt.h"

INI_PARSER_LOOKUP FindIniParser() {
  EFI_BOOT_SERVICES *Boot = crt::SystemTable()->BootServices;
  if (INI_PARSER_LOOKUP Lookup = inicontract::FindIniParserLookup(Boot)) return Lookup;
  char Path[inicontract::INI_FILE_PATH_BUFFER_SIZE];
  inicontract::ParserImage Loaded{};
  if (inicontract::LoadIniParserImage(Boot, crt::ImageHandle(), crt::getenv("TORVEL_PATH"), Path, sizeof Path, Loaded) !=
      inicontract::ParserImageLoad::Loaded) {
    return nullptr;
  }
  return Loaded.Lookup;
}

INT32 LookUpKey(INI_PARSER_LOOKUP Lookup, const char *Section, const char *Key, const char *File, char *Value,
                UINT16 ValueBytes) {
  char Aux[8] = {};
  Value[0] = '\0';
  return Lookup(reinterpret_cast<CHAR8 *>(const_cast<char *>(Section)), reinterpret_cast<CHAR8 *>(const_cast<char *>(Key)),
                reinterpret_cast<CHAR8 *>(Aux), reinterpret_cast<CHAR8 *>(Value), ValueBytes,
                reinterpret_cast<CHAR8 *>(const_cast<char *>(File)), 0);
}
