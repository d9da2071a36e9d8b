/* The client header compiled as C: it must build without C++ and keep the
 * binary layout clients depend on. Nothing here runs; compiling is the check. */
#include "bioscfg_protocol.h"

#include <stddef.h>

_Static_assert(sizeof(BIOS_CONFIG_PROTOCOL) == 96, "protocol record size");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, Revision) == 0, "Revision");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, OpenSession) == 8, "OpenSession");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, CloseSession) == 16, "CloseSession");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetSessionFlag) == 24, "GetSessionFlag");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetLastErrorText) == 32, "GetLastErrorText");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetSettings) == 40, "GetSettings");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetSettings) == 48, "SetSettings");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, GetFormSettings) == 56, "GetFormSettings");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetFormSettings) == 64, "SetFormSettings");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SaveSettingsToIni) == 72, "SaveSettingsToIni");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, LoadSettingsFromIni) == 80, "LoadSettingsFromIni");
_Static_assert(offsetof(BIOS_CONFIG_PROTOCOL, SetAllQuestionsMode) == 88, "SetAllQuestionsMode");

/* Request records: natural alignment, as a C client lays them out. */
_Static_assert(sizeof(BIOS_SETTING_OPTION) == 20, "option record is packed");
_Static_assert(offsetof(BIOS_SETTING_OPTION, Next) == 12, "option Next");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, NameLength) == 8, "request NameLength");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, Type) == 12, "request Type");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, Value) == 16, "request Value");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, Options) == 24, "request Options");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, Found) == 32, "request Found");
_Static_assert(offsetof(BIOS_SETTING_REQUEST, Next) == 40, "request Next");
_Static_assert(sizeof(BIOS_SETTING_REQUEST) == 48, "request size");
_Static_assert(offsetof(BIOS_SETTING_VALUE, NameLength) == 8, "value NameLength");
_Static_assert(offsetof(BIOS_SETTING_VALUE, Value) == 12, "value Value");
_Static_assert(offsetof(BIOS_SETTING_VALUE, Status) == 16, "value Status");
_Static_assert(offsetof(BIOS_SETTING_VALUE, Next) == 24, "value Next");
_Static_assert(sizeof(BIOS_SETTING_VALUE) == 32, "value size");

/* Status codes: error bit, OEM bit, 0x000C0000 and the code. */
_Static_assert(BCFG_E_GENERAL_FAILURE == 0xC0000000000C0001ULL, "general failure");
_Static_assert(BCFG_E_VARIABLE_ACCESS == 0xC0000000000C000DULL, "variable access");
