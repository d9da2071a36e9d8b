/*
 * IniParserProtocol: key lookup in INI files, served by the image
 * iniparse.efi.
 *
 * When started, iniparse.efi installs this protocol on its own image handle
 * and stays resident (it has no unload handler). The interface pointer that
 * the handle database returns for INI_PARSER_PROTOCOL_GUID is itself the
 * lookup function, of type INI_PARSER_LOOKUP: there is no table of functions
 * and no revision field. A second start of the image finds the protocol
 * installed and returns EFI_ALREADY_STARTED without installing it again.
 *
 * Plain C (C99 and later) and C++; it needs gnu-efi's <efi.h>.
 */
#ifndef INI_PARSER_PROTOCOL_H
#define INI_PARSER_PROTOCOL_H

#include <efi.h>

/* The UEFI calling convention, fixed here rather than taken from EFIAPI:
 * gnu-efi's EFIAPI is empty unless GNU_EFI_USE_MS_ABI is defined, and a
 * caller built without it would otherwise pass the arguments in the wrong
 * registers. */
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define INI_PARSER_EFIAPI __attribute__((ms_abi))
#else
#define INI_PARSER_EFIAPI EFIAPI
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* {6097EF21-45CF-4C06-A074-5573265384E4} */
#define INI_PARSER_PROTOCOL_GUID \
  { 0x6097ef21, 0x45cf, 0x4c06, { 0xa0, 0x74, 0x55, 0x73, 0x26, 0x53, 0x84, 0xe4 } }

/* One copy per translation unit: the driver and the parser image each carry
 * their own, and a host process that links both has no clash. */
#if defined(__GNUC__) || defined(__clang__)
__attribute__((unused))
#endif
static EFI_GUID gIniParserProtocolGuid = INI_PARSER_PROTOCOL_GUID;

/* Results of the lookup. */
#define INI_LOOKUP_FOUND              0   /* Value holds the key's value text */
#define INI_LOOKUP_KEY_NOT_FOUND      (-2) /* the section exists, the key is not in it */
#define INI_LOOKUP_SECTION_NOT_FOUND  (-4) /* no such section, or the file cannot be used:
                                              missing, a folder, no TORVEL_PATH for a
                                              relative name, path too long, over the
                                              parser's size limits */
#define INI_LOOKUP_READ_ERROR         (-5) /* the firmware failed reading the file, or
                                              memory for its index ran out */
#define INI_LOOKUP_VALUE_TOO_LONG     75  /* the value and its NUL need more than ValueSize */

/*
 * Looks KeyName up in section SectionName of the INI file IniFileName.
 *
 * SectionName  the text between the brackets of the section heading, compared
 *              whole and ignoring ASCII case (no blanks are trimmed).
 * KeyName      the key, compared ignoring ASCII case and blanks (space, tab)
 *              around it. An empty key (or NULL) probes the section, reading
 *              the file afresh whatever its size and time: FOUND
 *              with an empty value when the section exists.
 * AuxText      not read and not written.
 * Value        receives the value text (up to a NUL byte, should the file
 *              hold one there) and a NUL. The lookup writes nothing
 *              but the value's bytes and the NUL that follows them, so at
 *              most ValueSize bytes; it writes nothing at all unless it
 *              returns INI_LOOKUP_FOUND. A value of N bytes needs
 *              ValueSize >= N + 1, else the result is
 *              INI_LOOKUP_VALUE_TOO_LONG. NULL counts as ValueSize 0.
 * IniFileName  a name with a volume ("fs1:\cfg\a.ini": it contains ':') is
 *              used as it is; any other name is joined onto the folder named
 *              by the environment variable TORVEL_PATH, exactly as the
 *              driver's INI export names the files it writes.
 * LookupFlags  ignored; callers pass 0.
 */
typedef INT32(INI_PARSER_EFIAPI *INI_PARSER_LOOKUP)(CHAR8 *SectionName, CHAR8 *KeyName, CHAR8 *AuxText,
                                                    CHAR8 *Value, UINT16 ValueSize, CHAR8 *IniFileName,
                                                    UINT16 LookupFlags);

#ifdef __cplusplus
}
#endif

#endif
