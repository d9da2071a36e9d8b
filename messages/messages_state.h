// What the message layer keeps for the life of the driver image: the two
// last-error text buffers and the message catalog of the open session.
//
// Firmware gives every loaded image fresh data and gnu-efi runs no global
// constructors, so this is constant-initialised; ResetMessagesState puts it
// back to its load-time values when the host simulator loads the image again.
#pragma once

#include "runtime/uefi.h"

class MessageCatalog;

constexpr UINT32 LAST_ERROR_TEXT_CHARS = 512;

struct MessagesImageState {
  // Last error text: two buffers, the current one by index.
  CHAR16 ErrorText[2][LAST_ERROR_TEXT_CHARS];
  UINT32 CurrentErrorText;
  // The catalog, owned by the open session through its MessageCatalogHolder.
  MessageCatalog *Catalog;
};

extern constinit MessagesImageState gMessages;

void ResetMessagesState();
