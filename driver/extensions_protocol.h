// The driver's second protocol, BIOS_CONFIG_EXTENSIONS_PROTOCOL: one static
// record, installed beside BIOS_CONFIG_PROTOCOL on the image handle. Its
// operations work on the session the first protocol opened.
#pragma once

#include "bioscfg_protocol.h"

extern EFI_GUID gBiosConfigExtensionsProtocolGuid;
extern BIOS_CONFIG_EXTENSIONS_PROTOCOL BiosConfigExtensionsInterface;
