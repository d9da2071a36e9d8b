// Hooks between the runtime's parts: what Startup and Shutdown call in the
// heap, page, stream and environment files.
#pragma once

#include "runtime/uefi.h"

namespace crt::detail {

// Frees every heap block still held (heap.cpp).
void ReleaseHeap();
// Frees every page run still held and its tracking node (pages_below_4g.cpp).
void ReleasePageRuns();
// Flushes and closes every open stream (streams.cpp).
void CloseAllStreams();
// Builds the environment from the firmware's text variables
// (environment.cpp). EFI_SUCCESS, or EFI_OUT_OF_RESOURCES when the heap ran
// out (the entries gathered so far stay usable).
[[nodiscard]] EFI_STATUS BuildEnvironment();
void FreeEnvironment();

}  // namespace crt::detail
