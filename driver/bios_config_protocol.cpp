#include "driver/bios_config_protocol.h"

#include <stddef.h>

// The record's layout is shared with clients built separately (natural
// x86-64 alignment, 8-byte pointers), so it is pinned here as well as in the
// C check of the public header.
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

constinit EFI_GUID gBiosConfigProtocolGuid = BIOS_CONFIG_PROTOCOL_GUID;

constinit BIOS_CONFIG_PROTOCOL BiosConfigProtocolInterface = {
    BIOS_CONFIG_PROTOCOL_REVISION,
    BiosConfigOperations::OpenSession,
    BiosConfigOperations::CloseSession,
    BiosConfigOperations::GetSessionFlag,
    BiosConfigOperations::GetLastErrorText,
    BiosConfigOperations::GetSettings,
    BiosConfigOperations::SetSettings,
    BiosConfigOperations::GetFormSettings,
    BiosConfigOperations::SetFormSettings,
    BiosConfigOperations::SaveSettingsToIni,
    BiosConfigOperations::LoadSettingsFromIni,
    BiosConfigOperations::SetAllQuestionsMode,
};
