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

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define BIOSCFG_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BIOSCFG_ASAN 1
#endif
#endif

#ifdef BIOSCFG_ASAN
#include <sanitizer/asan_interface.h>
#endif

class ExportGuard {
 public:
  explicit ExportGuard(const SetupFormDatabase &Db) : Begin(Db.ExportBuffer), Slack(0) {
    if (Begin == nullptr) return;
    const size_t Page = 4096;
    const size_t Used = Db.ExportSize;
    const size_t Reserved = Used == 0 ? Page : (Used + Page - 1) / Page * Page;
    Slack = Reserved - Used;
    Poison(Begin + Used, Slack);
    End = Begin + Used;
  }
  // Unpoisons before the database frees the pages: the shadow would
  // otherwise outlive them.
  ~ExportGuard() { Unpoison(End, Slack); }
  ExportGuard(const ExportGuard &) = delete;
  ExportGuard &operator=(const ExportGuard &) = delete;

 private:
  static void Poison([[maybe_unused]] const uint8_t *At, [[maybe_unused]] size_t Size) {
#ifdef BIOSCFG_ASAN
    ASAN_POISON_MEMORY_REGION(At, Size);
#endif
  }
  static void Unpoison([[maybe_unused]] const uint8_t *At, [[maybe_unused]] size_t Size) {
#ifdef BIOSCFG_ASAN
    ASAN_UNPOISON_MEMORY_REGION(At, Size);
#endif
  }

  const uint8_t *Begin;
  const uint8_t *End = nullptr;
  size_t Slack;
};
