// The image's word-wise block functions against the C library, over every
// pairing of misalignments, sizes around a word, and overlaps either way;
// and the host's own memcpy and memset, which must be the C library's.
#include "runtime/crt.h"
#include "runtime/word_memory.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>
#include <vector>

namespace {

using crt::detail::CompareWords;
using crt::detail::CopyWords;
using crt::detail::FillWords;
using crt::detail::MoveWords;

int Sign(int Value) { return (Value > 0) - (Value < 0); }

constexpr size_t ARENA = 96;
const size_t SIZES[] = {0, 1, 7, 8, 9, 15, 16, 17, 31, 40};

std::vector<uint8_t> Pattern() {
  std::vector<uint8_t> Bytes(ARENA);
  for (size_t I = 0; I < ARENA; ++I) Bytes[I] = static_cast<uint8_t>(I * 37 + 11);
  return Bytes;
}

TEST(WordMemory, CopiesAndFillsLikeTheCLibraryAtEveryAlignment) {
  for (size_t Size : SIZES) {
    for (size_t DestOffset = 0; DestOffset < 8; ++DestOffset) {
      for (size_t SrcOffset = 0; SrcOffset < 8; ++SrcOffset) {
        SCOPED_TRACE(testing::Message() << "size " << Size << " dest+" << DestOffset << " src+" << SrcOffset);
        const std::vector<uint8_t> Source = Pattern();
        std::vector<uint8_t> Ours(ARENA, 0xEE), Host(ARENA, 0xEE);
        EXPECT_EQ(CopyWords(Ours.data() + DestOffset, Source.data() + SrcOffset, Size), Ours.data() + DestOffset);
        std::memcpy(Host.data() + DestOffset, Source.data() + SrcOffset, Size);
        EXPECT_EQ(Ours, Host);

        std::vector<uint8_t> Left = Source, Right = Source;
        if (Size > 0) Right[SrcOffset + Size - 1] ^= 0x80;  // differs in the last byte, high bit
        EXPECT_EQ(Sign(CompareWords(Left.data() + SrcOffset, Right.data() + SrcOffset, Size)),
                  Sign(std::memcmp(Left.data() + SrcOffset, Right.data() + SrcOffset, Size)));
        EXPECT_EQ(Sign(CompareWords(Right.data() + DestOffset, Left.data() + SrcOffset, Size)),
                  Sign(std::memcmp(Right.data() + DestOffset, Left.data() + SrcOffset, Size)));
      }
      std::vector<uint8_t> Ours(ARENA, 0xEE), Host(ARENA, 0xEE);
      EXPECT_EQ(FillWords(Ours.data() + DestOffset, 0x1A5, Size), Ours.data() + DestOffset);
      std::memset(Host.data() + DestOffset, 0x1A5, Size);
      EXPECT_EQ(Ours, Host) << "fill of " << Size << " at +" << DestOffset;
    }
  }
}

TEST(WordMemory, MovesOverlappingBlocksEitherWay) {
  for (size_t Size : SIZES) {
    for (int Shift = -17; Shift <= 17; ++Shift) {
      const std::vector<uint8_t> Start = Pattern();
      std::vector<uint8_t> Ours = Start, Host = Start;
      const size_t From = 30;
      const auto To = static_cast<size_t>(static_cast<int>(From) + Shift);
      EXPECT_EQ(MoveWords(Ours.data() + To, Ours.data() + From, Size), Ours.data() + To);
      std::memmove(Host.data() + To, Host.data() + From, Size);
      EXPECT_EQ(Ours, Host) << "size " << Size << " shift " << Shift;
    }
  }
}

// libefi.a defines memcpy and memset as byte loops; a host program that
// took them would run every copy, its own and the C++ library's, through them.
TEST(WordMemory, HostProgramsUseTheCLibrarysBlockFunctions) {
  Dl_info Program{};
  ASSERT_NE(dladdr(reinterpret_cast<void *>(&CopyWords), &Program), 0);
  for (void *Function : {reinterpret_cast<void *>(&memcpy), reinterpret_cast<void *>(&memset)}) {
    Dl_info Found{};
    ASSERT_NE(dladdr(Function, &Found), 0);
    EXPECT_STRNE(Found.dli_fname, Program.dli_fname) << "defined in the program itself";
  }
}

}  // namespace
