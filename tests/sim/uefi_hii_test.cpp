// The simulator's UEFI 2.x HII side: the database's package lists and
// export, Config Routing to a simulated owner of a buffer store (full
// requests from the forms, ALTCFG defaults, VALUE byte order, refusals),
// held to what EDK2's database and drivers do.
#include "sim/config_strings.h"
#include "tests/sim/platform_helpers.h"
#include "tools/uefihii/uefi_package_builder.h"
#include "uefi/hii_config.h"
#include "uefi/hii_database.h"

#include <cstring>

namespace {

using uefihii::Bytes;

const EFI_GUID STORE_GUID = MakeGuid(0x5701);
const EFI_GUID LIST_GUID = MakeGuid(0x5702);

std::u16string Text(const CHAR16 *Units) { return *sim::ReadConfigText(Units); }

class UefiHiiTest : public PlatformTest {
 protected:
  EFI_HII_DATABASE_PROTOCOL *Db = nullptr;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing = nullptr;
  Bytes OwnerPath = uefihii::VendorDevicePath(MakeGuid(0x5703));
  EFI_HANDLE Owner = nullptr;
  std::vector<uint8_t> Refused;  // values of byte 1 the owner refuses

  void SetUp() override {
    const EFI_HANDLE Hii = Fw.InstallUefiHii();
    Db = static_cast<EFI_HII_DATABASE_PROTOCOL *>(Fw.FindProtocol(Hii, gEfiHiiDatabaseProtocolGuid));
    Routing = static_cast<EFI_HII_CONFIG_ROUTING_PROTOCOL *>(Fw.FindProtocol(Hii, gEfiHiiConfigRoutingProtocolGuid));
    ASSERT_NE(Db, nullptr);
    ASSERT_NE(Routing, nullptr);
    sim::BufferStore Store{STORE_GUID, u"Conf", {0x11, 0x22, 0x33, 0x44, 0x55, 0x66}};
    Owner = Fw.AddStoreOwner(OwnerPath, {Store}, [this](const sim::BufferStore &Proposed) -> EFI_STATUS {
      for (uint8_t Value : Refused)
        if (Proposed.Bytes[1] == Value) return EFI_INVALID_PARAMETER;
      return EFI_SUCCESS;
    });
  }

  // A one-of of 1 byte at 1 (default 7) and a numeric of 2 bytes at 2 on
  // the store "Conf".
  Bytes FormsList(const EFI_GUID &Guid = LIST_GUID) {
    uefihii::IfrWriter Ifr;
    Ifr.FormSet(MakeGuid(0x5704), 1, 2);
    Ifr.VarStore(STORE_GUID, 1, 6, "Conf");
    Ifr.Form(1, 1);
    Ifr.OneOf({3, 2, 0x10, 1, 1, 0}, 1);
    Ifr.Option(4, 5, EFI_IFR_TYPE_NUM_SIZE_8);
    Ifr.Option(4, 7, EFI_IFR_TYPE_NUM_SIZE_8, EFI_IFR_OPTION_DEFAULT);
    Ifr.End();
    Ifr.Numeric({3, 2, 0x11, 1, 2, 0}, 2, 0, 1000, 1);
    Ifr.End();
    Ifr.End();
    uefihii::StringPackage Strings;
    Strings.Add(u"Title");
    uefihii::PackageList List(Guid);
    List.AddStrings(Strings);  // added before the forms: the export puts forms first
    List.AddForms(Ifr);
    return List.Build();
  }

