// Text conversions between the firmware's UCS-2 and the host's UTF-8.
#pragma once

#include <string>

namespace sim {

std::string ToUtf8(const std::u16string &Text);
// UTF-8 to UCS-2; characters beyond the BMP become '?'.
std::u16string FromUtf8(const std::string &Text);
// Case-insensitive equality as FAT compares names (ASCII letters only).
bool SameNameIgnoringCase(const std::u16string &A, const std::u16string &B);

}  // namespace sim
