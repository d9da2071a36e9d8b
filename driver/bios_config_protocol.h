// The driver's one BIOS_CONFIG_PROTOCOL record and its operations.
//
// The record is a single static instance, installed on the image handle as
// EFI_NATIVE_INTERFACE; the driver never copies it. No operation reads This:
// all session state is driver-wide, in gImage.
#pragma once

#include "bioscfg_protocol.h"
#include "runtime/uefi.h"

extern EFI_GUID gBiosConfigProtocolGuid;
extern BIOS_CONFIG_PROTOCOL BiosConfigProtocolInterface;

namespace BiosConfigOperations {

// Session operations (session_operations.cpp).
EFI_STATUS EFIAPI OpenSession(BIOS_CONFIG_PROTOCOL *This);
EFI_STATUS EFIAPI CloseSession(BIOS_CONFIG_PROTOCOL *This);
EFI_STATUS EFIAPI GetSessionFlag(BIOS_CONFIG_PROTOCOL *This, UINT8 *Flag);
EFI_STATUS EFIAPI GetLastErrorText(BIOS_CONFIG_PROTOCOL *This, CHAR16 **ErrorText);
EFI_STATUS EFIAPI SetAllQuestionsMode(BIOS_CONFIG_PROTOCOL *This, UINT8 Enable);

// Operations that work on the setup questions (settings_operations.cpp).
EFI_STATUS EFIAPI GetSettings(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_REQUEST *Requests);
EFI_STATUS EFIAPI SetSettings(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_VALUE *Values);
EFI_STATUS EFIAPI GetFormSettings(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_REQUEST *Requests);
EFI_STATUS EFIAPI SetFormSettings(BIOS_CONFIG_PROTOCOL *This, BIOS_SETTING_VALUE *Values);
EFI_STATUS EFIAPI SaveSettingsToIni(BIOS_CONFIG_PROTOCOL *This, CHAR8 *IniFileName);
EFI_STATUS EFIAPI LoadSettingsFromIni(BIOS_CONFIG_PROTOCOL *This, CHAR8 *IniFileName);

}  // namespace BiosConfigOperations