  Bytes Export(EFI_HII_HANDLE Handle = nullptr) {
    UINTN Size = 0;
    EXPECT_EQ(Db->ExportPackageLists(Db, Handle, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
    Bytes Out(Size);
    EXPECT_EQ(Db->ExportPackageLists(Db, Handle, &Size, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Out.data())),
              EFI_SUCCESS);
    return Out;
  }

  EFI_STATUS Extract(const std::u16string &Request, std::u16string &Answer) {
    std::vector<CHAR16> Units(Request.begin(), Request.end());
    Units.push_back(0);
    EFI_STRING Progress = nullptr;
    EFI_STRING Results = nullptr;
    const EFI_STATUS Status = Routing->ExtractConfig(Routing, Units.data(), &Progress, &Results);
    if (Results != nullptr) {
      Answer = Text(Results);
      EXPECT_EQ(BS()->FreePool(Results), EFI_SUCCESS);
    }
    return Status;
  }

  EFI_STATUS Route(const std::u16string &Configuration) {
    std::vector<CHAR16> Units(Configuration.begin(), Configuration.end());
    Units.push_back(0);
    EFI_STRING Progress = nullptr;
    return Routing->RouteConfig(Routing, Units.data(), &Progress);
  }

  std::u16string Header() { return sim::ConfigHeader(STORE_GUID, u"Conf", OwnerPath); }
};

TEST_F(UefiHiiTest, PackageListsGetTheDriversDevicePathAndExportGroupedByType) {
  EFI_HII_HANDLE Handle = nullptr;
  const Bytes List = FormsList();
  ASSERT_EQ(Db->NewPackageList(Db, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()), Owner, &Handle),
            EFI_SUCCESS);
  const Bytes Out = Export();
  uint32_t Length = 0;
  std::memcpy(&Length, Out.data() + 16, 4);
  ASSERT_EQ(Length, Out.size()) << "one list, its length counting the added device path package";
  size_t At = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
  std::vector<uint8_t> Types;
  while (At + 4 <= Out.size()) {
    Types.push_back(HiiPackageTypeAt(Out.data() + At));
    if (Types.back() == EFI_HII_PACKAGE_DEVICE_PATH) {
      EXPECT_EQ(Bytes(Out.begin() + static_cast<long>(At) + 4, Out.begin() + static_cast<long>(At) + 4 + 24), OwnerPath);
    }
    At += HiiPackageLengthAt(Out.data() + At);
  }
  EXPECT_EQ(Types, (std::vector<uint8_t>{EFI_HII_PACKAGE_FORMS, EFI_HII_PACKAGE_STRINGS, EFI_HII_PACKAGE_DEVICE_PATH,
                                         EFI_HII_PACKAGE_END}));
  EXPECT_EQ(Export(Handle), Out) << "one handle exports the same list";

  EXPECT_EQ(Db->NewPackageList(Db, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(List.data()), Owner, &Handle),
            EFI_INVALID_PARAMETER)
      << "the same GUID for the same driver";
  EFI_HANDLE Driver = nullptr;
  EXPECT_EQ(Db->GetPackageListHandle(Db, Handle, &Driver), EFI_SUCCESS);
  EXPECT_EQ(Driver, Owner);

