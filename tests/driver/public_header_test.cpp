// A client built from the public header without gnu-efi's ms_abi macro
// (public_header_client.c) calls the driver through the installed record:
// every argument must arrive where the driver looks for it.
#include "driver/image_state.h"
#include "settings/settings_engine.h"
#include "tests/support/driver_harness.h"

#include <string>

extern "C" {
EFI_STATUS ClientOpenSession(BIOS_CONFIG_PROTOCOL *Protocol);
EFI_STATUS ClientCloseSession(BIOS_CONFIG_PROTOCOL *Protocol);
EFI_STATUS ClientGetSessionFlag(BIOS_CONFIG_PROTOCOL *Protocol, UINT8 *Flag);
EFI_STATUS ClientGetLastErrorText(BIOS_CONFIG_PROTOCOL *Protocol, CHAR16 **Text);
EFI_STATUS ClientSaveSettingsToIni(BIOS_CONFIG_PROTOCOL *Protocol, CHAR8 *Name);
EFI_STATUS ClientSetAllQuestionsMode(BIOS_CONFIG_PROTOCOL *Protocol, UINT8 Enable);
}

namespace {

using PublicHeaderTest = DriverTest;

TEST_F(PublicHeaderTest, CClientWithoutTheAbiMacroCallsTheDriverCorrectly) {
  ASSERT_EQ(ClientOpenSession(Proto()), EFI_SUCCESS);
  UINT8 Flag = 0xA5;
  ASSERT_EQ(ClientGetSessionFlag(Proto(), &Flag), EFI_SUCCESS);
  EXPECT_EQ(Flag, 0) << "the flag went somewhere else";

  ASSERT_EQ(ClientSetAllQuestionsMode(Proto(), 7), EFI_SUCCESS);
  EXPECT_EQ(gImage.Engine->AllQuestionsMode, 7);

  EXPECT_EQ(ClientSaveSettingsToIni(Proto(), nullptr), BCFG_E_GENERAL_FAILURE);
  CHAR16 *Text = nullptr;
  ASSERT_EQ(ClientGetLastErrorText(Proto(), &Text), EFI_SUCCESS);
  ASSERT_NE(Text, nullptr);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t *>(Text)), u"INI filename NULL before saving HII variables\n");

  EXPECT_EQ(ClientCloseSession(Proto()), EFI_SUCCESS);
  EXPECT_EQ(ClientGetSessionFlag(Proto(), &Flag), BCFG_E_GENERAL_FAILURE);
}

}  // namespace
