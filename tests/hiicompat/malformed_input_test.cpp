// Package lists are firmware data: cut short at every byte, or with a byte
// changed anywhere, the example exports still give a well-formed Framework
// export (or a clear status), and a translation keeps no memory. Run under
// AddressSanitizer, this also shows that no read leaves its buffer.
#include "tests/hiicompat/modern_platform.h"
#include "tools/uefihii/example_lists.h"

#include <algorithm>

namespace compat_test {
namespace {

uint32_t Le32(const Bytes &B, size_t At) {
  return B[At] | (B[At + 1] << 8) | (B[At + 2] << 16) | (static_cast<uint32_t>(B[At + 3]) << 24);
}

class MalformedInputTest : public CompatImageTest {
 protected:
  struct Hii {
    void *Entries[3];
    EFI_STATUS(EFIAPI *ExportDatabase)(void *This, UINT16 Handle, UINTN *Size, VOID *Buffer);
  };
  Hii *Protocol = nullptr;

  void SetUp() override {
    CompatImageTest::SetUp();
    Fw().AddStoreOwner(uefihii::VendorDevicePath(uefihii::kExampleOwnerGuid),
                       {sim::BufferStore{uefihii::kExampleStoreGuid, u"Conf", Bytes(32, 1)}});
    ASSERT_EQ(Load(), EFI_SUCCESS);
    Protocol = static_cast<Hii *>(Fw().FindProtocol(Compat(), kFrameworkHiiProtocolGuid));
    ASSERT_NE(Protocol, nullptr);
  }

  // Translates Input; false (with a failure) when the export is not well
  // formed or the measuring call kept memory.
  bool Translates(const Bytes &Input, const std::string &What) {
    Fw().ServeRawPackageLists(Input);
    const size_t Blocks = Fw().LivePoolBlocks();
    UINTN Size = 0;
    const EFI_STATUS Status = Protocol->ExportDatabase(Protocol, 0, &Size, nullptr);
    EXPECT_EQ(Fw().LivePoolBlocks(), Blocks) << What << ": memory kept";
    if (Status != EFI_BUFFER_TOO_SMALL) return !::testing::Test::HasFailure();
    Bytes Export(Size);
    EXPECT_EQ(Protocol->ExportDatabase(Protocol, 0, &Size, Export.data()), EFI_SUCCESS) << What;
    size_t At = 18;
    const size_t Tables = Export[0] | (Export[1] << 8);
    for (size_t Index = 0; Index < Tables && At + 46 <= Export.size(); ++Index) At += Le32(Export, At + 18);
    EXPECT_EQ(At, Export.size()) << What << ": the tables fill the export";
    return !::testing::Test::HasFailure();
  }
};

TEST_F(MalformedInputTest, EveryTruncationOfTheExamples) {
  for (const auto &[Name, Whole] : uefihii::ExampleExports()) {
    for (size_t Length = 0; Length < Whole.size(); ++Length)
      if (!Translates(Bytes(Whole.begin(), Whole.begin() + static_cast<long>(Length)), Name + " cut at " + std::to_string(Length)))
        return;
  }
}

TEST_F(MalformedInputTest, EveryByteChangedOnce) {
  for (const auto &[Name, Whole] : uefihii::ExampleExports()) {
    if (Name == "two_lists") continue;  // the same bytes as the first two
    for (size_t At = 0; At < Whole.size(); ++At) {
      for (uint8_t Delta : {0x01, 0x80, 0xFF}) {
        Bytes Changed = Whole;
        Changed[At] = static_cast<uint8_t>(Changed[At] + Delta);
        if (!Translates(Changed, Name + " byte " + std::to_string(At))) return;
      }
    }
  }
}

TEST_F(MalformedInputTest, TheExamplesThemselvesTranslate) {
  for (const auto &[Name, Whole] : uefihii::ExampleExports()) {
    ASSERT_TRUE(Translates(Whole, Name));
    Fw().ServeRawPackageLists(Whole);
    EXPECT_GT(FrameworkExport().size(), 18u + 46u) << Name << ": at least one table";
  }
}

TEST_F(MalformedInputTest, ScopesNestedPastTheLimitEndTheirFormSetThere) {
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Deep"), 0);
  W.Ifr.VarStoreEfi(1, kFormSetGuid, kEfiStoreAttributes, 4, "Deep");
  W.Ifr.Form(1, W.S(u"Main"));
  W.Ifr.CheckBox({W.S(u"Shallow"), 0, 1, 1, 0, 0});
  for (int Level = 0; Level < 100; ++Level) {
    W.Ifr.SuppressIf();
    W.Ifr.Bare(EFI_IFR_FALSE_OP);
  }
  W.Ifr.CheckBox({W.S(u"Buried"), 0, 2, 1, 1, 0});
  for (int Level = 0; Level < 100; ++Level) W.Ifr.End();
  W.Ifr.End();
  W.Ifr.End();
  Fw().ServeRawPackageLists(W.List());
  ASSERT_TRUE(Translates(W.List(), "deep"));
  const Bytes Export = FrameworkExport();
  const std::u16string Shallow = u"Shallow";
  const auto *Text = reinterpret_cast<const uint8_t *>(Shallow.data());
  EXPECT_NE(std::search(Export.begin(), Export.end(), Text, Text + 2 * Shallow.size()), Export.end())
      << "the question before the deep scopes is carried over";
}

}  // namespace
}  // namespace compat_test
