// Pool memory for what one load of the forms keeps: the question records
// and the one-of option blocks.
//
// Every record lives until DiscardForms, and none is freed alone, so
// records are carved out of a few large pool blocks instead of taking a
// pool allocation each. That keeps a load to a handful of allocations
// (firmware pool calls are slow and each carries a header of its own) and
// lets DiscardForms return everything in a few calls.
#pragma once

#include "runtime/uefi.h"

class RecordArena {
 public:
  constexpr RecordArena() : Chunk(nullptr), Used(0), Capacity(0) {}
  ~RecordArena() { Release(); }
  RecordArena(const RecordArena &) = delete;
  RecordArena &operator=(const RecordArena &) = delete;

  // Bytes of memory, 8-byte aligned and not zeroed; nullptr when the pool
  // has nothing left (or Bytes is 0).
  [[nodiscard]] void *Allocate(UINT64 Bytes);
  // Returns every block to the pool; all memory handed out becomes invalid.
  void Release();

 private:
  [[nodiscard]] void *AllocateAlone(UINT64 Bytes);

  // Each block starts with a link to the block made before it; Chunk is the
  // one being carved.
  UINT8 *Chunk;
  UINT64 Used;
  UINT64 Capacity;
};
