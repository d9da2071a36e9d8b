// The driver-wide message catalog: at most one MessageCatalog, on the heap,
// pointed to by gMessages.Catalog and owned by the open session through its
// MessageCatalogHolder.
#pragma once

#include "runtime/uefi.h"

class MessageCatalog;

// Message numbers the driver itself formats into the last-error text.
constexpr UINT32 MSG_CATALOG_NOT_CREATED = 7;
constexpr UINT32 MSG_CATALOG_NOT_LOADED = 8;  // argument: the file name, wide
constexpr UINT32 MSG_NO_SESSION = 11;

// The catalog file's name, appended to TORVEL_PATH.
#define CATALOG_FILE_NAME u"/bioscfg.str"

// Destroying the holder destroys the driver's catalog; the session owns the
// catalog through it.
class MessageCatalogHolder {
 public:
  MessageCatalogHolder() = default;
  ~MessageCatalogHolder();
  MessageCatalogHolder(const MessageCatalogHolder &) = delete;
  MessageCatalogHolder &operator=(const MessageCatalogHolder &) = delete;
};

// The catalog, created and loaded on first use; NULL when that fails.
MessageCatalog *GetMessageCatalog();
// EFI_SUCCESS when GetMessageCatalog yields a catalog, else
// BCFG_E_INVALID_PARAMETER.
[[nodiscard]] EFI_STATUS LoadMessageCatalog();
// The arguments the driver formats message Number with, as FormatTakes
// spells them ('W' wide string, 'N' 8-bit string, 'U' number): the ones
// messages/bioscfg.messages documents. A number it does not list takes none.
const char *MessageArguments(UINT32 Number);

// Text of message Number, or NULL with no catalog, no such text, or a text
// whose conversions would take other arguments than MessageArguments says.
// Callers hand it straight to SetLastErrorText, which ignores NULL.
const CHAR16 *LookupMessage(UINT32 Number);
// Destroys the catalog, if any, and clears the pointer.
void DestroyMessageCatalog();
