// Everything the runtime keeps between calls, in one constant-initialised
// record.
//
// gnu-efi runs no global constructors, so this state must be usable as the
// image's .data holds it at load time. ResetState() puts the record back to
// those values; Shutdown() ends there as well.
#pragma once

#include "runtime/uefi.h"

namespace crt {
struct FILE;
}

namespace crt::detail {

struct HeapBlock;
struct PageRun;
struct EnvironmentEntry;

// C guarantees room for at least 32 exit handlers.
constexpr size_t MAX_EXIT_HANDLERS = 32;

struct RuntimeState {
  EFI_SYSTEM_TABLE *SystemTable = nullptr;
  EFI_HANDLE ImageHandle = nullptr;
  // Pool type of every heap block and page run: the loaded image's data type
  // when the firmware tells us, else boot-services data.
  EFI_MEMORY_TYPE PoolType = EfiBootServicesData;

  HeapBlock *Blocks = nullptr;  // doubly linked, newest first
  size_t BlockCount = 0;
  PageRun *PageRuns = nullptr;  // doubly linked, newest first
  size_t PageRunCount = 0;

  FILE *Streams = nullptr;  // every open stream, newest first
  EnvironmentEntry *Environment = nullptr;
  // False when the last enumeration was cut short (environment.cpp).
  bool EnvironmentComplete = false;

  void (*ExitHandlers[MAX_EXIT_HANDLERS])() = {};
  size_t ExitHandlerCount = 0;
};

extern constinit RuntimeState gRuntime;

// Boot services of the system table handed to Startup, or nullptr before it.
EFI_BOOT_SERVICES *BootServices();
EFI_RUNTIME_SERVICES *RuntimeServices();

}  // namespace crt::detail
