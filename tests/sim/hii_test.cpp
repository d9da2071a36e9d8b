// Framework HII: ExportDatabase's two-call size protocol under both GUIDs,
// found the way the driver looks for it (LocateHandle with room for two).
#include "sim/framework_hii.h"
#include "tests/sim/platform_helpers.h"

namespace {

class HiiTest : public PlatformTest, public ::testing::WithParamInterface<EFI_GUID> {
 protected:
  SIM_FRAMEWORK_HII_PROTOCOL *Locate(EFI_STATUS *Status) {
    EFI_GUID Guid = GetParam();
    EFI_HANDLE Handles[2] = {};
    UINTN Size = sizeof Handles;
    *Status = BS()->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles);
    if (*Status != EFI_SUCCESS) return nullptr;
    void *Interface = nullptr;
    *Status = BS()->HandleProtocol(Handles[0], &Guid, &Interface);
    return static_cast<SIM_FRAMEWORK_HII_PROTOCOL *>(Interface);
  }

  std::vector<uint8_t> Export(SIM_FRAMEWORK_HII_PROTOCOL *Hii) {
    UINTN Size = 0;
    EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
    std::vector<uint8_t> Out(Size);
    EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, Out.data()), EFI_SUCCESS);
    EXPECT_EQ(Size, Out.size());
    return Out;
  }
};

TEST_P(HiiTest, TwoCallExportFollowsTheServedDatabase) {
  const std::vector<uint8_t> First = {1, 0, 9, 9, 9};
  Fw.InstallHii(First, GetParam(), 2);
  EFI_STATUS Status = EFI_SUCCESS;
  SIM_FRAMEWORK_HII_PROTOCOL *Hii = Locate(&Status);
  ASSERT_EQ(Status, EFI_SUCCESS);
  ASSERT_NE(Hii, nullptr);
  EXPECT_EQ(Export(Hii), First);

  std::vector<uint8_t> Grown(300, 0x5A);
  Fw.SetHiiExport(Grown);
  EXPECT_EQ(Export(Hii), Grown) << "a database that grew is exported whole";

  UINTN Size = Grown.size() - 1;
  std::vector<uint8_t> Short(Size, 0);
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, Short.data()), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, Grown.size());
  EXPECT_EQ(Short[0], 0) << "nothing copied into a short buffer";
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, nullptr, Short.data()), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Hii->NewPack(Hii, nullptr, nullptr), EFI_UNSUPPORTED);
  EXPECT_EQ(Fw.Calls(sim::Service::HiiExportDatabase), 6u);
}

TEST_P(HiiTest, ThreeHandlesOverflowTheTwoHandleSearch) {
  Fw.InstallHii({0, 0}, GetParam(), 3);
  EFI_STATUS Status = EFI_SUCCESS;
  EXPECT_EQ(Locate(&Status), nullptr);
  EXPECT_EQ(Status, EFI_BUFFER_TOO_SMALL);
}

TEST_P(HiiTest, InjectedExportFailure) {
  Fw.InstallHii({1, 2, 3}, GetParam());
  EFI_STATUS Status = EFI_SUCCESS;
  SIM_FRAMEWORK_HII_PROTOCOL *Hii = Locate(&Status);
  ASSERT_NE(Hii, nullptr);
  Fw.FailNthCall(sim::Service::HiiExportDatabase, 2, EFI_DEVICE_ERROR);
  UINTN Size = 0;
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  std::vector<uint8_t> Out(Size);
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, Out.data()), EFI_DEVICE_ERROR);
  EXPECT_EQ(Export(Hii), (std::vector<uint8_t>{1, 2, 3}));
}

INSTANTIATE_TEST_SUITE_P(BothGuids, HiiTest,
                         ::testing::Values(EFI_GUID SIM_FRAMEWORK_HII_PROTOCOL_GUID,
                                           EFI_GUID SIM_FRAMEWORK_HII_PROTOCOL_LATER_GUID));

}  // namespace
