// Buffer stores as variables under hiicompat's GUID: the Config Routing
// text both ways (VALUE byte order, ALTCFG sections, answers that are not
// text for the store), the wrapped variable services' firmware-like
// statuses, changes routed only for the bytes that differ, and names made
// unique across stores.
#include "hiicompat/bridged_stores.h"
#include "hiicompat/config_text.h"
#include "sim/config_strings.h"
#include "tests/hiicompat/modern_platform.h"

namespace compat_test {
namespace {

constexpr EFI_GUID kOtherStoreGuid = {0x9e41c2d7, 0x1f08, 0x46b3, {0xa0, 0x7c, 0x3b, 0x55, 0xe9, 0x12, 0x6d, 0x8f}};
const EFI_GUID kBridge = hiicompat::gHiiCompatBridgeGuid;

std::vector<CHAR16> Units(const std::u16string &Text) {
  std::vector<CHAR16> Out(Text.begin(), Text.end());
  Out.push_back(0);
  return Out;
}

class BridgeTest : public CompatImageTest {
 protected:
  EFI_HANDLE Owner = nullptr;
  EFI_HANDLE SecondOwner = nullptr;
  Bytes Path = uefihii::VendorDevicePath(kOwnerGuid);

  // A form set on store "Conf" (8 bytes): a one-of at 0 and a numeric of 2
  // bytes at 4; with Second, another list and owner with a store "Conf"
  // under another GUID.
  void Register(bool Second = false) {
    Owner = Fw().AddStoreOwner(Path, {sim::BufferStore{kStoreGuid, u"Conf", {1, 2, 3, 4, 5, 6, 7, 8}}});
    ASSERT_EQ(Fw().AddPackageList(List(kStoreGuid, kListGuid), Owner), EFI_SUCCESS);
    if (!Second) return;
    SecondOwner = Fw().AddStoreOwner(uefihii::VendorDevicePath(kOtherStoreGuid),
                                     {sim::BufferStore{kOtherStoreGuid, u"Conf", {9, 9, 9, 9, 9, 9, 9, 9}}});
    ASSERT_EQ(Fw().AddPackageList(List(kOtherStoreGuid, kOtherStoreGuid), SecondOwner), EFI_SUCCESS);
  }
  static Bytes List(const EFI_GUID &Store, const EFI_GUID &Guid) {
    FormSetWriter W;
    W.Ifr.FormSet(Guid, W.S(u"Set"), 0);
    W.Ifr.VarStore(Store, 1, 8, "Conf");
    W.Ifr.Form(1, W.S(u"Main"));
    W.Ifr.OneOf({W.S(u"Mode"), 0, 1, 1, 0, 0}, 1);
    W.Ifr.Option(W.S(u"A"), 1, EFI_IFR_TYPE_NUM_SIZE_8);
    W.Ifr.End();
    W.Ifr.Numeric({W.S(u"Count"), 0, 2, 1, 4, 0}, 2, 0, 0xFFFF, 1);
    W.Ifr.End();
    W.Ifr.End();
    return W.List(Guid);
  }

