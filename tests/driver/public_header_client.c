/* A client of the public header as a C program builds it against gnu-efi
 * without GNU_EFI_USE_MS_ABI, so gnu-efi's EFIAPI means nothing here: the
 * calls below reach the driver correctly only because the header fixes the
 * calling convention of its function pointers itself. The C++ test
 * public_header_test.cpp calls these functions on the loaded driver. */
#include "bioscfg_protocol.h"

#ifdef GNU_EFI_USE_MS_ABI
#error "this client must be built without GNU_EFI_USE_MS_ABI"
#endif

/* The C compiler lays the records out as the driver does. */
_Static_assert(sizeof(BIOS_CONFIG_PROTOCOL) == 96, "protocol record");
_Static_assert(sizeof(BIOS_SETTING_OPTION) == 20, "option record");
_Static_assert(sizeof(BIOS_SETTING_REQUEST) == 48, "request record");
_Static_assert(sizeof(BIOS_SETTING_VALUE) == 32, "value record");

EFI_STATUS ClientOpenSession(BIOS_CONFIG_PROTOCOL *Protocol) { return Protocol->OpenSession(Protocol); }

EFI_STATUS ClientCloseSession(BIOS_CONFIG_PROTOCOL *Protocol) { return Protocol->CloseSession(Protocol); }

EFI_STATUS ClientGetSessionFlag(BIOS_CONFIG_PROTOCOL *Protocol, UINT8 *Flag) {
  return Protocol->GetSessionFlag(Protocol, Flag);
}

EFI_STATUS ClientGetLastErrorText(BIOS_CONFIG_PROTOCOL *Protocol, CHAR16 **Text) {
  return Protocol->GetLastErrorText(Protocol, Text);
}

EFI_STATUS ClientSaveSettingsToIni(BIOS_CONFIG_PROTOCOL *Protocol, CHAR8 *Name) {
  return Protocol->SaveSettingsToIni(Protocol, Name);
}

EFI_STATUS ClientSetAllQuestionsMode(BIOS_CONFIG_PROTOCOL *Protocol, UINT8 Enable) {
  return Protocol->SetAllQuestionsMode(Protocol, Enable);
}
