// A large synthetic setup database for load benchmarks: many forms of
// one-of, checkbox and numeric questions spread over several variables,
// with suppress-if conditions combining terms through AND and OR.
#pragma once

#include "platform/sample_platform.h"

#include <cstdint>
#include <vector>

namespace bench {

struct SyntheticShape {
  int Questions = 10000;
  int QuestionsPerForm = 100;
  int Variables = 8;
};

struct SyntheticDatabase {
  std::vector<uint8_t> Export;
  EFI_GUID HiiProtocolGuid{};
  std::vector<platform::PlatformVariable> Variables;
  int Questions = 0;
  int ConditionTerms = 0;
};

SyntheticDatabase BuildSyntheticDatabase(const SyntheticShape &Shape);

}  // namespace bench
