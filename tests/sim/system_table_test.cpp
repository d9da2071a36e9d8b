// The system table: sealed header, no null service entry, console capture.
#include "sim/crc32.h"
#include "tests/sim/platform_helpers.h"

namespace {

using SystemTableTest = PlatformTest;

template <class Table> void ExpectNoNullEntries(const Table &T, const char *What) {
  const auto *Entries = reinterpret_cast<void *const *>(reinterpret_cast<const uint8_t *>(&T) + sizeof(EFI_TABLE_HEADER));
  const size_t Count = (sizeof(Table) - sizeof(EFI_TABLE_HEADER)) / sizeof(void *);
  for (size_t Index = 0; Index < Count; ++Index) EXPECT_NE(Entries[Index], nullptr) << What << " entry " << Index;
}

bool HeaderSealed(const EFI_SYSTEM_TABLE &System) {
  std::vector<uint8_t> Copy(reinterpret_cast<const uint8_t *>(&System), reinterpret_cast<const uint8_t *>(&System + 1));
  reinterpret_cast<EFI_TABLE_HEADER *>(Copy.data())->CRC32 = 0;
  return sim::Crc32(Copy.data(), Copy.size()) == System.Hdr.CRC32;
}

TEST_F(SystemTableTest, HeaderStaysSealedAndEveryServiceIsCallable) {
  EXPECT_TRUE(HeaderSealed(*Fw.SystemTable()));
  Fw.SetRevision((1u << 16) | 2u);
  EXPECT_TRUE(HeaderSealed(*Fw.SystemTable())) << "resealed after a change";
  ExpectNoNullEntries(*BS(), "boot services");
  ExpectNoNullEntries(*RT(), "runtime services");
}

TEST_F(SystemTableTest, ConsoleCapturesTextAndHasNoKeys) {
  std::u16string Text = u"Please \u00e9\r\n";
  ASSERT_EQ(Fw.SystemTable()->ConOut->OutputString(Fw.SystemTable()->ConOut, Wide(Text)), EFI_SUCCESS);
  EXPECT_EQ(Fw.ConsoleText(), "Please ?\r\n");
  EFI_INPUT_KEY Key{};
  EXPECT_EQ(Fw.SystemTable()->ConIn->ReadKeyStroke(Fw.SystemTable()->ConIn, &Key), EFI_NOT_READY);
}

}  // namespace
