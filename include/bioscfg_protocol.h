/*
 * bioscfg client interface.
 *
 * A configuration tool finds BIOS_CONFIG_PROTOCOL by gBiosConfigProtocolGuid
 * (LocateProtocol or LocateHandle + HandleProtocol), opens a session and calls
 * the operations through the record's function pointers. Every layout here is
 * part of the binary interface: natural x86-64 alignment for the protocol and
 * the two request records, BIOS_SETTING_OPTION packed.
 *
 * This header is plain C (C99 and later) and C++; it needs gnu-efi's <efi.h>.
 */
#ifndef BIOSCFG_PROTOCOL_H
#define BIOSCFG_PROTOCOL_H

#include <efi.h>

/* The operations use the UEFI calling convention (Microsoft x64 on x86-64).
 * gnu-efi's EFIAPI means that only when the client defines
 * GNU_EFI_USE_MS_ABI; without it a GCC or Clang client would call with the
 * System V convention and pass every argument in the wrong register. So the
 * convention is fixed here, whatever the client defines. */
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define BIOSCFG_EFIAPI __attribute__((ms_abi))
#else
#define BIOSCFG_EFIAPI EFIAPI
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* {A170D2A0-231E-460E-A270-E397027E084C} */
#define BIOS_CONFIG_PROTOCOL_GUID \
  { 0xa170d2a0, 0x231e, 0x460e, { 0xa2, 0x70, 0xe3, 0x97, 0x02, 0x7e, 0x08, 0x4c } }

#define BIOS_CONFIG_PROTOCOL_REVISION 0x00010000

/* Driver status codes: UEFI error bit and OEM bit, 0x000C0000, code in the low byte. */
#define BCFG_E_GENERAL_FAILURE    ((EFI_STATUS)0xC0000000000C0001ULL)
#define BCFG_E_OUT_OF_RANGE       ((EFI_STATUS)0xC0000000000C0004ULL)
#define BCFG_E_OUT_OF_MEMORY      ((EFI_STATUS)0xC0000000000C000AULL)
#define BCFG_E_INVALID_PARAMETER  ((EFI_STATUS)0xC0000000000C000BULL)
#define BCFG_E_VARIABLE_ACCESS    ((EFI_STATUS)0xC0000000000C000DULL)

/* Results of LoadSettingsFromIni, passed through unchanged. */
#define BCFG_INI_E_OUT_OF_RANGE     ((EFI_STATUS)0xFFFFFFFFFFFFFFFFULL)
#define BCFG_INI_E_SET_FAILED       ((EFI_STATUS)0xFFFFFFFFFFFFFFFEULL)
#define BCFG_INI_E_BIOS_SECTION     ((EFI_STATUS)0xFFFFFFFFFFFFFFFCULL)
#define BCFG_INI_E_SERIAL_CONFLICT  ((EFI_STATUS)0xFFFFFFFFFFFFFFFAULL)

/* Question kinds reported in BIOS_SETTING_REQUEST.Type. */
#define BIOS_SETTING_TYPE_ONE_OF    0x05
#define BIOS_SETTING_TYPE_CHECKBOX  0x06
#define BIOS_SETTING_TYPE_NUMERIC   0x07

/* BIOS_SETTING_VALUE.Status */
#define BIOS_SETTING_NOT_APPLIED  0
#define BIOS_SETTING_APPLIED      1
#define BIOS_SETTING_REJECTED     2

#pragma pack(push, 1)
/* One allowed value of a question. TextAddress holds the low 32 bits of the
 * address of a UCS-2 text that the driver keeps below 4 GiB. */
typedef struct _BIOS_SETTING_OPTION {
  UINT32 TextAddress;
  UINT32 TextLength;
  UINT32 Value;
  struct _BIOS_SETTING_OPTION *Next;
} BIOS_SETTING_OPTION;
#pragma pack(pop)

/* One setting to read (GetSettings, GetFormSettings). */
typedef struct _BIOS_SETTING_REQUEST {
  CHAR16 *Name;
  UINT32 NameLength;
  UINT8 Type;
  UINT32 Value;
  BIOS_SETTING_OPTION *Options;
  UINT8 Found;
  struct _BIOS_SETTING_REQUEST *Next;
} BIOS_SETTING_REQUEST;

/* One setting to change (SetSettings, SetFormSettings). */
typedef struct _BIOS_SETTING_VALUE {
  CHAR16 *Name;
  UINT32 NameLength;
  UINT32 Value;
  UINT8 Status;
  struct _BIOS_SETTING_VALUE *Next;
} BIOS_SETTING_VALUE;

typedef struct _BIOS_CONFIG_PROTOCOL BIOS_CONFIG_PROTOCOL;

/* Opens (or reopens) the session. EFI_SUCCESS, or BCFG_E_GENERAL_FAILURE when
 * the message catalog bioscfg.str cannot be loaded from TORVEL_PATH. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_OPEN_SESSION)(BIOS_CONFIG_PROTOCOL *This);
/* Closes the session. EFI_SUCCESS, or BCFG_E_GENERAL_FAILURE with no session. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_CLOSE_SESSION)(BIOS_CONFIG_PROTOCOL *This);
/* Stores the session flag (always 0). EFI_SUCCESS or BCFG_E_GENERAL_FAILURE. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_GET_SESSION_FLAG)(BIOS_CONFIG_PROTOCOL *This, UINT8 *Flag);
/* Hands out the last error text once. EFI_SUCCESS, BCFG_E_INVALID_PARAMETER
 * (no text; NULL stored) or BCFG_E_GENERAL_FAILURE (no session). The text
 * stays valid until the next call of this operation. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_GET_LAST_ERROR_TEXT)(BIOS_CONFIG_PROTOCOL *This, CHAR16 **ErrorText);
/* Fills each request from the question with the same prompt. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_GET_SETTINGS)(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_REQUEST *Requests);
/* Changes each named question. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_SET_SETTINGS)(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_VALUE *Values);
/* Saves the visible questions to the [BIOS] block of an INI file in TORVEL_PATH. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_SAVE_SETTINGS_TO_INI)(BIOS_CONFIG_PROTOCOL *This, CHAR8 *IniFileName);
/* Restores changed values from the [BIOS] block of an INI file. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_LOAD_SETTINGS_FROM_INI)(BIOS_CONFIG_PROTOCOL *This, CHAR8 *IniFileName);
/* 0: only visible questions for GetSettings/SetSettings; any other value: all. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_SET_ALL_QUESTIONS_MODE)(BIOS_CONFIG_PROTOCOL *This, UINT8 Enable);

struct _BIOS_CONFIG_PROTOCOL {
  UINT64 Revision;
  BIOS_CONFIG_OPEN_SESSION OpenSession;
  BIOS_CONFIG_CLOSE_SESSION CloseSession;
  BIOS_CONFIG_GET_SESSION_FLAG GetSessionFlag;
  BIOS_CONFIG_GET_LAST_ERROR_TEXT GetLastErrorText;
  BIOS_CONFIG_GET_SETTINGS GetSettings;
  BIOS_CONFIG_SET_SETTINGS SetSettings;
  BIOS_CONFIG_GET_SETTINGS GetFormSettings;
  BIOS_CONFIG_SET_SETTINGS SetFormSettings;
  BIOS_CONFIG_SAVE_SETTINGS_TO_INI SaveSettingsToIni;
  BIOS_CONFIG_LOAD_SETTINGS_FROM_INI LoadSettingsFromIni;
  BIOS_CONFIG_SET_ALL_QUESTIONS_MODE SetAllQuestionsMode;
};

#ifdef __cplusplus
}
#endif

#endif
