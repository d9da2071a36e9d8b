// Start-up, shutdown and the memory the runtime takes from the firmware,
// counted on the simulator's side so a block the runtime forgot shows up.
#include "runtime/crt.h"
#include "tests/support/sim_fixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using LifecycleTest = SimTest;

std::vector<int> gHandlerOrder;
void FirstHandler() { gHandlerOrder.push_back(1); }
void SecondHandler() { gHandlerOrder.push_back(2); }
void ThirdHandler() { gHandlerOrder.push_back(3); }

std::string ReadHostFile(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

TEST_F(LifecycleTest, StartupTurnsTheWatchdogOff) {
  ASSERT_TRUE(Fw().WatchdogTimeout().has_value());
  EXPECT_EQ(*Fw().WatchdogTimeout(), 0u);
  EXPECT_EQ(crt::SystemTable(), Fw().SystemTable());
  EXPECT_EQ(crt::ImageHandle(), Image());
}

TEST_F(LifecycleTest, FirmwareOlderThanEfi110IsRefused) {
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
  ASSERT_EQ(crt::atexit(ThirdHandler), 0);
  ASSERT_NE(crt::malloc(10), nullptr);
  ASSERT_NE(crt::calloc(3, 100), nullptr);
  ASSERT_NE(crt::AllocateBelow4G(5000), nullptr);
  ASSERT_NE(crt::AllocateBelow4G(1), nullptr);
  crt::FILE *Pending = crt::fopen("pending.txt", "w");
  ASSERT_NE(Pending, nullptr);
  ASSERT_EQ(crt::fwrite("unflushed", 1, 9, Pending), 9u);
  EXPECT_GT(Fw().LivePoolBlocks(), 0u);
  EXPECT_EQ(Fw().LivePageRuns(), 2u);

  crt::Shutdown();
  EXPECT_EQ(gHandlerOrder, (std::vector<int>{3, 2, 1}));
  EXPECT_EQ(Fw().LivePoolBlocks(), 0u);
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
  EXPECT_EQ(crt::LiveBlockCount(), 0u);
  EXPECT_EQ(crt::SystemTable(), nullptr) << "back to the load-time state";
  EXPECT_EQ(ReadHostFile(VolumeDir(0) + "/tools/pending.txt"), "unflushed") << "open streams are flushed";
  RestartRuntime();
}

TEST_F(LifecycleTest, ExitHandlerTableIsBounded) {
  int Registered = 0;
  while (crt::atexit(FirstHandler) == 0 && Registered < 1000) ++Registered;
  EXPECT_GE(Registered, 32) << "C promises room for 32";
  EXPECT_LT(Registered, 1000);
  EXPECT_NE(crt::atexit(nullptr), 0);
}

TEST_F(LifecycleTest, ResetStateForgetsWithoutCallingFirmware) {
  Fw().ClearVariables();  // no environment entries to lose track of
  RestartRuntime();
  void *Block = crt::malloc(8);
  ASSERT_NE(Block, nullptr);
  Fw().ResetCounters();
  crt::ResetState();
  EXPECT_EQ(Fw().Calls(sim::Service::FreePool), 0u);
  EXPECT_EQ(crt::LiveBlockCount(), 0u);
  EXPECT_EQ(crt::malloc(1), nullptr) << "no system table until the next Startup";
  // The forgotten block still belongs to the firmware: return it by hand
  // (its pool block starts at the runtime's 32-byte header).
  Fw().SystemTable()->BootServices->FreePool(static_cast<UINT8 *>(Block) - 32);
  RestartRuntime();
}

TEST_F(LifecycleTest, MallocTracksEveryBlock) {
  size_t Before = crt::LiveBlockCount();
  size_t PoolBefore = Fw().LivePoolBlocks();
  void *Zero1 = crt::malloc(0);
  void *Zero2 = crt::malloc(0);
  ASSERT_NE(Zero1, nullptr);
  ASSERT_NE(Zero2, nullptr);
  EXPECT_NE(Zero1, Zero2) << "malloc(0) gives unique blocks";
  EXPECT_EQ(crt::LiveBlockCount(), Before + 2);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore + 2);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(Zero1) % 8, 0u);
  crt::free(Zero1);
  crt::free(Zero2);
  crt::free(nullptr);
  EXPECT_EQ(crt::LiveBlockCount(), Before);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore);
}

