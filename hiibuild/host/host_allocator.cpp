#include "hiibuild/host/host_allocator.h"

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

namespace hiibuild {

namespace {

void *Allocate(void *, size_t Bytes) { return std::malloc(Bytes); }
void Free(void *, void *Block) { std::free(Block); }

constexpr Allocator MALLOC = {Allocate, Free, nullptr};

}  // namespace

const Allocator &HostAllocator() { return MALLOC; }

void ThrowUnlessSuccess(BuildStatus Status, const char *What) {
  switch (Status) {
    case BuildStatus::Success: return;
    case BuildStatus::OutOfMemory: throw std::bad_alloc();
    case BuildStatus::TooLong: throw std::length_error(std::string(What) + ": too long for its length field");
    case BuildStatus::InvalidArgument: throw std::invalid_argument(std::string(What) + ": invalid argument");
  }
  throw std::logic_error(std::string(What) + ": unknown status");
}

}  // namespace hiibuild
