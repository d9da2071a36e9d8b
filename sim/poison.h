// Marking memory unreadable for AddressSanitizer: the pool headers the
// simulator keeps in front of each block, and the slack behind an export
// buffer that fills only part of its last page. Without AddressSanitizer
// both calls do nothing.
#pragma once

#include <cstddef>

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

namespace sim {

inline void Poison([[maybe_unused]] const void *At, [[maybe_unused]] size_t Size) {
#ifdef BIOSCFG_ASAN
  ASAN_POISON_MEMORY_REGION(At, Size);
#endif
}

inline void Unpoison([[maybe_unused]] const void *At, [[maybe_unused]] size_t Size) {
#ifdef BIOSCFG_ASAN
  ASAN_UNPOISON_MEMORY_REGION(At, Size);
#endif
}

}  // namespace sim
