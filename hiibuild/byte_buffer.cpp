#include "hiibuild/byte_buffer.h"

namespace hiibuild {

namespace {

// The first block holds a small data table; later ones double.
constexpr size_t FIRST_CAPACITY = 256;

}  // namespace

ByteBuffer::~ByteBuffer() {
  if (Block != nullptr) Memory.Free(Memory.Context, Block);
}

bool ByteBuffer::Grow(size_t Needed) {
  if (Needed <= Capacity) return true;
  size_t Target = Capacity < FIRST_CAPACITY ? FIRST_CAPACITY : Capacity;
  while (Target < Needed) Target = Target > SIZE_MAX / 2 ? Needed : 2 * Target;
  auto *Larger = static_cast<UINT8 *>(Memory.Allocate(Memory.Context, Target));
  if (Larger == nullptr) return false;
  for (size_t I = 0; I < Used; ++I) Larger[I] = Block[I];
  if (Block != nullptr) Memory.Free(Memory.Context, Block);
  Block = Larger;
  Capacity = Target;
  return true;
}

UINT8 *ByteBuffer::Extend(size_t Count) {
  if (Count > SIZE_MAX - Used || !Grow(Used + Count)) return nullptr;
  UINT8 *Added = Block + Used;
  Used += Count;
  return Added;
}

BuildStatus ByteBuffer::Append(const void *Bytes, size_t Count) {
  if (Count == 0) return BuildStatus::Success;
  if (Bytes == nullptr) return BuildStatus::InvalidArgument;
  UINT8 *At = Extend(Count);
  if (At == nullptr) return BuildStatus::OutOfMemory;
  const auto *From = static_cast<const UINT8 *>(Bytes);
  for (size_t I = 0; I < Count; ++I) At[I] = From[I];
  return BuildStatus::Success;
}

void ByteBuffer::Truncate(size_t Size) {
  if (Size < Used) Used = Size;
}

UINT8 *ByteBuffer::Release() {
  UINT8 *Taken = Block;
  Block = nullptr;
  Used = 0;
  Capacity = 0;
  return Taken;
}

}  // namespace hiibuild
