#include "messages/catalog_access.h"

#include "bioscfg_protocol.h"
#include "messages/last_error_text.h"
#include "messages/message_catalog.h"
#include "messages/messages_state.h"

// Messages 7 and 8 are looked up in the very catalog that could not be
// created or loaded, so they give no text and the last-error text keeps what
// it held. That is deliberate: the client can read texts only through an
// open session, and a built-in fallback would surface later as a stale text
// that no longer matches the failure the client is looking at.

MessageCatalogHolder::~MessageCatalogHolder() { DestroyMessageCatalog(); }

MessageCatalog *GetMessageCatalog() {
  if (gMessages.Catalog != nullptr) return gMessages.Catalog;

  gMessages.Catalog = crt::New<MessageCatalog>();
  if (gMessages.Catalog == nullptr) {
    (void)SetLastErrorText(LookupMessage(MSG_CATALOG_NOT_CREATED));
    return nullptr;
  }
  if (gMessages.Catalog->Load(W(CATALOG_FILE_NAME), 0) != CATALOG_LOADED) {
    (void)SetLastErrorText(LookupMessage(MSG_CATALOG_NOT_LOADED), W(CATALOG_FILE_NAME));
    DestroyMessageCatalog();
    return nullptr;
  }
  return gMessages.Catalog;
}

EFI_STATUS LoadMessageCatalog() {
  return GetMessageCatalog() != nullptr ? EFI_SUCCESS : BCFG_E_INVALID_PARAMETER;
}

const char *MessageArguments(UINT32 Number) {
  // By number, as bioscfg.messages gives them.
  static const char *const Arguments[] = {"", "", "W", "W", "W", "UW", "N", "", "W", "N", "", "", ""};
  return Number < sizeof Arguments / sizeof Arguments[0] ? Arguments[Number] : "";
}

const CHAR16 *LookupMessage(UINT32 Number) {
  if (gMessages.Catalog == nullptr) return nullptr;
  const CHAR16 *Text = gMessages.Catalog->GetMessage(Number);
  if (Text == nullptr || !FormatTakes(Text, MessageArguments(Number))) return nullptr;
  return Text;
}

void DestroyMessageCatalog() {
  crt::Delete(gMessages.Catalog);
  gMessages.Catalog = nullptr;
}
