// Loading the INI parser image, iniparse.efi, from the TORVEL_PATH folder.
//
// The driver's INI bridge loads it on its first lookup; the configuration
// tool finds it (or loads it) to read saved files as the driver does. One
// routine serves both, so they agree on where the image lies and on what
// counts as started.
#pragma once

#include "inicontract/ini_parser_protocol.h"

#include <stddef.h>

namespace inicontract {

constexpr char INI_PARSER_IMAGE_NAME[] = "iniparse.efi";

enum class ParserImageLoad {
  Loaded,
  NoFolder,     // no TORVEL_PATH, or an empty one
  PathTooLong,  // TORVEL_PATH + "\iniparse.efi" over 256 characters
  Failed,       // the image can't be loaded or started, or installs no lookup
};

struct ParserImage {
  EFI_HANDLE Image;
  INI_PARSER_LOOKUP Lookup;
};

// The lookup of an iniparse.efi already running (the first handle carrying
// the protocol whose HandleProtocol succeeds), or nullptr.
[[nodiscard]] INI_PARSER_LOOKUP FindIniParserLookup(EFI_BOOT_SERVICES *Boot);

// Joins Folder and the image's name into Path (PathBytes long, at least
// INI_FILE_PATH_BUFFER_SIZE), loads the image with ParentImage as its parent,
// starts it (EFI_ALREADY_STARTED counts as started: a copy is running) and
// finds the lookup. An image that started but offers no lookup is unloaded
// again, so the caller never keeps a handle without an interface.
[[nodiscard]] ParserImageLoad LoadIniParserImage(EFI_BOOT_SERVICES *Boot, EFI_HANDLE ParentImage, const char *Folder,
                                                 char *Path, size_t PathBytes, ParserImage &Out);

}  // namespace inicontract
