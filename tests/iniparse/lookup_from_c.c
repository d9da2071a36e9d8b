/* A C client of IniParserProtocol compiled without GNU_EFI_USE_MS_ABI, so
 * that gnu-efi's EFIAPI is empty here: the call below reaches the parser
 * with the right convention only because the header fixes it. */
#include "inicontract/ini_parser_protocol.h"

#if defined(GNU_EFI_USE_MS_ABI) || defined(HAVE_USE_MS_ABI)
#error "this file must be built without gnu-efi's ms_abi switch"
#endif

INT32 LookupFromC(void *Interface, CHAR8 *Section, CHAR8 *Key, CHAR8 *Value, UINT16 ValueSize, CHAR8 *File);

INT32 LookupFromC(void *Interface, CHAR8 *Section, CHAR8 *Key, CHAR8 *Value, UINT16 ValueSize, CHAR8 *File) {
  CHAR8 Aux[50] = {0};
  INI_PARSER_LOOKUP Lookup = (INI_PARSER_LOOKUP)Interface;
  return Lookup(Section, Key, Aux, Value, ValueSize, File, 0);
}
