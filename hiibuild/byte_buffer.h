// A growing block of bytes in memory from the caller's allocator: what the
// export builder's core writes into.
#pragma once

#include "hiibuild/build_status.h"

namespace hiibuild {

class ByteBuffer {
 public:
  explicit ByteBuffer(const Allocator &Memory) : Memory(Memory) {}
  ~ByteBuffer();
  ByteBuffer(const ByteBuffer &) = delete;
  ByteBuffer &operator=(const ByteBuffer &) = delete;

  const UINT8 *Data() const { return Block; }
  // For patching bytes already written; nullptr while nothing is.
  UINT8 *MutableData() { return Block; }
  size_t Size() const { return Used; }
  ByteSpan Span() const { return ByteSpan{Block, Used}; }

  // Makes room for Count more bytes and returns where they go (their
  // contents undefined until written), the size grown by Count; nullptr,
  // with the buffer as it was, when memory runs out or the size would
  // overflow.
  [[nodiscard]] UINT8 *Extend(size_t Count);
  // Copies Count bytes from outside this buffer to its end. Success,
  // OutOfMemory, or InvalidArgument for nullptr with a count.
  [[nodiscard]] BuildStatus Append(const void *Bytes, size_t Count);
  // Drops everything after the first Size bytes (a failed write's rollback).
  void Truncate(size_t Size);

  // Hands the block to the caller, who frees it through the allocator; the
  // buffer is empty afterwards. nullptr when nothing was written.
  UINT8 *Release();

 private:
  [[nodiscard]] bool Grow(size_t Needed);

  Allocator Memory;
  UINT8 *Block = nullptr;
  size_t Used = 0;
  size_t Capacity = 0;
};

}  // namespace hiibuild
