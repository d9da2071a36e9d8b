// Option texts the database makes itself ("Enabled", "Disabled", numeric
// values), kept in page runs below 4 GiB.
//
// A client reads option texts through a 32-bit address, so they must lie
// below 4 GiB. Allocating a page run per text would waste a page on every
// ten-byte text, so texts are carved out of larger runs. Owning the runs also
// tells DiscardForms which texts the database made: it frees the arena and
// leaves alone the texts that point into the export buffer.
#pragma once

#include "runtime/uefi.h"

class TextArena {
 public:
  constexpr TextArena() : Chunk(nullptr), Used(0), Capacity(0) {}
  ~TextArena() { Release(); }
  TextArena(const TextArena &) = delete;
  TextArena &operator=(const TextArena &) = delete;

  // A zero-filled copy of the first Units characters of Text, widened to
  // CHAR16 and NUL-terminated; nullptr when no memory is left.
  [[nodiscard]] CHAR16 *CopyNarrow(const char *Text, UINT32 Units);
  // Returns every run to the firmware; earlier texts become invalid.
  void Release();

 private:
  // Each run starts with a link to the run made before it.
  UINT8 *Chunk;
  UINT32 Used;
  UINT32 Capacity;
};
