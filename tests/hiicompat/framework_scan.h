// Reads back the conditions of a Framework export as the driver's parser
// meets them: for each question (by its offset, the Framework question id)
// whether a suppress-if and a gray-out-if precede it, and whether each is a
// chain of comparisons the driver evaluates or the always-true term of a
// condition decided at export.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace compat_test {

enum class ConditionForm { None, Chain, AlwaysTrue };

struct QuestionConditions {
  ConditionForm Suppress = ConditionForm::None;
  ConditionForm GrayOut = ConditionForm::None;
};

// Questions of every table, keyed by table index and offset.
std::map<std::pair<size_t, uint16_t>, QuestionConditions> ScanConditions(const std::vector<uint8_t> &Export);

}  // namespace compat_test
