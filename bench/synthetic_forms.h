// A large synthetic setup database for load benchmarks, shaped like the
// setup of a real server: forms of 25 questions spread over 8 variables,
// a third of them numeric with 11 to 256 allowed values (plus a few that
// take any value from 0 to 65535), the rest one-of and checkbox questions,
// and suppress-if conditions combining terms through AND and OR.
#pragma once

#include "platform/sample_platform.h"

#include <cstdint>
#include <vector>

namespace bench {

struct SyntheticShape {
  int Questions = 10000;
  int QuestionsPerForm = 25;
  int Variables = 8;
  // Numeric questions with the range 0 to 65535 by 1.
  int FullRangeNumerics = 3;
};

struct SyntheticDatabase {
  std::vector<uint8_t> Export;
  EFI_GUID HiiProtocolGuid{};
  std::vector<platform::PlatformVariable> Variables;
  int Questions = 0;
  int ConditionTerms = 0;
  uint64_t Options = 0;  // over all questions
};

SyntheticDatabase BuildSyntheticDatabase(const SyntheticShape &Shape);

}  // namespace bench
