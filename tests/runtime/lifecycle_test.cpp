// Start-up, shutdown and the memory the runtime takes from the firmware,
// counted on the simulator's side so a block the runtime forgot shows up.
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using LifecycleTest = SimTest;

std::vector<int> gHandlerOrder;
void FirstHandler() { gHandlerOrder.push_back(1); }
void SecondHandler() { gHandlerOrder.push_back(2); }

TEST_F(LifecycleTest, FirmwareOlderThanEfi110IsRefused) {
  EXPECT_EQ(Fw().WatchdogTimeout(), std::optional<UINTN>(0)) << "a normal start turns the watchdog off";
  crt::Shutdown();
  const UINT32 Current = Fw().SystemTable()->Hdr.Revision;
  Fw().SetRevision(0x00010000);
  Fw().ClearConsole();
  Fw().ResetCounters();
  // A handle of its own: Exit unloads an image that was never started.
  EFI_HANDLE Old = Fw().CreateLoadedImage(Fw().VolumeHandle(0), u"\\old.efi");
  EXPECT_EQ(crt::Startup(Old, Fw().SystemTable()), EFI_UNSUPPORTED);
  EXPECT_EQ(Fw().ConsoleText(), "Please start this image in EFI higher version \r\n");
  EXPECT_EQ(Fw().Calls(sim::Service::Exit), 1u);
  EXPECT_EQ(Fw().Calls(sim::Service::SetWatchdogTimer), 0u);
  EXPECT_EQ(crt::SystemTable(), nullptr) << "nothing kept from a refused start";
  Fw().SetRevision(Current);
  RestartRuntime();
}

TEST_F(LifecycleTest, ShutdownRunsHandlersLastFirstAndReleasesEverything) {
  gHandlerOrder.clear();
  ASSERT_EQ(crt::atexit(FirstHandler), 0);
  ASSERT_EQ(crt::atexit(SecondHandler), 0);
  ASSERT_NE(crt::malloc(10), nullptr);
  ASSERT_NE(crt::AllocateBelow4G(5000), nullptr);
  ASSERT_NE(crt::AllocateBelow4G(1), nullptr);
  crt::FILE *Pending = crt::fopen("pending.txt", "w");
  ASSERT_NE(Pending, nullptr);
  ASSERT_EQ(crt::fwrite("unflushed", 1, 9, Pending), 9u);
  EXPECT_EQ(Fw().LivePageRuns(), 2u);

  crt::Shutdown();
  EXPECT_EQ(gHandlerOrder, (std::vector<int>{2, 1}));
  EXPECT_EQ(Fw().LivePoolBlocks(), 0u);
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
  EXPECT_EQ(crt::LiveBlockCount(), 0u);
  EXPECT_EQ(crt::SystemTable(), nullptr) << "back to the load-time state";
  EXPECT_EQ(std::filesystem::file_size(VolumeDir(0) + "/tools/pending.txt"), 9u) << "open streams are flushed";
  RestartRuntime();

  int Registered = 0;
  while (crt::atexit(FirstHandler) == 0 && Registered < 1000) ++Registered;
  EXPECT_GE(Registered, 32) << "C promises room for 32";
  EXPECT_LT(Registered, 1000) << "the handler table is bounded";
  EXPECT_NE(crt::atexit(nullptr), 0);
}

TEST_F(LifecycleTest, HeapBlocksAreTrackedAndKeepTheirContents) {
  size_t PoolBefore = Fw().LivePoolBlocks();
  void *Zero1 = crt::malloc(0);
  void *Zero2 = crt::malloc(0);
  ASSERT_TRUE(Zero1 != nullptr && Zero2 != nullptr);
  EXPECT_NE(Zero1, Zero2) << "malloc(0) gives unique blocks";
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore + 2);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(Zero1) % 8, 0u);
  crt::free(Zero1);
  crt::free(Zero2);
  crt::free(nullptr);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore);

  auto *Zeroed = static_cast<unsigned char *>(crt::calloc(100, 3));
  ASSERT_NE(Zeroed, nullptr);
  for (int I = 0; I < 300; ++I) ASSERT_EQ(Zeroed[I], 0) << I;
  auto *Block = static_cast<char *>(crt::realloc(Zeroed, 5000));
  ASSERT_NE(Block, nullptr);
  Block[0] = 'a';
  Block[4999] = 'z';
  Block = static_cast<char *>(crt::realloc(Block, 2));
  ASSERT_NE(Block, nullptr);
  EXPECT_EQ(std::string(Block, 2), std::string("a\0", 2));
  crt::free(Block);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore);
}

TEST_F(LifecycleTest, FailedAllocationsReturnNullAndLeaveOldBlocksIntact) {
  Fw().ResetCounters();
  EXPECT_EQ(crt::calloc(SIZE_MAX / 2 + 2, 2), nullptr);
  EXPECT_EQ(crt::calloc(2, SIZE_MAX), nullptr);
  EXPECT_EQ(crt::malloc(SIZE_MAX), nullptr);
  EXPECT_EQ(Fw().Calls(sim::Service::AllocatePool), 0u) << "an overflowing size never reaches the firmware";

  auto *Block = static_cast<char *>(crt::malloc(4));
  ASSERT_NE(Block, nullptr);
  crt::memcpy(Block, "keep", 4);
  size_t Before = crt::LiveBlockCount();
  Fw().FailNthCall(sim::Service::AllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(crt::realloc(Block, 100), nullptr);
  EXPECT_EQ(std::string(Block, 4), "keep");
  EXPECT_EQ(crt::LiveBlockCount(), Before);
  crt::free(Block);

  size_t PoolBefore = Fw().LivePoolBlocks();
  Fw().FailNthCall(sim::Service::AllocatePages, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(crt::AllocateBelow4G(100), nullptr);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore) << "the tracking node is returned";
  EXPECT_EQ(Fw().LivePageRuns(), 0u);

  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(crt::strdup("x"), nullptr);
  EXPECT_EQ(crt::New<int>(5), nullptr);
  Fw().ClearFaults();
}

TEST_F(LifecycleTest, PagesBelow4GiBAreUsableAndTracked) {
  std::set<uintptr_t> Seen;
  for (size_t Size : {size_t{0}, size_t{1}, size_t{4097}, size_t{20000}}) {
    auto *Run = static_cast<unsigned char *>(crt::AllocateBelow4G(Size));
    ASSERT_NE(Run, nullptr) << Size;
    auto Address = reinterpret_cast<uintptr_t>(Run);
    EXPECT_LE(Address + (Size == 0 ? 0 : Size - 1), 0xFFFFFFFFu) << Size;
    EXPECT_EQ(Address % 4096, 0u);
    EXPECT_TRUE(Seen.insert(Address).second) << "distinct runs";
    if (Size > 0) Run[Size - 1] = 2;  // the whole request is usable
  }
  EXPECT_EQ(Fw().LivePageRuns(), Seen.size());
  for (uintptr_t Run : Seen) crt::FreeBelow4G(reinterpret_cast<void *>(Run));
  crt::FreeBelow4G(nullptr);
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
}

}  // namespace
