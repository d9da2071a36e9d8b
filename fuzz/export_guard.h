// Marks the slack of the export buffer's last page as unreadable for
// AddressSanitizer while the export is parsed.
//
// The export buffer is a page run from the firmware, not a heap block, so
// AddressSanitizer has no redzone behind it: a read just past ExportSize
// would land in the same page and go unnoticed. Poisoning the rest of the
// page makes such a read an error. Used by the fuzzer and the malformed-
// export tests; without AddressSanitizer it does nothing.
#pragma once

#include "forms/setup_form_database.h"
#include "sim/poison.h"

#include <cstddef>
#include <cstdint>

class ExportGuard {
 public:
  explicit ExportGuard(const SetupFormDatabase &Db) : Begin(Db.ExportBuffer), Slack(0) {
    if (Begin == nullptr) return;
    const size_t Page = 4096;
    const size_t Used = Db.ExportSize;
    const size_t Reserved = Used == 0 ? Page : (Used + Page - 1) / Page * Page;
    Slack = Reserved - Used;
    End = Begin + Used;
    sim::Poison(End, Slack);
  }
  // Unpoisons before the database frees the pages: the shadow would
  // otherwise outlive them.
  ~ExportGuard() { sim::Unpoison(End, Slack); }
  ExportGuard(const ExportGuard &) = delete;
  ExportGuard &operator=(const ExportGuard &) = delete;

 private:
  const uint8_t *Begin;
  const uint8_t *End = nullptr;
  size_t Slack;
};