  UINTN Size = 0;
  EXPECT_EQ(Db->ListPackageLists(Db, EFI_HII_PACKAGE_FORMS, nullptr, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, sizeof(EFI_HII_HANDLE));
  Size = 0;
  EXPECT_EQ(Db->ListPackageLists(Db, EFI_HII_PACKAGE_FONTS, nullptr, &Size, nullptr), EFI_NOT_FOUND);

  EXPECT_EQ(Db->RemovePackageList(Db, Handle), EFI_SUCCESS);
  Size = 0;
  EXPECT_EQ(Db->ExportPackageLists(Db, nullptr, &Size, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(Db->RemovePackageList(Db, Handle), EFI_NOT_FOUND);
}

TEST_F(UefiHiiTest, MalformedPackageListsAreRefused) {
  Bytes List = FormsList();
  Bytes Cut = List;
  Cut[sizeof(EFI_HII_PACKAGE_LIST_HEADER) + 2] = 0x01;  // the first package claims 64 KiB more than the list holds
  EXPECT_EQ(Fw.AddPackageList(Cut, Owner), EFI_INVALID_PARAMETER);
  Bytes NoEnd(List.begin(), List.end() - 4);
  const uint32_t Shorter = static_cast<uint32_t>(NoEnd.size());
  std::memcpy(NoEnd.data() + 16, &Shorter, 4);
  EXPECT_EQ(Fw.AddPackageList(NoEnd, Owner), EFI_INVALID_PARAMETER) << "no end package";
  EXPECT_EQ(Fw.AddPackageList(List, Owner), EFI_SUCCESS);
}

TEST_F(UefiHiiTest, ExtractConfigCompletesABareHeaderFromTheFormsAndAppendsDefaults) {
  ASSERT_EQ(Fw.AddPackageList(FormsList(), Owner), EFI_SUCCESS);
  std::u16string Answer;
  ASSERT_EQ(Extract(Header(), Answer), EFI_SUCCESS);
  // The value bytes come last byte first: 0x4433 at offset 2.
  EXPECT_EQ(Answer, Header() + u"&OFFSET=1&WIDTH=1&VALUE=22&OFFSET=2&WIDTH=2&VALUE=4433&" + Header() +
                        u"&ALTCFG=0000&OFFSET=1&WIDTH=1&VALUE=07");

  ASSERT_EQ(Extract(Header() + u"&OFFSET=0&WIDTH=6", Answer), EFI_SUCCESS);
  EXPECT_EQ(Answer.substr(0, Answer.find(u"&GUID=")), Header() + u"&OFFSET=0&WIDTH=6&VALUE=665544332211");

  std::u16string Upper = Header();
  for (char16_t &C : Upper)
    if (C >= u'a' && C <= u'f') C = static_cast<char16_t>(C - u'a' + u'A');
  EXPECT_EQ(Extract(Upper, Answer), EFI_NOT_FOUND) << "GUID and NAME compare as written";
  EXPECT_EQ(Extract(sim::ConfigHeader(STORE_GUID, u"Other", OwnerPath), Answer), EFI_NOT_FOUND);
  EXPECT_EQ(Extract(Header() + u"&OFFSET=4&WIDTH=4", Answer), EFI_DEVICE_ERROR) << "beyond the store";
  EXPECT_EQ(Extract(u"NAME=00", Answer), EFI_INVALID_PARAMETER);
}

TEST_F(UefiHiiTest, RouteConfigChangesTheStoreUnlessTheOwnerRefuses) {
  ASSERT_EQ(Fw.AddPackageList(FormsList(), Owner), EFI_SUCCESS);
  ASSERT_EQ(Route(Header() + u"&OFFSET=2&WIDTH=2&VALUE=0102"), EFI_SUCCESS);
  EXPECT_EQ(Fw.OwnedStore(Owner, STORE_GUID, u"Conf")->Bytes, (std::vector<uint8_t>{0x11, 0x22, 0x02, 0x01, 0x55, 0x66}));

  Refused = {0x09};
  EXPECT_EQ(Route(Header() + u"&OFFSET=1&WIDTH=1&VALUE=09&OFFSET=4&WIDTH=1&VALUE=00"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Fw.OwnedStore(Owner, STORE_GUID, u"Conf")->Bytes, (std::vector<uint8_t>{0x11, 0x22, 0x02, 0x01, 0x55, 0x66}))
      << "a refused change leaves every byte";
  EXPECT_EQ(Route(Header() + u"&OFFSET=1&WIDTH=1&VALUE=0a"), EFI_SUCCESS);
  EXPECT_EQ(Fw.OwnedStore(Owner, STORE_GUID, u"Conf")->Bytes[1], 0x0A);
  EXPECT_EQ(Route(Header() + u"&OFFSET=5&WIDTH=2&VALUE=0000"), EFI_INVALID_PARAMETER) << "beyond the store";
  EXPECT_EQ(Route(Header() + u"&OFFSET=1&WIDTH=1&VALUE=123"), EFI_INVALID_PARAMETER) << "digits for 1.5 bytes";
  EXPECT_EQ(Route(sim::ConfigHeader(STORE_GUID, u"Conf", uefihii::VendorDevicePath(MakeGuid(9))) + u"&OFFSET=1&WIDTH=1&VALUE=01"),
            EFI_NOT_FOUND)
      << "no package list has that device path";
}

TEST_F(UefiHiiTest, InjectedFailuresHappenBeforeAnyEffect) {
  ASSERT_EQ(Fw.AddPackageList(FormsList(), Owner), EFI_SUCCESS);
  Fw.FailNthCall(sim::Service::ConfigRoute, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Route(Header() + u"&OFFSET=1&WIDTH=1&VALUE=01"), EFI_DEVICE_ERROR);
  EXPECT_EQ(Fw.OwnedStore(Owner, STORE_GUID, u"Conf")->Bytes[1], 0x22);
  Fw.FailNthCall(sim::Service::HiiExportPackageLists, 1, EFI_OUT_OF_RESOURCES);
  UINTN Size = 0;
  EXPECT_EQ(Db->ExportPackageLists(Db, nullptr, &Size, nullptr), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Size, 0u);
}

}  // namespace
