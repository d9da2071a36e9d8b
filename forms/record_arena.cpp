#include "forms/record_arena.h"

#include "runtime/crt.h"

namespace {

constexpr UINT64 ALIGNMENT = 8;
constexpr UINT64 LINK_BYTES = sizeof(UINT8 *);
// Blocks grow from one page to 64 pages, so a small platform takes little
// and a large one few allocations.
constexpr UINT64 FIRST_CHUNK_BYTES = 4096;
constexpr UINT64 LARGEST_CHUNK_BYTES = 64 * 4096;

UINT8 *LinkOf(UINT8 *Block) {
  UINT8 *Previous = nullptr;
  crt::memcpy(&Previous, Block, LINK_BYTES);
  return Previous;
}

void SetLink(UINT8 *Block, UINT8 *Previous) { crt::memcpy(Block, &Previous, LINK_BYTES); }

}  // namespace

void *RecordArena::Allocate(UINT64 Bytes) {
  if (Bytes == 0) return nullptr;
  if (Bytes > LARGEST_CHUNK_BYTES - LINK_BYTES) return AllocateAlone(Bytes);
  // Fits in the largest block: LARGEST_CHUNK_BYTES - LINK_BYTES is a
  // multiple of the alignment.
  const UINT64 Rounded = (Bytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
  if (Chunk == nullptr || Capacity - Used < Rounded) {
    UINT64 Size = Capacity * 2 > FIRST_CHUNK_BYTES ? Capacity * 2 : FIRST_CHUNK_BYTES;
    if (Size > LARGEST_CHUNK_BYTES || Size - LINK_BYTES < Rounded) Size = LARGEST_CHUNK_BYTES;
    auto *Fresh = static_cast<UINT8 *>(crt::malloc(Size));
    if (Fresh == nullptr) return nullptr;
    SetLink(Fresh, Chunk);
    Chunk = Fresh;
    Used = LINK_BYTES;
    Capacity = Size;
  }
  void *Memory = Chunk + Used;
  Used += Rounded;
  return Memory;
}

// A request larger than any block gets a block of its own, linked behind
// the block being carved so that the latter's room is not lost.
void *RecordArena::AllocateAlone(UINT64 Bytes) {
  if (Bytes > ~static_cast<UINT64>(0) - LINK_BYTES) return nullptr;
  auto *Block = static_cast<UINT8 *>(crt::malloc(static_cast<size_t>(LINK_BYTES + Bytes)));
  if (Block == nullptr) return nullptr;
  if (Chunk == nullptr) {
    SetLink(Block, nullptr);
    Chunk = Block;
    Used = Capacity = LINK_BYTES + Bytes;
  } else {
    SetLink(Block, LinkOf(Chunk));
    SetLink(Chunk, Block);
  }
  return Block + LINK_BYTES;
}

void RecordArena::Release() {
  while (Chunk != nullptr) {
    UINT8 *Previous = LinkOf(Chunk);
    crt::free(Chunk);
    Chunk = Previous;
  }
  Used = 0;
  Capacity = 0;
}
