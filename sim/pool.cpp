// Pool blocks, kept as firmware keeps them: a header in front of the
// caller's bytes holds the block's size and links it into the list of live
// blocks, so allocating and freeing cost a few pointer writes and no lookup.
//
// The header is 40 bytes on a 16-byte aligned host block, so every address
// handed out is 8 mod 16: UEFI promises pool memory 8-byte alignment only,
// and code that assumes more must fail here as it would on firmware. The
// caller's bytes end where the host block ends, so AddressSanitizer sees an
// overrun; the header itself is poisoned, so it sees an underrun as well.
// The simulator reads and writes headers only through the functions below,
// which AddressSanitizer does not instrument.
#include "sim/firmware_state.h"
#include "sim/poison.h"

#include <cstdlib>

namespace sim {

struct PoolHeader {
  uint64_t Signature;
  uint64_t Size;
  PoolHeader *Prev;
  PoolHeader *Next;
  uint64_t Reserved;
};
static_assert(sizeof(PoolHeader) % 16 == 8, "caller memory at 8 mod 16");

namespace {

constexpr uint64_t POOL_SIGNATURE = 0x6C6F6F7042494D53ull;  // "SMIBPool"
constexpr size_t HOST_ALIGNMENT = 16;

#define UNINSTRUMENTED __attribute__((no_sanitize_address, noinline))

UNINSTRUMENTED PoolHeader *HeaderOf(const void *Block) {
  return reinterpret_cast<PoolHeader *>(reinterpret_cast<uintptr_t>(Block) - sizeof(PoolHeader));
}

UNINSTRUMENTED bool HasSignature(const PoolHeader *Header) { return Header->Signature == POOL_SIGNATURE; }

UNINSTRUMENTED void Link(State &S, PoolHeader *Header, size_t Size) {
  Header->Signature = POOL_SIGNATURE;
  Header->Size = Size;
  Header->Reserved = 0;
  Header->Prev = nullptr;
  Header->Next = S.PoolBlocks;
  if (S.PoolBlocks != nullptr) S.PoolBlocks->Prev = Header;
  S.PoolBlocks = Header;
}

// Unlinks the block and clears its signature, so a second free is refused;
// returns its size.
UNINSTRUMENTED size_t Unlink(State &S, PoolHeader *Header) {
  if (Header->Prev != nullptr) {
    Header->Prev->Next = Header->Next;
  } else {
    S.PoolBlocks = Header->Next;
  }
  if (Header->Next != nullptr) Header->Next->Prev = Header->Prev;
  Header->Signature = 0;
  return Header->Size;
}

UNINSTRUMENTED PoolHeader *NextOf(const PoolHeader *Header) { return Header->Next; }

void ReturnToHost(PoolHeader *Header) {
  Unpoison(Header, sizeof(PoolHeader));
  std::free(Header);
}

}  // namespace

EFI_STATUS AllocatePoolInternal(State &S, size_t Size, void **Buffer) {
  const EFI_STATUS Budget = S.AllocationAllowed();
  if (Budget != EFI_SUCCESS) return Budget;
  if (Size > SIZE_MAX - sizeof(PoolHeader)) return EFI_OUT_OF_RESOURCES;
  void *Host = nullptr;
  // Firmware hands out a valid block even for 0 bytes.
  if (posix_memalign(&Host, HOST_ALIGNMENT, sizeof(PoolHeader) + Size) != 0) return EFI_OUT_OF_RESOURCES;
  auto *Header = static_cast<PoolHeader *>(Host);
  Link(S, Header, Size);
  Poison(Header, sizeof(PoolHeader));
  ++S.PoolBlockCount;
  S.PoolBytes += Size;
  if (S.PoolBytes > S.PeakPoolBytes) S.PeakPoolBytes = S.PoolBytes;
  S.AllocationSucceeded();
  *Buffer = Header + 1;
  return EFI_SUCCESS;
}

bool IsPoolBlock(const void *Block) { return Block != nullptr && HasSignature(HeaderOf(Block)); }

EFI_STATUS ReleasePoolBlock(State &S, void *Block) {
  if (!IsPoolBlock(Block)) return EFI_INVALID_PARAMETER;
  PoolHeader *Header = HeaderOf(Block);
  S.PoolBytes -= Unlink(S, Header);
  --S.PoolBlockCount;
  ReturnToHost(Header);
  return EFI_SUCCESS;
}

void ReleaseAllPool(State &S) {
  while (S.PoolBlocks != nullptr) {
    PoolHeader *Header = S.PoolBlocks;
    S.PoolBlocks = NextOf(Header);
    ReturnToHost(Header);
  }
  S.PoolBlockCount = 0;
  S.PoolBytes = 0;
}

size_t Firmware::LivePoolBlocks() const { return S->PoolBlockCount; }
size_t Firmware::LivePoolBytes() const { return S->PoolBytes; }
size_t Firmware::PeakPoolBytes() const { return S->PeakPoolBytes; }
void Firmware::ResetPeak() { S->PeakPoolBytes = S->PoolBytes; }

}  // namespace sim
