// The protocol operations that manage the session and its error text.
#include "driver/bios_config_protocol.h"
#include "driver/image_state.h"
#include "driver/session.h"
#include "messages/last_error_text.h"
#include "settings/settings_engine.h"

namespace BiosConfigOperations {

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE when the engine or the message
// catalog can't be created (the session is then closed).
EFI_STATUS EFIAPI OpenSession(BIOS_CONFIG_PROTOCOL *) { return OpenNewSession(); }

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE with no session open.
EFI_STATUS EFIAPI CloseSession(BIOS_CONFIG_PROTOCOL *) {
  if (!gImage.SessionOpen) return BCFG_E_GENERAL_FAILURE;
  CloseCurrentSession();
  return EFI_SUCCESS;
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE with no session open;
// BCFG_E_INVALID_PARAMETER for a NULL Flag. Nothing sets the flag, so it
// reads 0 in every state a client can reach.
EFI_STATUS EFIAPI GetSessionFlag(BIOS_CONFIG_PROTOCOL *, UINT8 *Flag) {
  if (!gImage.SessionOpen) return BCFG_E_GENERAL_FAILURE;
  if (Flag == nullptr) return BCFG_E_INVALID_PARAMETER;
  *Flag = gImage.SessionFlag;
  return EFI_SUCCESS;
}

// EFI_SUCCESS; BCFG_E_INVALID_PARAMETER when there is no text (NULL stored)
// or ErrorText is NULL; BCFG_E_GENERAL_FAILURE with no session open.
EFI_STATUS EFIAPI GetLastErrorText(BIOS_CONFIG_PROTOCOL *, CHAR16 **ErrorText) {
  if (!gImage.SessionOpen) return BCFG_E_GENERAL_FAILURE;
  if (ErrorText == nullptr) return BCFG_E_INVALID_PARAMETER;
  return TakeLastErrorText(ErrorText);
}

// EFI_SUCCESS; BCFG_E_GENERAL_FAILURE with no session open. Never loads the
// forms.
EFI_STATUS EFIAPI SetAllQuestionsMode(BIOS_CONFIG_PROTOCOL *, UINT8 Enable) {
  if (RequireSession() != EFI_SUCCESS) return BCFG_E_GENERAL_FAILURE;
  SessionEngine()->AllQuestionsMode = Enable;
  return EFI_SUCCESS;
}

}  // namespace BiosConfigOperations
