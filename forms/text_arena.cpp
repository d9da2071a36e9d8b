#include "forms/text_arena.h"

#include "runtime/crt.h"

namespace {

// Four pages: room for about 1600 numeric texts per run.
constexpr UINT32 ARENA_CHUNK_BYTES = 16384;
constexpr UINT32 CHUNK_LINK_BYTES = sizeof(UINT8 *);

}  // namespace

CHAR16 *TextArena::CopyNarrow(const char *Text, UINT32 Units) {
  UINT64 Bytes = (static_cast<UINT64>(Units) + 1) * sizeof(CHAR16);
  if (Bytes > ARENA_CHUNK_BYTES - CHUNK_LINK_BYTES) return nullptr;
  if (Chunk == nullptr || Capacity - Used < Bytes) {
    auto *Fresh = static_cast<UINT8 *>(crt::AllocateBelow4G(ARENA_CHUNK_BYTES));
    if (Fresh == nullptr) return nullptr;
    crt::memset(Fresh, 0, ARENA_CHUNK_BYTES);
    crt::memcpy(Fresh, &Chunk, CHUNK_LINK_BYTES);
    Chunk = Fresh;
    Used = CHUNK_LINK_BYTES;
    Capacity = ARENA_CHUNK_BYTES;
  }
  auto *Copy = reinterpret_cast<CHAR16 *>(Chunk + Used);
  Used += static_cast<UINT32>(Bytes);
  for (UINT32 Index = 0; Index < Units; ++Index) {
    Copy[Index] = static_cast<UINT8>(Text[Index]);
  }
  Copy[Units] = 0;
  return Copy;
}

void TextArena::Release() {
  while (Chunk != nullptr) {
    UINT8 *Previous = nullptr;
    crt::memcpy(&Previous, Chunk, CHUNK_LINK_BYTES);
    crt::FreeBelow4G(Chunk);
    Chunk = Previous;
  }
  Used = 0;
  Capacity = 0;
}
