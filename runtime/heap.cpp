// The runtime heap: one boot-services pool block per allocation.
//
// A driver image may be unloaded while firmware keeps running, so everything
// it allocated must go back to the pool. Each block carries a header that
// links it into a list; Shutdown walks the list and frees what is left. The
// header is 32 bytes so the caller's memory keeps the pool's 8-byte alignment
// (UEFI promises no more, and the simulator hands out addresses at 8 mod 16).
#include "runtime/crt.h"
#include "runtime/runtime_internal.h"
#include "runtime/runtime_state.h"

namespace crt::detail {

// "HEAP" in the header marks a block this heap handed out; free() ignores
// pointers without it instead of corrupting the list.
constexpr UINT32 HEAP_BLOCK_MAGIC = 0x50414548;

struct HeapBlock {
  HeapBlock *Prev;
  HeapBlock *Next;
  size_t Size;
  UINT32 Magic;
  UINT32 Reserved;
};
static_assert(sizeof(HeapBlock) % 8 == 0, "user memory keeps the pool's alignment");

namespace {

constexpr size_t MAX_REQUEST = ~static_cast<size_t>(0) - sizeof(HeapBlock);

HeapBlock *HeaderOf(void *Block) {
  return reinterpret_cast<HeapBlock *>(static_cast<UINT8 *>(Block) - sizeof(HeapBlock));
}

void Link(HeapBlock *Block) {
  Block->Prev = nullptr;
  Block->Next = gRuntime.Blocks;
  if (gRuntime.Blocks != nullptr) gRuntime.Blocks->Prev = Block;
  gRuntime.Blocks = Block;
  ++gRuntime.BlockCount;
}

void Unlink(HeapBlock *Block) {
  if (Block->Prev != nullptr) {
    Block->Prev->Next = Block->Next;
  } else {
    gRuntime.Blocks = Block->Next;
  }
  if (Block->Next != nullptr) Block->Next->Prev = Block->Prev;
  --gRuntime.BlockCount;
}

void ReturnToPool(HeapBlock *Block) {
  Block->Magic = 0;
  EFI_BOOT_SERVICES *Services = BootServices();
  if (Services != nullptr) Services->FreePool(Block);
}

}  // namespace

void ReleaseHeap() {
  while (gRuntime.Blocks != nullptr) {
    HeapBlock *Block = gRuntime.Blocks;
    Unlink(Block);
    ReturnToPool(Block);
  }
}

}  // namespace crt::detail

namespace crt {

using detail::gRuntime;
using detail::HeapBlock;

void *malloc(size_t Size) {
  EFI_BOOT_SERVICES *Services = detail::BootServices();
  if (Services == nullptr || Size > detail::MAX_REQUEST) return nullptr;
  void *Pool = nullptr;
  EFI_STATUS Status = Services->AllocatePool(gRuntime.PoolType, sizeof(HeapBlock) + Size, &Pool);
  if (EFI_ERROR(Status) || Pool == nullptr) return nullptr;
  auto *Block = static_cast<HeapBlock *>(Pool);
  Block->Size = Size;
  Block->Magic = detail::HEAP_BLOCK_MAGIC;
  Block->Reserved = 0;
  detail::Link(Block);
  return Block + 1;
}

void *calloc(size_t Count, size_t Size) {
  if (Size != 0 && Count > detail::MAX_REQUEST / Size) return nullptr;
  size_t Total = Count * Size;
  void *Block = malloc(Total);
  if (Block != nullptr) memset(Block, 0, Total);
  return Block;
}

void *realloc(void *Block, size_t Size) {
  if (Block == nullptr) return malloc(Size);
  HeapBlock *Header = detail::HeaderOf(Block);
  if (Header->Magic != detail::HEAP_BLOCK_MAGIC) return nullptr;
  // A smaller request keeps the block: pool memory cannot shrink in place.
  if (Size <= Header->Size) return Block;
  void *Grown = malloc(Size);
  if (Grown == nullptr) return nullptr;
  memcpy(Grown, Block, Header->Size);
  free(Block);
  return Grown;
}

void free(void *Block) {
  if (Block == nullptr) return;
  HeapBlock *Header = detail::HeaderOf(Block);
  if (Header->Magic != detail::HEAP_BLOCK_MAGIC) return;
  detail::Unlink(Header);
  detail::ReturnToPool(Header);
}

size_t LiveBlockCount() { return gRuntime.BlockCount + gRuntime.PageRunCount; }

}  // namespace crt
