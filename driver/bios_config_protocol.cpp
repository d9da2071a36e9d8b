#include "driver/bios_config_protocol.h"

// The record's layout is pinned in protocol_layout.cpp.
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
