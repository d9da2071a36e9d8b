// The real driver after hiicompat on simulated UEFI 2.x firmware: it starts
// (device I/O), reads the forms of the UEFI HII database, reads and changes
// a buffer store through Config Routing and an EFI variable store directly,
// and an owner's refusal reaches the client.
#include "sim/config_strings.h"
#include "tests/hiicompat/modern_platform.h"

namespace compat_test {
namespace {

constexpr EFI_GUID kEfiStoreGuid = {0x5b93d0e4, 0x71af, 0x4a62, {0x8c, 0x15, 0x3e, 0xf0, 0x27, 0x9b, 0x61, 0xca}};

class DriverOnCompat : public CompatDriverTest {
 protected:
  EFI_HANDLE Owner = nullptr;
  Bytes OwnerPath = uefihii::VendorDevicePath(kOwnerGuid);
  std::vector<uint8_t> RefusedModes;

  void AddForms() override {
    sim::BufferStore Conf{kStoreGuid, u"Conf", {1, 0, 0x2C, 0x01, 1, 0, 0, 0}};
    Owner = Fw().AddStoreOwner(OwnerPath, {Conf}, [this](const sim::BufferStore &Proposed) -> EFI_STATUS {
      for (uint8_t Mode : RefusedModes)
        if (Proposed.Bytes[0] == Mode) return EFI_INVALID_PARAMETER;
      return EFI_SUCCESS;
    });
    Fw().PutVariable(u"EfiConf", kEfiStoreGuid, kEfiStoreAttributes, {0, 0, 0, 0});

    FormSetWriter W;
    W.Ifr.FormSet(kFormSetGuid, W.S(u"Platform"), 0);
    W.Ifr.VarStore(kStoreGuid, 1, 8, "Conf");
    W.Ifr.VarStoreEfi(2, kEfiStoreGuid, kEfiStoreAttributes, 4, "EfiConf");
    W.Ifr.Form(1, W.S(u"Main"));
    W.Ifr.OneOf({W.S(u"Mode"), 0, 0x100, 1, 0, 0}, 1);
    W.Ifr.Option(W.S(u"Off"), 0, EFI_IFR_TYPE_NUM_SIZE_8);
    W.Ifr.Option(W.S(u"On"), 1, EFI_IFR_TYPE_NUM_SIZE_8, EFI_IFR_OPTION_DEFAULT);
    W.Ifr.Option(W.S(u"Auto"), 2, EFI_IFR_TYPE_NUM_SIZE_8);
    W.Ifr.End();
    W.Ifr.Numeric({W.S(u"Delay"), 0, 0x101, 1, 2, 0}, 2, 0, 600, 10);
    W.Ifr.CheckBox({W.S(u"Beep"), 0, 0x102, 1, 4, 0});
    W.Ifr.OneOf({W.S(u"Level"), 0, 0x103, 2, 0, 0}, 4);
    W.Ifr.Option(W.S(u"Low"), 0, EFI_IFR_TYPE_NUM_SIZE_32);
    W.Ifr.Option(W.S(u"High"), 0x1234, EFI_IFR_TYPE_NUM_SIZE_32);
    W.Ifr.End();
    W.Ifr.End();  // form
    W.Ifr.End();  // form set
    ASSERT_EQ(Fw().AddPackageList(W.List(), Owner), EFI_SUCCESS);
  }

  std::vector<uint8_t> OwnerBytes() { return Fw().OwnedStore(Owner, kStoreGuid, u"Conf")->Bytes; }
};

TEST_F(DriverOnCompat, ReadsTheStoresAsTheirOwnersAndVariablesHoldThem) {
  const Reading Mode = Get(u"Mode");
  ASSERT_EQ(Mode.Status, EFI_SUCCESS);
  ASSERT_TRUE(Mode.Found);
  EXPECT_EQ(Mode.Type, BIOS_SETTING_TYPE_ONE_OF);
  EXPECT_EQ(Mode.Value, 1u);
  EXPECT_EQ(Mode.Options, (std::vector<std::u16string>{u"Off", u"On", u"Auto"}));
  const Reading Delay = Get(u"Delay");
  EXPECT_EQ(Delay.Type, BIOS_SETTING_TYPE_NUMERIC);
  EXPECT_EQ(Delay.Value, 300u) << "0x012C, stored low byte first";
  EXPECT_EQ(Get(u"Beep").Value, 1u);
  EXPECT_EQ(Get(u"Level").Value, 0u);
}

TEST_F(DriverOnCompat, ChangesGoOutThroughRoutingAndVariables) {
  ASSERT_EQ(Set(u"Mode", OptionValue(u"Mode", u"Auto")), EFI_SUCCESS);
  ASSERT_EQ(Set(u"Delay", 510), EFI_SUCCESS);
  ASSERT_EQ(Set(u"Beep", 0), EFI_SUCCESS);
  EXPECT_EQ(OwnerBytes(), (std::vector<uint8_t>{2, 0, 0xFE, 0x01, 0, 0, 0, 0}));
  ASSERT_EQ(Set(u"Level", 0x1234), EFI_SUCCESS);
  EXPECT_EQ(Fw().FindVariable(u"EfiConf", kEfiStoreGuid)->Data, (std::vector<uint8_t>{0x34, 0x12, 0, 0}));
}

TEST_F(DriverOnCompat, TheOwnersRefusalReachesTheClientAndChangesNothing) {
  RefusedModes = {2};
  uint8_t Applied = 0;
  EXPECT_NE(Set(u"Mode", 2, &Applied), EFI_SUCCESS);
  EXPECT_NE(Applied, BIOS_SETTING_APPLIED);
  EXPECT_EQ(OwnerBytes()[0], 1);
  EXPECT_EQ(Set(u"Mode", 0), EFI_SUCCESS) << "a value the owner takes";
  EXPECT_EQ(OwnerBytes()[0], 0);
}

}  // namespace
}  // namespace compat_test
