// Framework HII: ExportDatabase's two-call size protocol under both GUIDs,
// found the way the driver looks for it (LocateHandle with room for two),
// with an injected failure on the second call.
#include "sim/framework_hii.h"
#include "tests/sim/platform_helpers.h"

namespace {

class HiiTest : public PlatformTest, public ::testing::WithParamInterface<EFI_GUID> {
 protected:
  SIM_FRAMEWORK_HII_PROTOCOL *Locate() {
    EFI_GUID Guid = GetParam();
    EFI_HANDLE Handles[2] = {};
    UINTN Size = sizeof Handles;
    void *Interface = nullptr;
    EXPECT_EQ(BS()->LocateHandle(ByProtocol, &Guid, nullptr, &Size, Handles), EFI_SUCCESS);
    EXPECT_EQ(BS()->HandleProtocol(Handles[0], &Guid, &Interface), EFI_SUCCESS);
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
  Fw.InstallHii({1, 0, 9}, GetParam(), 2);
  SIM_FRAMEWORK_HII_PROTOCOL *Hii = Locate();
  ASSERT_NE(Hii, nullptr);
  EXPECT_EQ(Export(Hii), (std::vector<uint8_t>{1, 0, 9}));
  const std::vector<uint8_t> Grown(300, 0x5A);
  Fw.SetHiiExport(Grown);
  EXPECT_EQ(Export(Hii), Grown) << "a database that grew is exported whole";

  UINTN Size = Grown.size() - 1;
  std::vector<uint8_t> Short(Size, 0);
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, Short.data()), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, Grown.size());
  EXPECT_EQ(Short[0], 0) << "nothing copied into a short buffer";
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, nullptr, Short.data()), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Hii->NewPack(Hii, nullptr, nullptr), EFI_UNSUPPORTED);

  Fw.FailNthCall(sim::Service::HiiExportDatabase, 2, EFI_DEVICE_ERROR);
  Size = 0;
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  std::vector<uint8_t> Out(Size);
  EXPECT_EQ(Hii->ExportDatabase(Hii, 0, &Size, Out.data()), EFI_DEVICE_ERROR) << "injected on the second call";
  EXPECT_EQ(Export(Hii), Grown);
}

INSTANTIATE_TEST_SUITE_P(BothGuids, HiiTest,
                         ::testing::Values(EFI_GUID SIM_FRAMEWORK_HII_PROTOCOL_GUID,
                                           EFI_GUID SIM_FRAMEWORK_HII_PROTOCOL_LATER_GUID));

}  // namespace