TEST_F(LifecycleTest, CallocZeroesAndRefusesOverflow) {
  Fw().ResetCounters();
  EXPECT_EQ(crt::calloc(SIZE_MAX / 2 + 2, 2), nullptr);
  EXPECT_EQ(crt::calloc(2, SIZE_MAX), nullptr);
  EXPECT_EQ(crt::malloc(SIZE_MAX), nullptr);
  EXPECT_EQ(Fw().Calls(sim::Service::AllocatePool), 0u) << "an overflowing size never reaches the firmware";

  auto *Block = static_cast<unsigned char *>(crt::calloc(100, 3));
  ASSERT_NE(Block, nullptr);
  for (int I = 0; I < 300; ++I) ASSERT_EQ(Block[I], 0) << I;
  crt::free(Block);
}

TEST_F(LifecycleTest, ReallocKeepsContents) {
  auto *Block = static_cast<char *>(crt::realloc(nullptr, 4));
  ASSERT_NE(Block, nullptr);
  crt::memcpy(Block, "abcd", 4);
  auto *Grown = static_cast<char *>(crt::realloc(Block, 5000));
  ASSERT_NE(Grown, nullptr);
  EXPECT_EQ(std::string(Grown, 4), "abcd");
  Grown[4999] = 'z';
  auto *Shrunk = static_cast<char *>(crt::realloc(Grown, 2));
  ASSERT_NE(Shrunk, nullptr);
  EXPECT_EQ(std::string(Shrunk, 2), "ab");
  crt::free(Shrunk);
}

TEST_F(LifecycleTest, FailedAllocationsReturnNullAndLeaveOldBlocksIntact) {
  Fw().FailNthCall(sim::Service::AllocatePool, 1, EFI_OUT_OF_RESOURCES);
  size_t Before = crt::LiveBlockCount();
  EXPECT_EQ(crt::malloc(16), nullptr);
  EXPECT_EQ(crt::LiveBlockCount(), Before);

  auto *Block = static_cast<char *>(crt::malloc(4));
  ASSERT_NE(Block, nullptr);
  crt::memcpy(Block, "keep", 4);
  Fw().FailNthCall(sim::Service::AllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(crt::realloc(Block, 100), nullptr);
  EXPECT_EQ(std::string(Block, 4), "keep");
  crt::free(Block);

  Fw().FailAllocationsAfter(0);
  EXPECT_EQ(crt::calloc(1, 1), nullptr);
  EXPECT_EQ(crt::strdup("x"), nullptr);
  EXPECT_EQ(crt::wcsdup(W(u"x")), nullptr);
  EXPECT_EQ(crt::AllocateBelow4G(1), nullptr);
  EXPECT_EQ(crt::New<int>(5), nullptr);
  Fw().ClearFaults();
}

TEST_F(LifecycleTest, PagesBelow4GiBAreUsableAndTracked) {
  std::set<uintptr_t> Seen;
  std::vector<void *> Runs;
  for (size_t Size : {size_t{0}, size_t{1}, size_t{4096}, size_t{4097}, size_t{20000}}) {
    auto *Run = static_cast<unsigned char *>(crt::AllocateBelow4G(Size));
    ASSERT_NE(Run, nullptr) << Size;
    auto Address = reinterpret_cast<uintptr_t>(Run);
    EXPECT_LE(Address + (Size == 0 ? 0 : Size - 1), 0xFFFFFFFFu) << Size;
    EXPECT_EQ(Address % 4096, 0u);
    EXPECT_TRUE(Seen.insert(Address).second) << "distinct runs";
    if (Size > 0) {
      Run[0] = 1;
      Run[Size - 1] = 2;  // the whole request is usable
    }
    Runs.push_back(Run);
  }
  EXPECT_EQ(Fw().LivePageRuns(), Runs.size());
  for (void *Run : Runs) crt::FreeBelow4G(Run);
  crt::FreeBelow4G(nullptr);
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
}

TEST_F(LifecycleTest, FailedPageAllocationLeavesNothingBehind) {
  size_t PoolBefore = Fw().LivePoolBlocks();
  Fw().FailNthCall(sim::Service::AllocatePages, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(crt::AllocateBelow4G(100), nullptr);
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBefore) << "the tracking node is returned";
  EXPECT_EQ(Fw().LivePageRuns(), 0u);
}

}  // namespace
