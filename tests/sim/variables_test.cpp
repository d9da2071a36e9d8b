// Variable services: status codes, deletion rules, attribute checks and the
// GetNextVariableName walk with its buffer sizes.
#include "tests/sim/platform_helpers.h"

namespace {

constexpr UINT32 NV_BS = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

class VariableTest : public PlatformTest {
 protected:
  EFI_GUID Vendor = MakeGuid(0x51);
  std::u16string Name = u"Setup";

  void SetUp() override { Fw.PutVariable(Name, Vendor, NV_BS, {1, 2, 3, 4, 5}); }
};

TEST_F(VariableTest, GetVariableStatusCodes) {
  uint8_t Data[8] = {};
  UINT32 Attributes = 0;
  UINTN Size = 4;
  EXPECT_EQ(RT()->GetVariable(Wide(Name), &Vendor, &Attributes, &Size, Data), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 5u);
  EXPECT_EQ(Attributes, NV_BS) << "attributes come back with the size probe";
  EXPECT_EQ(Data[0], 0) << "nothing copied on a short buffer";
  Size = sizeof Data;
  ASSERT_EQ(RT()->GetVariable(Wide(Name), &Vendor, nullptr, &Size, Data), EFI_SUCCESS) << "Attributes is optional";
  EXPECT_EQ(Size, 5u);
  EXPECT_EQ(Data[4], 5);

  std::u16string Missing = u"Setupx";
  EFI_GUID OtherVendor = MakeGuid(0x52);
  EXPECT_EQ(RT()->GetVariable(Wide(Missing), &Vendor, nullptr, &Size, Data), EFI_NOT_FOUND);
  EXPECT_EQ(RT()->GetVariable(Wide(Name), &OtherVendor, nullptr, &Size, Data), EFI_NOT_FOUND);
  EXPECT_EQ(RT()->GetVariable(nullptr, &Vendor, nullptr, &Size, Data), EFI_INVALID_PARAMETER);
  EXPECT_EQ(RT()->GetVariable(Wide(Name), &Vendor, nullptr, nullptr, Data), EFI_INVALID_PARAMETER);
  EXPECT_EQ(RT()->GetVariable(Wide(Name), &Vendor, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  Size = 0;
  EXPECT_EQ(RT()->GetVariable(Wide(Name), &Vendor, nullptr, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
}

TEST_F(VariableTest, SetVariableRules) {
  uint8_t Byte = 7;
  struct Case { const char *What; UINT32 Attributes; UINTN Size; void *Data; EFI_STATUS Expected; };
  std::u16string Fresh = u"Fresh";
  const Case Cases[] = {
      {"runtime access without boot-service access", EFI_VARIABLE_RUNTIME_ACCESS, 1, &Byte, EFI_INVALID_PARAMETER},
      {"unknown attribute bit", EFI_VARIABLE_BOOTSERVICE_ACCESS | 0x1000, 1, &Byte, EFI_INVALID_PARAMETER},
      {"data missing", EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, nullptr, EFI_INVALID_PARAMETER},
      {"deleting what is not there", 0, 1, &Byte, EFI_NOT_FOUND},
      {"a new variable", EFI_VARIABLE_BOOTSERVICE_ACCESS, 1, &Byte, EFI_SUCCESS},
      {"the same with other attributes", NV_BS, 1, &Byte, EFI_INVALID_PARAMETER},
      {"deleting it", 0, 0, nullptr, EFI_SUCCESS},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(RT()->SetVariable(Wide(Fresh), &Vendor, C.Attributes, C.Size, C.Data), C.Expected) << C.What;
  EXPECT_FALSE(Fw.FindVariable(Fresh, Vendor));

  uint8_t More[2] = {6, 7};
  ASSERT_EQ(RT()->SetVariable(Wide(Name), &Vendor, NV_BS | EFI_VARIABLE_APPEND_WRITE, 2, More), EFI_SUCCESS);
  EXPECT_EQ(Fw.FindVariable(Name, Vendor)->Data, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7}));
  ASSERT_EQ(RT()->SetVariable(Wide(Name), &Vendor, NV_BS, 0, nullptr), EFI_SUCCESS) << "size 0 deletes";
  EXPECT_FALSE(Fw.FindVariable(Name, Vendor));
}

TEST_F(VariableTest, GetNextVariableNameWalksInInsertionOrderWithByteSizes) {
  Fw.PutVariable(u"B", MakeGuid(0x60), NV_BS, {0});
  Fw.PutVariable(u"LongerName", Vendor, NV_BS, {0});
  // A caller reusing a tight buffer offers the current name's size: enough
  // for a shorter next name, too small for a longer one. Sizes count the NUL.
  struct Step { UINTN Offered; EFI_STATUS Expected; UINTN Reported; std::u16string After; };
  const Step Steps[] = {
      {2, EFI_BUFFER_TOO_SMALL, 12, u""},
      {128, EFI_SUCCESS, 12, u"Setup"},
      {12, EFI_SUCCESS, 4, u"B"},
      {4, EFI_BUFFER_TOO_SMALL, 22, u"B"},  // the name is untouched by the probe
      {128, EFI_SUCCESS, 22, u"LongerName"},
  };
  CHAR16 Buffer[64] = {0};
  EFI_GUID Guid{};
  for (const Step &S : Steps) {
    UINTN Size = S.Offered;
    EXPECT_EQ(RT()->GetNextVariableName(&Size, Buffer, &Guid), S.Expected) << "offered " << S.Offered;
    EXPECT_EQ(Size, S.Reported);
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(Buffer)), S.After);
  }
}

TEST_F(VariableTest, GetNextVariableNameRefusesUnknownOrUnterminatedNames) {
  std::u16string Unknown = u"Nope";
  EFI_GUID OtherVendor = MakeGuid(0x53);
  UINTN Size = 64;
  EXPECT_EQ(RT()->GetNextVariableName(&Size, Wide(Unknown), &Vendor), EFI_INVALID_PARAMETER);
  EXPECT_EQ(RT()->GetNextVariableName(&Size, Wide(Name), &OtherVendor), EFI_INVALID_PARAMETER) << "pair must exist";
  Size = 4;  // "Setup" is not terminated within 4 bytes
  EXPECT_EQ(RT()->GetNextVariableName(&Size, Wide(Name), &Vendor), EFI_INVALID_PARAMETER);
  Size = 64;
  EXPECT_EQ(RT()->GetNextVariableName(&Size, Wide(Name), &Vendor), EFI_NOT_FOUND) << "the last variable";
  EXPECT_EQ(RT()->GetNextVariableName(nullptr, Wide(Name), &Vendor), EFI_INVALID_PARAMETER);
}

}  // namespace
