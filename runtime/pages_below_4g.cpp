// Page runs below 4 GiB, for data a client reaches through a 32-bit address.
//
// The pages come from AllocatePages(AllocateMaxAddress) with 0xFFFFFFFF as
// the highest acceptable address. Each run is tracked by a small node kept
// in pool memory (not in the run itself, whose every byte belongs to the
// caller), so Shutdown can return runs the driver forgot.
#include "runtime/crt.h"
#include "runtime/runtime_internal.h"
#include "runtime/runtime_state.h"

namespace crt::detail {

struct PageRun {
  PageRun *Prev;
  PageRun *Next;
  EFI_PHYSICAL_ADDRESS Address;
  UINTN Pages;
};

namespace {

constexpr size_t PAGE_SIZE = 4096;
constexpr EFI_PHYSICAL_ADDRESS HIGHEST_BELOW_4G = 0xFFFFFFFF;

void Unlink(PageRun *Run) {
  if (Run->Prev != nullptr) {
    Run->Prev->Next = Run->Next;
  } else {
    gRuntime.PageRuns = Run->Next;
  }
  if (Run->Next != nullptr) Run->Next->Prev = Run->Prev;
  --gRuntime.PageRunCount;
}

void Release(PageRun *Run) {
  Unlink(Run);
  EFI_BOOT_SERVICES *Services = BootServices();
  if (Services == nullptr) return;
  Services->FreePages(Run->Address, Run->Pages);
  Services->FreePool(Run);
}

}  // namespace

void ReleasePageRuns() {
  while (gRuntime.PageRuns != nullptr) Release(gRuntime.PageRuns);
}

}  // namespace crt::detail

namespace crt {

using detail::gRuntime;
using detail::PageRun;

void *AllocateBelow4G(size_t Size) {
  EFI_BOOT_SERVICES *Services = detail::BootServices();
  if (Services == nullptr || Size > detail::HIGHEST_BELOW_4G) return nullptr;
  // Zero bytes still get a page, so every call returns a distinct address.
  UINTN Pages = Size == 0 ? 1 : (Size + detail::PAGE_SIZE - 1) / detail::PAGE_SIZE;

  void *Node = nullptr;
  if (EFI_ERROR(Services->AllocatePool(gRuntime.PoolType, sizeof(PageRun), &Node)) || Node == nullptr) {
    return nullptr;
  }
  EFI_PHYSICAL_ADDRESS Address = detail::HIGHEST_BELOW_4G;
  EFI_STATUS Status = Services->AllocatePages(AllocateMaxAddress, gRuntime.PoolType, Pages, &Address);
  if (EFI_ERROR(Status) || Address == 0 || Address + Pages * detail::PAGE_SIZE - 1 > detail::HIGHEST_BELOW_4G) {
    if (!EFI_ERROR(Status)) Services->FreePages(Address, Pages);
    Services->FreePool(Node);
    return nullptr;
  }

  auto *Run = static_cast<PageRun *>(Node);
  Run->Address = Address;
  Run->Pages = Pages;
  Run->Prev = nullptr;
  Run->Next = gRuntime.PageRuns;
  if (gRuntime.PageRuns != nullptr) gRuntime.PageRuns->Prev = Run;
  gRuntime.PageRuns = Run;
  ++gRuntime.PageRunCount;
  return reinterpret_cast<void *>(static_cast<uintptr_t>(Address));
}

void FreeBelow4G(void *Block) {
  if (Block == nullptr) return;
  auto Address = static_cast<EFI_PHYSICAL_ADDRESS>(reinterpret_cast<uintptr_t>(Block));
  for (PageRun *Run = gRuntime.PageRuns; Run != nullptr; Run = Run->Next) {
    if (Run->Address == Address) {
      detail::Release(Run);
      return;
    }
  }
}

}  // namespace crt
