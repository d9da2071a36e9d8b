// The steps a run of the driver's second protocol reports, kept as text a
// test can compare: "change 1 [BIOS::MAIN] Quiet Boot 1->0", with " reshapes",
// " masked=N", " not-stored" and " too-wide" where they apply.
#pragma once

#include "bioscfg_protocol.h"

#include <string>
#include <vector>

class StepRecorder {
 public:
  // A run that reports to this recorder; Plan: write nothing.
  BIOS_CONFIG_RUN Run(bool Plan);
  const std::vector<std::string> &Steps() const { return Lines; }
  void Clear() { Lines.clear(); }

 private:
  static void BIOSCFG_EFIAPI Keep(VOID *Self, CONST BIOS_CONFIG_STEP *Step);
  std::vector<std::string> Lines;
};
