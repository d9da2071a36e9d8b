#include "driver/image_state.h"

#include "ini/ini_parser_bridge.h"
#include "messages/messages_state.h"
#include "runtime/crt.h"
#include "settings/reload_flags.h"

// gnu-efi's support library keeps its own image-wide state; a fresh image
// starts with these values, and InitializeLib fills them in only once.
extern "C" {
extern BOOLEAN LibInitialized;
extern EFI_UNICODE_COLLATION_INTERFACE *UnicodeInterface;
extern EFI_UNICODE_COLLATION_INTERFACE LibStubUnicodeInterface;
}

constinit DriverImageState gImage = {};

void ResetImageState() {
  gImage = DriverImageState{};
  ResetMessagesState();
  ResetReloadFlags();
  ResetIniParserBridge();
  LibInitialized = FALSE;
  UnicodeInterface = &LibStubUnicodeInterface;
  crt::ResetState();
}
