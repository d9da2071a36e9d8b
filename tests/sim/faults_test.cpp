// Call counters and fault injection: the Nth call fails without side
// effects, several faults count independently, allocation budgets run out.
#include "tests/sim/platform_helpers.h"

namespace {

using FaultTest = PlatformTest;

TEST_F(FaultTest, NthCallFailsOnceWithoutSideEffects) {
  EFI_GUID Vendor = MakeGuid(0x90);
  std::u16string Name = u"Counted";
  uint8_t Byte = 1;
  Fw.FailNthCall(sim::Service::SetVariable, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(RT()->SetVariable(Wide(Name), &Vendor, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, &Byte), EFI_SUCCESS);
  Byte = 2;
  EXPECT_EQ(RT()->SetVariable(Wide(Name), &Vendor, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, &Byte), EFI_DEVICE_ERROR);
  EXPECT_EQ(Fw.FindVariable(Name, Vendor)->Data, std::vector<uint8_t>{1}) << "the failed call changed nothing";
  EXPECT_EQ(RT()->SetVariable(Wide(Name), &Vendor, EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, &Byte), EFI_SUCCESS);
  EXPECT_EQ(Fw.Calls(sim::Service::SetVariable), 3u) << "failed calls are counted too";
  EXPECT_EQ(Fw.Calls(sim::Service::GetVariable), 0u);

  Fw.ResetCounters();
  Fw.FailNthCall(sim::Service::AllocatePool, 1, EFI_OUT_OF_RESOURCES);
  Fw.FailNthCall(sim::Service::AllocatePool, 3, EFI_DEVICE_ERROR);
  std::vector<EFI_STATUS> Results;
  std::vector<void *> Blocks(4, nullptr);
  for (void *&Block : Blocks) Results.push_back(BS()->AllocatePool(EfiBootServicesData, 16, &Block));
  EXPECT_EQ(Results, (std::vector<EFI_STATUS>{EFI_OUT_OF_RESOURCES, EFI_SUCCESS, EFI_DEVICE_ERROR, EFI_SUCCESS}));
  EXPECT_EQ(Fw.LivePoolBlocks(), 2u);
  EXPECT_EQ(BS()->FreePool(Blocks[1]), EFI_SUCCESS);
  EXPECT_EQ(BS()->FreePool(Blocks[3]), EFI_SUCCESS);
}

TEST_F(FaultTest, AllocationBudgetCoversPoolAndPagesUntilCleared) {
  Fw.FailAllocationsAfter(2);
  void *Block = nullptr;
  EFI_PHYSICAL_ADDRESS Pages = 0;
  ASSERT_EQ(BS()->AllocatePool(EfiBootServicesData, 8, &Block), EFI_SUCCESS);
  ASSERT_EQ(BS()->AllocatePages(AllocateAnyPages, EfiBootServicesData, 1, &Pages), EFI_SUCCESS);
  EFI_PHYSICAL_ADDRESS RefusedPages = 0xFFFFFFFF;
  EXPECT_EQ(BS()->AllocatePages(AllocateMaxAddress, EfiBootServicesData, 1, &RefusedPages), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(BS()->FreePool(Block), EFI_SUCCESS) << "frees still work";
  EXPECT_EQ(BS()->AllocatePool(EfiBootServicesData, 8, &Block), EFI_OUT_OF_RESOURCES) << "frees give no budget back";
  Fw.ClearFaults();
  ASSERT_EQ(BS()->AllocatePool(EfiBootServicesData, 8, &Block), EFI_SUCCESS);
  EXPECT_EQ(BS()->FreePool(Block), EFI_SUCCESS);
  EXPECT_EQ(BS()->FreePages(Pages, 1), EFI_SUCCESS);
}

}  // namespace
