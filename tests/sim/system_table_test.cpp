// The system table: header, console capture, and no null service entry.
#include "sim/crc32.h"
#include "tests/sim/platform_helpers.h"

namespace {

using SystemTableTest = PlatformTest;
constexpr UINT32 EFI_1_02_REVISION = (1u << 16) | 2u;

template <class Table> void ExpectNoNullEntries(const Table &T, const char *What) {
  const auto *Entries = reinterpret_cast<void *const *>(reinterpret_cast<const uint8_t *>(&T) + sizeof(EFI_TABLE_HEADER));
  const size_t Count = (sizeof(Table) - sizeof(EFI_TABLE_HEADER)) / sizeof(void *);
  for (size_t Index = 0; Index < Count; ++Index) EXPECT_NE(Entries[Index], nullptr) << What << " entry " << Index;
}

bool HeaderSealed(const EFI_TABLE_HEADER &Header, size_t Size) {
  std::vector<uint8_t> Copy(reinterpret_cast<const uint8_t *>(&Header), reinterpret_cast<const uint8_t *>(&Header) + Size);
  reinterpret_cast<EFI_TABLE_HEADER *>(Copy.data())->CRC32 = 0;
  return sim::Crc32(Copy.data(), Copy.size()) == Header.CRC32;
}

TEST_F(SystemTableTest, HeaderAndTables) {
  EFI_SYSTEM_TABLE *System = Fw.SystemTable();
  EXPECT_EQ(System->Hdr.Signature, EFI_SYSTEM_TABLE_SIGNATURE);
  EXPECT_EQ(System->Hdr.Revision, (2u << 16) | 70u);
  EXPECT_TRUE(HeaderSealed(System->Hdr, sizeof *System));
  Fw.SetRevision(EFI_1_02_REVISION);
  EXPECT_EQ(System->Hdr.Revision, EFI_1_02_REVISION);
  EXPECT_TRUE(HeaderSealed(System->Hdr, sizeof *System)) << "resealed after a change";
  ExpectNoNullEntries(*BS(), "boot services");
  ExpectNoNullEntries(*RT(), "runtime services");
  EXPECT_EQ(BS()->CreateEvent(0, TPL_CALLBACK, nullptr, nullptr, nullptr), EFI_UNSUPPORTED);
}

TEST_F(SystemTableTest, ConsoleCapturesText) {
  std::u16string Text = u"Please \u00e9\r\n";
  ASSERT_EQ(Fw.SystemTable()->ConOut->OutputString(Fw.SystemTable()->ConOut, Wide(Text)), EFI_SUCCESS);
  EXPECT_EQ(Fw.ConsoleText(), "Please ?\r\n");
  Fw.ClearConsole();
  EXPECT_EQ(Fw.ConsoleText(), "");
  EFI_INPUT_KEY Key{};
  EXPECT_EQ(Fw.SystemTable()->ConIn->ReadKeyStroke(Fw.SystemTable()->ConIn, &Key), EFI_NOT_READY);
}

TEST_F(SystemTableTest, WatchdogIsRecorded) {
  EXPECT_FALSE(Fw.WatchdogTimeout());
  EXPECT_EQ(BS()->SetWatchdogTimer(0, 0, 0, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Fw.WatchdogTimeout(), std::optional<UINTN>(0));
  EXPECT_EQ(Fw.Calls(sim::Service::SetWatchdogTimer), 1u);
}

}  // namespace
