// Everything the parser image keeps between lookups, in one place.
//
// The image stays resident for the rest of boot and is never unloaded, so
// it holds at most one indexed file and replaces it when another file is
// named or the file changes. gnu-efi runs no global constructors: the state
// is constant-initialised, and ResetImageState() (image_entry.h) returns it (and the
// image's runtime) to the load-time values, as a fresh load would.
#pragma once

#include "inicontract/ini_file_path.h"
#include "runtime/uefi.h"

namespace crt {
struct FILE;
}

namespace iniparse {

class IniIndex;

struct ParserImageState {
  // The file indexed last: its joined path, a stream kept open on it to ask
  // the firmware whether it changed, and the size and time it had when read.
  char Path[inicontract::INI_FILE_PATH_BUFFER_SIZE];
  crt::FILE *Stream;
  UINT64 Size;
  EFI_TIME Modified;
  IniIndex *Index;
};

extern constinit ParserImageState gParser;

}  // namespace iniparse
