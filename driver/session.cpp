#include "driver/session.h"

#include "bioscfg_protocol.h"
#include "driver/image_state.h"
#include "messages/catalog_access.h"
#include "messages/last_error_text.h"
#include "runtime/owned.h"
#include "settings/settings_engine.h"

EFI_STATUS RequireSession() {
  if (gImage.SessionOpen) return EFI_SUCCESS;
  (void)SetLastErrorText(LookupMessage(MSG_NO_SESSION));
  return BCFG_E_GENERAL_FAILURE;
}

SettingsEngine *SessionEngine() { return gImage.SessionOpen ? gImage.Engine : nullptr; }

EFI_STATUS SessionFormsForVisitor(bool HasVisitor, SettingsEngine **Out) {
  EFI_STATUS Status = RequireSession();
  if (Status != EFI_SUCCESS) return Status;
  if (!HasVisitor) return BCFG_E_INVALID_PARAMETER;
  Status = gImage.Engine->EnsureFormsLoaded();
  if (Status != EFI_SUCCESS) return Status;
  *Out = gImage.Engine;
  return EFI_SUCCESS;
}

EFI_STATUS OpenNewSession() {
  if (gImage.SessionOpen) CloseCurrentSession();

  crt::HeapObject<SettingsEngine> Engine(crt::New<SettingsEngine>());
  if (!Engine) return BCFG_E_GENERAL_FAILURE;
  crt::HeapObject<MessageCatalogHolder> Holder(crt::New<MessageCatalogHolder>());
  if (!Holder) return BCFG_E_GENERAL_FAILURE;
  // A failed load leaves no catalog behind, so dropping the holder with the
  // engine below destroys nothing else.
  if (LoadMessageCatalog() != EFI_SUCCESS) return BCFG_E_GENERAL_FAILURE;

  gImage.Engine = Engine.Release();
  gImage.CatalogHolder = Holder.Release();
  gImage.SessionOpen = 1;
  return EFI_SUCCESS;
}

void CloseCurrentSession() {
  crt::Delete(gImage.Engine);
  gImage.Engine = nullptr;
  crt::Delete(gImage.CatalogHolder);  // destroys the catalog with it
  gImage.CatalogHolder = nullptr;
  gImage.SessionOpen = 0;
  gImage.SessionFlag = 0;
}
