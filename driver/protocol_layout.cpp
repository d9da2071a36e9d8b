// The binary layout of the protocol record and the request records.
//
// Clients are built separately, in C or C++, against include/
// bioscfg_protocol.h, and reach these records only through their offsets:
// natural x86-64 alignment with 8-byte pointers, BIOS_SETTING_OPTION packed.
// Pinning the offsets in driver code makes every build of the driver check
// them, tests or not. Nothing here generates code.
#include "bioscfg_protocol.h"

#include <stddef.h>

static_assert(sizeof(BIOS_CONFIG_PROTOCOL) == 96);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, Revision) == 0);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, OpenSession) == 8);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, CloseSession) == 16);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetSessionFlag) == 24);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetLastErrorText) == 32);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetSettings) == 40);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetSettings) == 48);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetFormSettings) == 56);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetFormSettings) == 64);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SaveSettingsToIni) == 72);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, LoadSettingsFromIni) == 80);
static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetAllQuestionsMode) == 88);

// A 32-bit text address, length and value, then the next pointer, unpadded.
static_assert(sizeof(BIOS_SETTING_OPTION) == 20);
static_assert(offsetof(BIOS_SETTING_OPTION, TextAddress) == 0);
static_assert(offsetof(BIOS_SETTING_OPTION, TextLength) == 4);
static_assert(offsetof(BIOS_SETTING_OPTION, Value) == 8);
static_assert(offsetof(BIOS_SETTING_OPTION, Next) == 12);

static_assert(sizeof(BIOS_SETTING_REQUEST) == 48);
static_assert(offsetof(BIOS_SETTING_REQUEST, Name) == 0);
static_assert(offsetof(BIOS_SETTING_REQUEST, NameLength) == 8);
static_assert(offsetof(BIOS_SETTING_REQUEST, Type) == 12);
static_assert(offsetof(BIOS_SETTING_REQUEST, Value) == 16);
static_assert(offsetof(BIOS_SETTING_REQUEST, Options) == 24);
static_assert(offsetof(BIOS_SETTING_REQUEST, Found) == 32);
static_assert(offsetof(BIOS_SETTING_REQUEST, Next) == 40);

static_assert(sizeof(BIOS_SETTING_VALUE) == 32);
static_assert(offsetof(BIOS_SETTING_VALUE, Name) == 0);
static_assert(offsetof(BIOS_SETTING_VALUE, NameLength) == 8);
static_assert(offsetof(BIOS_SETTING_VALUE, Value) == 12);
static_assert(offsetof(BIOS_SETTING_VALUE, Status) == 16);
static_assert(offsetof(BIOS_SETTING_VALUE, Next) == 24);

// The driver's own status codes: error bit, OEM bit, 0x000C0000, the code.
static_assert(BCFG_E_GENERAL_FAILURE == 0xC0000000000C0001ULL);
static_assert(BCFG_E_OUT_OF_RANGE == 0xC0000000000C0004ULL);
static_assert(BCFG_E_OUT_OF_MEMORY == 0xC0000000000C000AULL);
static_assert(BCFG_E_INVALID_PARAMETER == 0xC0000000000C000BULL);
static_assert(BCFG_E_VARIABLE_ACCESS == 0xC0000000000C000DULL);

// The second protocol and its records.
static_assert(sizeof(BIOS_CONFIG_EXTENSIONS_PROTOCOL) == 48);
static_assert(offsetof(BIOS_CONFIG_EXTENSIONS_PROTOCOL, SetWriteMode) == 8);
static_assert(offsetof(BIOS_CONFIG_EXTENSIONS_PROTOCOL, RunSetSettings) == 16);
static_assert(offsetof(BIOS_CONFIG_EXTENSIONS_PROTOCOL, RunSetFormSettings) == 24);
static_assert(offsetof(BIOS_CONFIG_EXTENSIONS_PROTOCOL, RunLoadSettingsFromIni) == 32);
static_assert(offsetof(BIOS_CONFIG_EXTENSIONS_PROTOCOL, EnumerateVariables) == 40);

static_assert(sizeof(BIOS_CONFIG_RUN) == 24);
static_assert(offsetof(BIOS_CONFIG_RUN, Step) == 8);
static_assert(offsetof(BIOS_CONFIG_RUN, Context) == 16);

static_assert(sizeof(BIOS_CONFIG_STEP) == 88);
static_assert(offsetof(BIOS_CONFIG_STEP, Width) == 24);
static_assert(offsetof(BIOS_CONFIG_STEP, FormId) == 26);
static_assert(offsetof(BIOS_CONFIG_STEP, Prompt) == 32);
static_assert(offsetof(BIOS_CONFIG_STEP, FormTitle) == 40);
static_assert(offsetof(BIOS_CONFIG_STEP, Section) == 48);
static_assert(offsetof(BIOS_CONFIG_STEP, Key) == 56);
static_assert(offsetof(BIOS_CONFIG_STEP, ValueText) == 64);
static_assert(offsetof(BIOS_CONFIG_STEP, OldText) == 72);
static_assert(offsetof(BIOS_CONFIG_STEP, NewText) == 80);
