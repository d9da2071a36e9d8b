// Everything that lives as long as the driver image, in one place.
//
// Firmware gives every loaded image fresh .data/.bss; gnu-efi runs no global
// constructors, so all of it is constant-initialised. ResetImageState()
// returns it (and the runtime's own state) to the load-time values; the host
// simulator calls it when it "loads" the image again.
#pragma once

#include "iniparse/ini_parser_protocol.h"
#include "runtime/uefi.h"

class SettingsEngine;
class MessageCatalog;
class MessageCatalogHolder;
struct _EFI_HII_PROTOCOL;

constexpr UINT32 LAST_ERROR_TEXT_CHARS = 512;
constexpr UINT32 INI_PARSER_PATH_BYTES = 300;

struct DriverImageState {
  // The driver's own copy of the system table handed to the entry point.
  EFI_SYSTEM_TABLE SystemTableCopy;
  EFI_HANDLE ImageHandle;

  // Session.
  UINT8 SessionOpen;
  SettingsEngine *Engine;
  MessageCatalogHolder *CatalogHolder;
  UINT8 SessionFlag;
  UINT8 ReloadRequired;
  UINT8 DeferAfterReloadChange;

  // Last error text: two buffers, the current one by index.
  CHAR16 ErrorText[2][LAST_ERROR_TEXT_CHARS];
  UINT32 CurrentErrorText;

  // Message catalog (owned through the session's MessageCatalogHolder).
  MessageCatalog *Catalog;

  // Framework HII: the located interface and the handle to export.
  _EFI_HII_PROTOCOL *Hii;
  UINT16 HiiHandle;

  // The INI parser image, loaded on the first lookup and kept resident for
  // the rest of the driver's life (sessions come and go, it stays).
  char IniParserImagePath[INI_PARSER_PATH_BYTES];
  EFI_HANDLE IniParserImage;
  INI_PARSER_LOOKUP IniParserLookup;
};

constexpr DriverImageState LoadTimeImageState() {
  DriverImageState S{};
  S.DeferAfterReloadChange = 1;
  return S;
}

extern constinit DriverImageState gImage;

void ResetImageState();
