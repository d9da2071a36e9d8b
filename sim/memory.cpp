// Pool and page memory.
//
// Pool blocks are kept by pool.cpp. Pages come from mmap; "below 4 GiB" is
// honoured for real (MAP_32BIT first, then hinted fixed mappings walking
// down from the limit), because clients dereference 32-bit addresses handed
// to them.
#include "sim/firmware_state.h"

#include <sys/mman.h>

#include <cstring>

namespace sim {
namespace {

constexpr uint64_t PAGE = EFI_PAGE_SIZE;
// Hinted attempts below a limit before giving up with EFI_NOT_FOUND.
constexpr int MAX_HINT_ATTEMPTS = 4096;
constexpr uint64_t HINT_STEP = 16 * 1024 * 1024;
constexpr uint64_t LOWEST_HINT = 16 * 1024 * 1024;

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
    case AllocateAnyPages: Mapped = MapAnywhere(Bytes); break;
    case AllocateMaxAddress: Mapped = MapBelow(*Memory, Bytes); break;
    case AllocateAddress:
      if (*Memory % PAGE != 0) return EFI_NOT_FOUND;
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
  munmap(reinterpret_cast<void *>(Memory), Pages * PAGE);
  S.PageRuns.erase(It);
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

}  // namespace sim
