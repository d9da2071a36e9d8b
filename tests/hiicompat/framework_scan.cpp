#include "tests/hiicompat/framework_scan.h"

namespace compat_test {

namespace {

uint32_t Le32(const std::vector<uint8_t> &B, size_t At) {
  return B.at(At) | (B.at(At + 1) << 8) | (B.at(At + 2) << 16) | (static_cast<uint32_t>(B.at(At + 3)) << 24);
}

}  // namespace

std::map<std::pair<size_t, uint16_t>, QuestionConditions> ScanConditions(const std::vector<uint8_t> &Export) {
  std::map<std::pair<size_t, uint16_t>, QuestionConditions> Out;
  const size_t Tables = Export.at(0) | (Export.at(1) << 8);
  size_t Table = 18;
  for (size_t Index = 0; Index < Tables; ++Index) {
    const uint32_t Size = Le32(Export, Table + 18);
    const size_t Pack = Table + Le32(Export, Table + 22);
    const size_t End = Pack + Le32(Export, Pack);
    QuestionConditions Pending;
    ConditionForm *Open = nullptr;
    for (size_t At = Pack + 6; At < End && Export.at(At + 1) != 0; At += Export.at(At + 1)) {
      switch (Export.at(At)) {
        case 0x0A: Open = &Pending.Suppress; break;
        case 0x19: Open = &Pending.GrayOut; break;
        case 0x12:
        case 0x14:
          if (Open != nullptr) *Open = ConditionForm::Chain;
          break;
        case 0x13:
          if (Open != nullptr) *Open = ConditionForm::AlwaysTrue;
          break;
        case 0x18: Open = nullptr; break;
        case 0x05:
        case 0x06:
        case 0x07:
          Out[{Index, static_cast<uint16_t>(Export.at(At + 2) | (Export.at(At + 3) << 8))}] = Pending;
          Pending = QuestionConditions{};
          break;
        default: break;
      }
    }
    Table += Size;
  }
  return Out;
}

}  // namespace compat_test
