// The variable store text (variablefile/) for the host's variable lists:
// the sample platform's defaults, the files of bioscfg-sim --variables.
#pragma once

#include "platform/sample_platform.h"

#include <string>
#include <vector>

namespace platform {

// Parses the text into Out. On failure, Error reads "line N: ..." and Out
// is empty.
[[nodiscard]] bool ParseVariableStore(const std::string &Text, std::vector<PlatformVariable> &Out,
                                      std::string &Error);

// The header comment, then one line per variable. Throws
// std::invalid_argument for a variable the text cannot hold (a name that is
// empty, too long or not printable ASCII; data over 64 KiB).
std::string FormatVariableStore(const std::vector<PlatformVariable> &Variables);

}  // namespace platform