  EFI_STATUS GetVar(const std::u16string &Name, UINTN &Size, void *Data, UINT32 *Attributes = nullptr) {
    std::vector<CHAR16> N = Units(Name);
    EFI_GUID Guid = kBridge;
    return Fw().SystemTable()->RuntimeServices->GetVariable(N.data(), &Guid, Attributes, &Size, Data);
  }
  EFI_STATUS SetVar(const std::u16string &Name, UINT32 Attributes, std::vector<uint8_t> Data) {
    std::vector<CHAR16> N = Units(Name);
    EFI_GUID Guid = kBridge;
    return Fw().SystemTable()->RuntimeServices->SetVariable(N.data(), &Guid, Attributes, Data.size(),
                                                            Data.empty() ? nullptr : Data.data());
  }
  std::vector<uint8_t> Owned(EFI_HANDLE Who, const EFI_GUID &Guid) { return Fw().OwnedStore(Who, Guid, u"Conf")->Bytes; }
};

TEST_F(BridgeTest, AnswersAreReadUpToTheirDefaultsWithTheValueLastByteFirst) {
  ASSERT_EQ(Load(), EFI_SUCCESS);  // the image's runtime serves the heap below
  const std::u16string Header = sim::ConfigHeader(kStoreGuid, u"Conf", Path);
  CHAR16 Name[] = {'C', 'o', 'n', 'f', 0};
  const hiicompat::StoreAddress Store{kStoreGuid, Name, 4, Path.data(), static_cast<UINT32>(Path.size())};
  struct Case {
    std::u16string Answer;
    EFI_STATUS Status;
    std::vector<uint8_t> Block;
  };
  std::u16string Upper = Header;
  for (char16_t &C : Upper)
    if (C >= u'a' && C <= u'f') C = static_cast<char16_t>(C - 32);
  const std::vector<Case> Cases = {
      {Header + u"&OFFSET=1&WIDTH=3&VALUE=0A0B0C&" + Header + u"&ALTCFG=0000&OFFSET=0&WIDTH=2&VALUE=ffff", EFI_SUCCESS,
       {0, 0x0C, 0x0B, 0x0A, 0, 0}},
      {Upper + u"&OFFSET=4&WIDTH=2&VALUE=BEEF", EFI_SUCCESS, {0, 0, 0, 0, 0xEF, 0xBE}},
      {Header, EFI_SUCCESS, {0, 0, 0, 0, 0, 0}},
      {Header + u"&OFFSET=5&WIDTH=2&VALUE=0102", EFI_DEVICE_ERROR, {}},      // past the 6 bytes
      {Header + u"&OFFSET=0&WIDTH=2&VALUE=010", EFI_DEVICE_ERROR, {}},       // odd digits
      {Header + u"&OFFSET=0&WIDTH=1&VALUE=zz", EFI_DEVICE_ERROR, {}},        // not hex
      {Header + u"&OFFSET=0&WIDTH=1&COLOR=00", EFI_DEVICE_ERROR, {}},        // an unknown field
      {sim::ConfigHeader(kOtherStoreGuid, u"Conf", Path), EFI_DEVICE_ERROR, {}},
      {sim::ConfigHeader(kStoreGuid, u"Con", Path), EFI_DEVICE_ERROR, {}},
  };
  for (const Case &C : Cases) {
    std::vector<uint8_t> Block(6, 0);
    const std::vector<CHAR16> Text = Units(C.Answer);
    EXPECT_EQ(hiicompat::ReadConfigAnswer(Text.data(), Store, Block.data(), 6), C.Status)
        << std::string(C.Answer.begin(), C.Answer.end());
    if (C.Status == EFI_SUCCESS) {
      EXPECT_EQ(Block, C.Block);
    }
  }

  hiicompat::ConfigText Change;
  hiicompat::AppendConfigHeader(Change, Store);
  const uint8_t Bytes[] = {0x10, 0x20, 0x30};
  hiicompat::AppendValueElement(Change, 0, 3, Bytes);
  ASSERT_NE(Change.Text(), nullptr);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t *>(Change.Text())), Header + u"&OFFSET=0&WIDTH=3&VALUE=302010");
}

