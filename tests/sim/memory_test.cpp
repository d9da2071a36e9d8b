// Pool and page memory: accounting, refusals, and real below-4-GiB pages.
#include "tests/sim/platform_helpers.h"

#include <cstring>

namespace {

using MemoryTest = PlatformTest;

TEST_F(MemoryTest, PoolAccountingAndRefusedFrees) {
  void *A = nullptr;
  void *B = nullptr;
  ASSERT_EQ(BS()->AllocatePool(EfiBootServicesData, 100, &A), EFI_SUCCESS);
  ASSERT_EQ(BS()->AllocatePool(EfiBootServicesData, 0, &B), EFI_SUCCESS);
  EXPECT_NE(B, nullptr) << "a zero-byte block is still a block";
  for (void *Block : {A, B})
    EXPECT_EQ(reinterpret_cast<uintptr_t>(Block) % 16, 8u) << "UEFI promises 8-byte alignment, and no more";
  EXPECT_EQ(Fw.LivePoolBlocks(), 2u);
  EXPECT_EQ(Fw.LivePoolBytes(), 100u);
  ASSERT_EQ(BS()->FreePool(A), EFI_SUCCESS);
  EXPECT_EQ(Fw.LivePoolBytes(), 0u);
  EXPECT_EQ(Fw.PeakPoolBytes(), 100u);
  Fw.ResetPeak();
  EXPECT_EQ(Fw.PeakPoolBytes(), 0u);
  int OnStack = 0;
  for (void *Bad : {A, static_cast<void *>(&OnStack), static_cast<void *>(nullptr)})
    EXPECT_EQ(BS()->FreePool(Bad), EFI_INVALID_PARAMETER) << "double free, foreign or null block";
  EXPECT_EQ(BS()->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->AllocatePool(EfiMaxMemoryType, 8, &A), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->FreePool(B), EFI_SUCCESS);
  EXPECT_EQ(Fw.LivePoolBlocks(), 0u);
}

TEST_F(MemoryTest, MaxAddressPagesAreRealAndBelowTheLimit) {
  for (const uint64_t Limit : {0xFFFFFFFFull, 0x1FFFFFFFull}) {
    EFI_PHYSICAL_ADDRESS Address = Limit;
    ASSERT_EQ(BS()->AllocatePages(AllocateMaxAddress, EfiBootServicesData, 3, &Address), EFI_SUCCESS);
    EXPECT_EQ(Address % EFI_PAGE_SIZE, 0u);
    EXPECT_LE(Address + 3 * EFI_PAGE_SIZE - 1, Limit);
    std::memset(reinterpret_cast<void *>(Address), 0xA5, 3 * EFI_PAGE_SIZE);  // really mapped
    EXPECT_EQ(BS()->FreePages(Address, 2), EFI_NOT_FOUND) << "only whole runs are freed";
    EXPECT_EQ(BS()->FreePages(Address + 1, 3), EFI_INVALID_PARAMETER);
    EXPECT_EQ(BS()->FreePages(Address, 3), EFI_SUCCESS);
    EXPECT_EQ(Fw.LivePageRuns(), 0u);
  }
}

TEST_F(MemoryTest, PageRequestsOutsideTheRules) {
  EFI_PHYSICAL_ADDRESS Address = 0;
  EXPECT_EQ(BS()->AllocatePages(AllocateAnyPages, EfiBootServicesData, 0, &Address), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BS()->AllocatePages(AllocateAnyPages, EfiBootServicesData, 1, nullptr), EFI_INVALID_PARAMETER);
  Address = 0xFFF;  // no page fits below 4 KiB
  EXPECT_EQ(BS()->AllocatePages(AllocateMaxAddress, EfiBootServicesData, 1, &Address), EFI_NOT_FOUND);
  ASSERT_EQ(BS()->AllocatePages(AllocateAnyPages, EfiBootServicesData, 1, &Address), EFI_SUCCESS);
  EFI_PHYSICAL_ADDRESS Taken = Address;
  EXPECT_EQ(BS()->AllocatePages(AllocateAddress, EfiBootServicesData, 1, &Taken), EFI_NOT_FOUND) << "in use";
  EXPECT_EQ(BS()->FreePages(Address, 1), EFI_SUCCESS);
  EXPECT_EQ(BS()->FreePages(Address, 1), EFI_NOT_FOUND);
}

// The header in front of each block must not hide an underrun from
// AddressSanitizer, nor the block's exact end an overrun.
TEST_F(MemoryTest, AddressSanitizerSeesWritesOutsideABlock) {
#if !defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "needs AddressSanitizer";
#endif
  for (const ptrdiff_t Outside : {ptrdiff_t{-1}, ptrdiff_t{24}}) {
    EXPECT_DEATH(
        {
          void *Block = nullptr;
          if (BS()->AllocatePool(EfiBootServicesData, 24, &Block) == EFI_SUCCESS)
            static_cast<volatile uint8_t *>(Block)[Outside] = 1;
        },
        "AddressSanitizer") << "byte " << Outside;
  }
}

}  // namespace
