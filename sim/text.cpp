#include "sim/text.h"

namespace sim {

std::string ToUtf8(const std::u16string &Text) {
  std::string Out;
  for (char16_t Unit : Text) {
    const auto Code = static_cast<uint32_t>(Unit);
    if (Code < 0x80) {
      Out.push_back(static_cast<char>(Code));
    } else if (Code < 0x800) {
      Out.push_back(static_cast<char>(0xC0 | (Code >> 6)));
      Out.push_back(static_cast<char>(0x80 | (Code & 0x3F)));
    } else {
      Out.push_back(static_cast<char>(0xE0 | (Code >> 12)));
      Out.push_back(static_cast<char>(0x80 | ((Code >> 6) & 0x3F)));
      Out.push_back(static_cast<char>(0x80 | (Code & 0x3F)));
    }
  }
  return Out;
}

std::u16string FromUtf8(const std::string &Text) {
  std::u16string Out;
  for (size_t Index = 0; Index < Text.size();) {
    const auto Lead = static_cast<unsigned char>(Text[Index]);
    const size_t Length = Lead < 0x80 ? 1 : (Lead >> 5) == 0x6 ? 2 : (Lead >> 4) == 0xE ? 3 : (Lead >> 3) == 0x1E ? 4 : 1;
    if (Index + Length > Text.size()) {
      Out.push_back(u'?');
      break;
    }
    uint32_t Code = Length == 1 ? Lead : Length == 2 ? (Lead & 0x1F) : Length == 3 ? (Lead & 0x0F) : (Lead & 0x07);
    for (size_t More = 1; More < Length; ++More) Code = (Code << 6) | (static_cast<unsigned char>(Text[Index + More]) & 0x3F);
    Out.push_back(Code > 0xFFFF || (Length == 1 && Lead >= 0x80) ? u'?' : static_cast<char16_t>(Code));
    Index += Length;
  }
  return Out;
}

bool SameNameIgnoringCase(const std::u16string &A, const std::u16string &B) {
  if (A.size() != B.size()) return false;
  for (size_t Index = 0; Index < A.size(); ++Index) {
    char16_t X = A[Index];
    char16_t Y = B[Index];
    if (X >= u'A' && X <= u'Z') X = static_cast<char16_t>(X - u'A' + u'a');
    if (Y >= u'A' && Y <= u'Z') Y = static_cast<char16_t>(Y - u'A' + u'a');
    if (X != Y) return false;
  }
  return true;
}

}  // namespace sim