TEST_F(BridgeTest, VariablesStandForTheStoresWithFirmwareStatuses) {
  Register();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  ASSERT_FALSE(FrameworkExport().empty());  // the export names the stores
  UINTN Size = 0;
  UINT32 Attributes = 0;
  EXPECT_EQ(GetVar(u"Conf", Size, nullptr, &Attributes), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 8u);
  EXPECT_EQ(Attributes, hiicompat::BRIDGED_ATTRIBUTES);
  std::vector<uint8_t> Data(8, 0xEE);
  Size = Data.size();
  ASSERT_EQ(GetVar(u"Conf", Size, Data.data()), EFI_SUCCESS);
  EXPECT_EQ(Data, (std::vector<uint8_t>{1, 0, 0, 0, 5, 6, 0, 0})) << "bytes no question covers read as 0";
  Size = 4;
  EXPECT_EQ(GetVar(u"Conf", Size, nullptr), EFI_INVALID_PARAMETER) << "a size without a buffer";
  EXPECT_EQ(GetVar(u"Other", Size, Data.data()), EFI_NOT_FOUND);

  EXPECT_EQ(SetVar(u"Conf", hiicompat::BRIDGED_ATTRIBUTES, {1, 0}), EFI_INVALID_PARAMETER) << "not the whole store";
  EXPECT_EQ(SetVar(u"Conf", EFI_VARIABLE_BOOTSERVICE_ACCESS, Data), EFI_INVALID_PARAMETER) << "other attributes";
  EXPECT_EQ(SetVar(u"Conf", 0, {}), EFI_WRITE_PROTECTED) << "no deleting an owner's store";
  EXPECT_EQ(Owned(Owner, kStoreGuid), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8}));

  Fw().ResetCounters();
  EXPECT_EQ(SetVar(u"Conf", hiicompat::BRIDGED_ATTRIBUTES, Data), EFI_SUCCESS);
  EXPECT_EQ(Fw().Calls(sim::Service::ConfigRoute), 0u) << "nothing differs: nothing routed";
  Data[0] = 3;
  Data[5] = 0x77;
  EXPECT_EQ(SetVar(u"Conf", hiicompat::BRIDGED_ATTRIBUTES, Data), EFI_SUCCESS);
  EXPECT_EQ(Fw().Calls(sim::Service::ConfigRoute), 1u);
  EXPECT_EQ(Owned(Owner, kStoreGuid), (std::vector<uint8_t>{3, 2, 3, 4, 5, 0x77, 7, 8}))
      << "only the bytes that differ were routed";

  Fw().FailNthCall(sim::Service::ConfigExtract, 1, EFI_DEVICE_ERROR);
  Size = Data.size();
  EXPECT_EQ(GetVar(u"Conf", Size, Data.data()), EFI_DEVICE_ERROR) << "routing's failure comes back";
}

TEST_F(BridgeTest, StoresOfTheSameNameGetDistinctVariables) {
  Register(true);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  ASSERT_FALSE(FrameworkExport().empty());
  std::vector<uint8_t> Data(8, 0);
  UINTN Size = Data.size();
  ASSERT_EQ(GetVar(u"Conf", Size, Data.data()), EFI_SUCCESS);
  EXPECT_EQ(Data[0], 1);
  Size = Data.size();
  ASSERT_EQ(GetVar(u"Conf#2", Size, Data.data()), EFI_SUCCESS);
  EXPECT_EQ(Data[0], 9);
  Data[0] = 4;
  ASSERT_EQ(SetVar(u"Conf#2", hiicompat::BRIDGED_ATTRIBUTES, Data), EFI_SUCCESS);
  EXPECT_EQ(Owned(SecondOwner, kOtherStoreGuid)[0], 4);
  EXPECT_EQ(Owned(Owner, kStoreGuid)[0], 1);
}

// An owner that answers to another name than its forms declare (OVMF
// 2022.11's platform form): routing finds no owner for the forms' name, so
// hiicompat asks the owner for its own and goes on with that.
TEST_F(BridgeTest, AnOwnerThatAnswersToAnotherNameIsReachedByIt) {
  Owner = Fw().AddStoreOwner(Path, {sim::BufferStore{kStoreGuid, u"PlatformConfig", {1, 2, 3, 4, 5, 6, 7, 8}}});
  FormSetWriter W;
  W.Ifr.FormSet(kFormSetGuid, W.S(u"Set"), 0);
  W.Ifr.VarStore(kStoreGuid, 1, 8, "MainFormState");
  W.Ifr.Form(1, W.S(u"Main"));
  W.Ifr.Numeric({W.S(u"Count"), 0, 2, 1, 4, 0}, 2, 0, 0xFFFF, 1);
  W.Ifr.End();
  W.Ifr.End();
  ASSERT_EQ(Fw().AddPackageList(W.List(), Owner), EFI_SUCCESS);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  ASSERT_FALSE(FrameworkExport().empty());
  std::vector<uint8_t> Data(8, 0);
  UINTN Size = Data.size();
  ASSERT_EQ(GetVar(u"MainFormState", Size, Data.data()), EFI_SUCCESS) << "the variable keeps the forms' name";
  EXPECT_EQ(Data, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8})) << "the owner answered for the whole store";
  Data[4] = 0x42;
  ASSERT_EQ(SetVar(u"MainFormState", hiicompat::BRIDGED_ATTRIBUTES, Data), EFI_SUCCESS);
  EXPECT_EQ(Fw().OwnedStore(Owner, kStoreGuid, u"PlatformConfig")->Bytes[4], 0x42);
}

}  // namespace
}  // namespace compat_test
