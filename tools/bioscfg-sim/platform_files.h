// The two files that describe a platform to bioscfg-sim: the HII export
// (raw bytes) and the variable store (text, one variable per line:
// NAME GUID ATTRIBUTES DATA; read and written by platform/variable_store_text.h).
#pragma once

#include "platform/sample_platform.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bioscfgsim {

struct PlatformInput {
  std::vector<uint8_t> Export;
  EFI_GUID HiiProtocolGuid{};  // the protocol that serves Export
  std::vector<platform::PlatformVariable> Variables;
};

// The protocol an export belongs to, told by its header: the later
// protocol's GUID at byte 4 marks the 20-byte header; anything else is taken
// as the classic 18-byte one.
EFI_GUID HiiProtocolOf(const std::vector<uint8_t> &Export);

// The sample platform, as the default input.
PlatformInput SamplePlatformInput();

// Reads a whole file; false with a reason in Error.
[[nodiscard]] bool ReadFileBytes(const std::string &Path, std::vector<uint8_t> &Out, std::string &Error);
[[nodiscard]] bool WriteFileBytes(const std::string &Path, const std::vector<uint8_t> &Bytes, std::string &Error);

}  // namespace bioscfgsim
