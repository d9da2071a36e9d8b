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

/*
 * BIOS_CONFIG_EXTENSIONS_PROTOCOL: a second protocol of the driver, installed
 * beside BIOS_CONFIG_PROTOCOL on the same handle. It works on the session that
 * BIOS_CONFIG_PROTOCOL opened (every operation returns BCFG_E_GENERAL_FAILURE
 * with no session open) and adds:
 * - runs of the three change operations that report every change they make
 *   and, with BIOS_CONFIG_RUN_PLAN, runs that write nothing: they work on an
 *   in-memory copy of the setup variables, reloading the forms from that
 *   copy where the real run reloads them, and return the status and leave
 *   the per-record Status values and the last error text that the real run
 *   would;
 * - combined writes: each pass of a change operation reads each variable it
 *   changes once and writes it once at its end;
 * - the variables the forms name, for snapshots taken before a change.
 */

/* {C9FDD50E-6AD4-411B-B987-063977E17659} */
#define BIOS_CONFIG_EXTENSIONS_PROTOCOL_GUID \
  { 0xc9fdd50e, 0x6ad4, 0x411b, { 0xb9, 0x87, 0x06, 0x39, 0x77, 0xe1, 0x76, 0x59 } }

#define BIOS_CONFIG_EXTENSIONS_REVISION 0x00010000

/* SetWriteMode */
#define BIOS_CONFIG_WRITES_PER_QUESTION 0 /* one read and one write of the variable per changed question (the default) */
#define BIOS_CONFIG_WRITES_COMBINED     1 /* each changed variable read once and written once per pass */

/* BIOS_CONFIG_RUN.Flags */
#define BIOS_CONFIG_RUN_PLAN 0x1 /* write nothing */

/* BIOS_CONFIG_STEP.Kind */
#define BIOS_CONFIG_STEP_CHANGE 1 /* the question's stored value changes */
#define BIOS_CONFIG_STEP_REFUSE 2 /* the value is not among the question's options: the run stops here */
#define BIOS_CONFIG_STEP_FAIL   3 /* the question's variable cannot be read or written: the run stops here */

/* BIOS_CONFIG_STEP.Flags */
#define BIOS_CONFIG_STEP_RESHAPES   0x1 /* the forms are read again after this pass and the work applied again */
#define BIOS_CONFIG_STEP_MASKED     0x2 /* NewValue does not fit the question's Width bytes: StoredValue is kept */
#define BIOS_CONFIG_STEP_TOO_WIDE   0x4 /* the value text does not fit 32 bits (ValueText holds it) */
#define BIOS_CONFIG_STEP_NOT_STORED 0x8 /* a combined write of its variable failed: the change is not stored */

/* One question changed, refused or failed, in the order the run meets them.
 * The texts are NUL-terminated copies, valid during the callback only. */
typedef struct _BIOS_CONFIG_STEP {
  UINT32 Kind;
  UINT32 Flags;
  UINT32 Pass;        /* 1, or 2 after the forms were read again */
  UINT32 OldValue;    /* the value before (for a refusal: as the forms were read) */
  UINT32 NewValue;    /* the value asked for */
  UINT32 StoredValue; /* NewValue as the question's bytes keep it */
  UINT16 Width;       /* bytes of the question's value */
  UINT16 FormId;
  UINT32 Reserved;
  CONST CHAR16 *Prompt;    /* the question's prompt */
  CONST CHAR16 *FormTitle; /* the title of its form; NULL when none */
  CONST CHAR8 *Section;    /* LoadSettingsFromIni: the section, key and value text read; otherwise NULL */
  CONST CHAR8 *Key;
  CONST CHAR8 *ValueText;
  CONST CHAR16 *OldText;   /* the option text of OldValue and of StoredValue; NULL when there is none */
  CONST CHAR16 *NewText;
} BIOS_CONFIG_STEP;

typedef VOID (BIOSCFG_EFIAPI *BIOS_CONFIG_STEP_CALLBACK)(VOID *Context, CONST BIOS_CONFIG_STEP *Step);

/* How a run goes: planned or real, and who hears of its steps. */
typedef struct _BIOS_CONFIG_RUN {
  UINT32 Flags;
  UINT32 Reserved;
  BIOS_CONFIG_STEP_CALLBACK Step; /* may be NULL */
  VOID *Context;
} BIOS_CONFIG_RUN;

/* One variable the forms name. */
typedef VOID (BIOSCFG_EFIAPI *BIOS_CONFIG_VARIABLE_CALLBACK)(VOID *Context, CONST CHAR16 *Name, CONST EFI_GUID *Guid);

typedef struct _BIOS_CONFIG_EXTENSIONS_PROTOCOL BIOS_CONFIG_EXTENSIONS_PROTOCOL;

/* The session's write mode (BIOS_CONFIG_WRITES_*), for the operations of both
 * protocols. EFI_SUCCESS, BCFG_E_INVALID_PARAMETER (another mode) or
 * BCFG_E_GENERAL_FAILURE (no session). A new session starts per question. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_SET_WRITE_MODE)(BIOS_CONFIG_EXTENSIONS_PROTOCOL *This, UINT8 Mode);
/* SetSettings, SetFormSettings and LoadSettingsFromIni as Run says; they
 * return what the operation returns (for a plan: what it would return), or
 * BCFG_E_INVALID_PARAMETER for a NULL Run or unknown flags, or
 * BCFG_E_OUT_OF_MEMORY when a plan's copy of the variables cannot be had. */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_RUN_SET_SETTINGS)(BIOS_CONFIG_EXTENSIONS_PROTOCOL *This,
                                                                 BIOS_SETTING_VALUE *Values, CONST BIOS_CONFIG_RUN *Run);
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_RUN_LOAD_SETTINGS_FROM_INI)(BIOS_CONFIG_EXTENSIONS_PROTOCOL *This,
                                                                           CHAR8 *IniFileName, CONST BIOS_CONFIG_RUN *Run);
/* Calls Visit once for each distinct variable the forms name (loading the
 * forms first), in the order the forms first name them. EFI_SUCCESS,
 * BCFG_E_GENERAL_FAILURE, BCFG_E_INVALID_PARAMETER (NULL Visit),
 * BCFG_E_VARIABLE_ACCESS (the forms cannot be loaded). */
typedef EFI_STATUS (BIOSCFG_EFIAPI *BIOS_CONFIG_ENUMERATE_VARIABLES)(BIOS_CONFIG_EXTENSIONS_PROTOCOL *This,
                                                                    BIOS_CONFIG_VARIABLE_CALLBACK Visit, VOID *Context);

struct _BIOS_CONFIG_EXTENSIONS_PROTOCOL {
  UINT64 Revision;
  BIOS_CONFIG_SET_WRITE_MODE SetWriteMode;
  BIOS_CONFIG_RUN_SET_SETTINGS RunSetSettings;
  BIOS_CONFIG_RUN_SET_SETTINGS RunSetFormSettings;
  BIOS_CONFIG_RUN_LOAD_SETTINGS_FROM_INI RunLoadSettingsFromIni;
  BIOS_CONFIG_ENUMERATE_VARIABLES EnumerateVariables;
};

#ifdef __cplusplus
}
#endif

#endif
