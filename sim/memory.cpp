// Pool and page memory.
//
// Pool blocks are kept by pool.cpp. Pages come from mmap; "below 4 GiB" is
// honoured for real (MAP_32BIT first, then hinted fixed mappings walking
// down from the limit), because clients dereference 32-bit addresses handed
// to them. Freed runs stay mapped, up to MAX_KEPT_BYTES, and serve later
// requests of the same size, as firmware hands freed pages out again:
// mapping and unmapping every run made each load of the forms pay for page
// faults and TLB flushes. A kept run is poisoned for AddressSanitizer, so a
// use after FreePages is still seen there.
#include "sim/firmware_state.h"
#include "sim/poison.h"

#include <sys/mman.h>

#include <cstring>

namespace sim {
namespace {

constexpr uint64_t PAGE = EFI_PAGE_SIZE;
// Hinted attempts below a limit before giving up with EFI_NOT_FOUND.
constexpr int MAX_HINT_ATTEMPTS = 4096;
constexpr uint64_t HINT_STEP = 16 * 1024 * 1024;
constexpr uint64_t LOWEST_HINT = 16 * 1024 * 1024;
constexpr uint64_t MAX_KEPT_BYTES = 64 * 1024 * 1024;

bool ValidMemoryType(EFI_MEMORY_TYPE Type) {
  const auto Value = static_cast<uint32_t>(Type);
  return Value < EfiMaxMemoryType || Value >= 0x70000000u;
}

void *MapAnywhere(uint64_t Bytes) {
  void *Memory = mmap(nullptr, Bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return Memory == MAP_FAILED ? nullptr : Memory;
}

void *MapExactly(uint64_t Address, uint64_t Bytes) {
  void *Memory = mmap(reinterpret_cast<void *>(Address), Bytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
  if (Memory == MAP_FAILED) return nullptr;
  if (reinterpret_cast<uint64_t>(Memory) != Address) {  // kernels before 4.17 treat the flag as a hint
    munmap(Memory, Bytes);
    return nullptr;
  }
  return Memory;
}

// A mapping whose last byte is at or below Limit.
void *MapBelow(uint64_t Limit, uint64_t Bytes) {
  if (Bytes == 0 || Limit < Bytes) return nullptr;
  void *Low = mmap(nullptr, Bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
  if (Low != MAP_FAILED) {
    if (reinterpret_cast<uint64_t>(Low) + Bytes - 1 <= Limit) return Low;
    munmap(Low, Bytes);
  }
  uint64_t Hint = ((Limit + 1 - Bytes) / PAGE) * PAGE;
  for (int Attempt = 0; Attempt < MAX_HINT_ATTEMPTS && Hint >= LOWEST_HINT; ++Attempt) {
    void *Memory = MapExactly(Hint, Bytes);
    if (Memory != nullptr) return Memory;
    Hint -= Hint >= HINT_STEP ? HINT_STEP : Hint;
  }
  return nullptr;
}

void Unmap(uint64_t Address, uint64_t Bytes) {
  Unpoison(reinterpret_cast<void *>(Address), Bytes);
  munmap(reinterpret_cast<void *>(Address), Bytes);
}

// A kept run of Pages pages whose last byte is at or below Limit, taken off
// the list; nullptr when there is none.
void *TakeKeptRun(State &S, uint64_t Pages, uint64_t Limit) {
  const auto [First, Last] = S.KeptRuns.equal_range(Pages);
  for (auto It = First; It != Last; ++It) {
    const uint64_t Address = It->second;
    if (Address + Pages * PAGE - 1 > Limit) continue;
    S.KeptRuns.erase(It);
    S.KeptBytes -= Pages * PAGE;
    Unpoison(reinterpret_cast<void *>(Address), Pages * PAGE);
    return reinterpret_cast<void *>(Address);
  }
  return nullptr;
}

// Unmaps the kept runs that overlap [Address, Address + Bytes), so that the
// range can be mapped exactly.
void DropKeptRuns(State &S, uint64_t Address, uint64_t Bytes) {
  for (auto It = S.KeptRuns.begin(); It != S.KeptRuns.end();) {
    const uint64_t RunBytes = It->first * PAGE;
    if (It->second >= Address + Bytes || It->second + RunBytes <= Address) {
      ++It;
      continue;
    }
    Unmap(It->second, RunBytes);
    S.KeptBytes -= RunBytes;
    It = S.KeptRuns.erase(It);
  }
}

EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::AllocatePool);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Buffer == nullptr || !ValidMemoryType(PoolType)) return EFI_INVALID_PARAMETER;
  return AllocatePoolInternal(S, Size, Buffer);
}

EFI_STATUS EFIAPI FreePool(VOID *Buffer) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::FreePool);
  if (Injected != EFI_SUCCESS) return Injected;
  return ReleasePoolBlock(S, Buffer);
}

