// Named HII exports that exercise the form parser: well-formed ones, and
// malformed ones whose length fields disagree with their bytes the way
// firmware exports have been seen to.
//
// The fuzz seeds, the parser's regression tests and the listing check all
// take their inputs from here, so a name means the same bytes in each. The
// questions read the variables "Setup" (64 bytes), "Other" (4 bytes) and
// "Large" (over the 4096-byte read limit) under the two GUIDs passed in.
#pragma once

#include "hiibuild/host/hii_export_builder.h"

#include <string>
#include <vector>

namespace hiibuild {

struct ExampleExport {
  std::string Name;  // also the file name of its fuzz seed and its listing
  Bytes Image;
  EFI_GUID ProtocolGuid;  // the protocol that serves it
};

std::vector<ExampleExport> ExampleExports(const EFI_GUID &FormSetGuid, const EFI_GUID &OtherGuid);

}  // namespace hiibuild