EFI_STATUS EFIAPI AllocatePages(EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages,
                                EFI_PHYSICAL_ADDRESS *Memory) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::AllocatePages);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Memory == nullptr || !ValidMemoryType(MemoryType) || Type >= MaxAllocateType) return EFI_INVALID_PARAMETER;
  if (Pages == 0 || Pages > (UINT64_MAX / PAGE)) return EFI_INVALID_PARAMETER;
  const EFI_STATUS Budget = S.AllocationAllowed();
  if (Budget != EFI_SUCCESS) return Budget;
  const uint64_t Bytes = Pages * PAGE;
  void *Mapped = nullptr;
  switch (Type) {
    case AllocateAnyPages:
      Mapped = TakeKeptRun(S, Pages, UINT64_MAX);
      if (Mapped == nullptr) Mapped = MapAnywhere(Bytes);
      break;
    case AllocateMaxAddress:
      Mapped = TakeKeptRun(S, Pages, *Memory);
      if (Mapped == nullptr) Mapped = MapBelow(*Memory, Bytes);
      break;
    case AllocateAddress:
      if (*Memory % PAGE != 0) return EFI_NOT_FOUND;
      DropKeptRuns(S, *Memory, Bytes);
      Mapped = MapExactly(*Memory, Bytes);
      break;
    default: return EFI_INVALID_PARAMETER;
  }
  if (Mapped == nullptr) return Type == AllocateAnyPages ? EFI_OUT_OF_RESOURCES : EFI_NOT_FOUND;
  const auto Address = reinterpret_cast<uint64_t>(Mapped);
  S.PageRuns[Address] = Pages;
  S.AllocationSucceeded();
  *Memory = Address;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FreePages(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages) {
  State &S = ActiveState();
  const EFI_STATUS Injected = S.Enter(Service::FreePages);
  if (Injected != EFI_SUCCESS) return Injected;
  if (Memory % PAGE != 0) return EFI_INVALID_PARAMETER;
  auto It = S.PageRuns.find(Memory);
  // Stricter than firmware, which frees any sub-range: only whole runs here.
  if (It == S.PageRuns.end() || It->second != Pages) return EFI_NOT_FOUND;
  S.PageRuns.erase(It);
  const uint64_t Bytes = Pages * PAGE;
  if (S.KeptBytes + Bytes > MAX_KEPT_BYTES) {
    Unmap(Memory, Bytes);
    return EFI_SUCCESS;
  }
  Poison(reinterpret_cast<void *>(Memory), Bytes);
  S.KeptRuns.emplace(Pages, Memory);
  S.KeptBytes += Bytes;
  return EFI_SUCCESS;
}

VOID EFIAPI CopyMem(VOID *Destination, VOID *Source, UINTN Length) {
  if (Length != 0) std::memmove(Destination, Source, Length);
}

VOID EFIAPI SetMem(VOID *Buffer, UINTN Size, UINT8 Value) {
  if (Size != 0) std::memset(Buffer, Value, Size);
}

}  // namespace

void WireMemoryServices(EFI_BOOT_SERVICES &Boot) {
  Boot.AllocatePool = AllocatePool;
  Boot.FreePool = FreePool;
  Boot.AllocatePages = AllocatePages;
  Boot.FreePages = FreePages;
  Boot.CopyMem = CopyMem;
  Boot.SetMem = SetMem;
}

size_t Firmware::LivePageRuns() const { return S->PageRuns.size(); }

void ReleaseAllPages(State &S) {
  for (const auto &[Address, Pages] : S.PageRuns) Unmap(Address, Pages * PAGE);
  for (const auto &[Pages, Address] : S.KeptRuns) Unmap(Address, Pages * PAGE);
  S.PageRuns.clear();
  S.KeptRuns.clear();
  S.KeptBytes = 0;
}

}  // namespace sim
