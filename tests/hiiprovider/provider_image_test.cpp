// The HII provider image in the simulated firmware, set up as OVMF is: no
// Framework HII and no device I/O on the root device path until the
// provider brings them. Loaded from a simulated volume as the Shell's
// `load` does.
#include "hiibuild/framework_hii.h"
#include "platform/sample_platform.h"
#include "simimages/images.h"
#include "tests/hiiprovider/demo_platform.h"
#include "tests/support/sim_fixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

EFI_GUID DeviceIoGuid = DEVICE_IO_PROTOCOL;
EFI_GUID DevicePathGuid = DEVICE_PATH_PROTOCOL;
EFI_DEVICE_PATH EndOnlyPath = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {END_DEVICE_PATH_LENGTH, 0}};

class ProviderImageTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    Fw().RegisterImage(simimages::HiiProviderImage());
    Fw().RemoveRootDeviceIo();  // as on OVMF
    // A Shell variable gives the provider's runtime an environment to hold,
    // so memory left behind by a failed start shows.
    Fw().SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
  }
  void TearDown() override {
    if (Provider != nullptr) {
      EXPECT_EQ(Fw().UnloadImage(Provider), EFI_SUCCESS);
    }
    SimTest::TearDown();
  }

  // Loads and starts fs0:\FOLDER\hiiprovider.efi; keeps the handle on success.
  EFI_STATUS Load(const std::string &Folder = "tools") {
    EFI_HANDLE Handle = nullptr;
    if (!Fw().InstallImage("fs0:\\" + Folder + "\\hiiprovider.efi", simimages::HiiProviderImage())) return EFI_ABORTED;
    const EFI_STATUS Status = Fw().LoadAndStart("fs0:\\" + Folder + "\\hiiprovider.efi", &Handle);
    if (Status == EFI_SUCCESS) Provider = Handle;
    return Status;
  }
  std::string Folder(const std::string &Name = "tools") {
    const std::string Path = VolumeDir(0) + "/" + Name;
    fs::create_directories(Path);
    return Path;
  }
  EFI_HII_PROTOCOL *Hii(const EFI_GUID &Guid = gFrameworkHiiProtocolGuid) {
    return static_cast<EFI_HII_PROTOCOL *>(Fw().FindProtocol(Provider, Guid));
  }
  std::vector<uint8_t> Exported(EFI_HII_PROTOCOL *Protocol) {
    UINTN Size = 0;
    if (Protocol->ExportDatabase(Protocol, 0, &Size, nullptr) != EFI_BUFFER_TOO_SMALL) return {};
    std::vector<uint8_t> Bytes(Size);
    EXPECT_EQ(Protocol->ExportDatabase(Protocol, 0, &Size, Bytes.data()), EFI_SUCCESS);
    return Bytes;
  }
  bool Says(const std::string &Text) { return Fw().ConsoleText().find(Text) != std::string::npos; }

  EFI_HANDLE Provider = nullptr;
};

TEST_F(ProviderImageTest, ExportDatabaseFollowsTheTwoCallSizeProtocol) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EFI_HII_PROTOCOL *Protocol = Hii();
  ASSERT_NE(Protocol, nullptr);
  const std::vector<uint8_t> &Sample = platform::Sample().Export;
  const UINTN Whole = Sample.size();
  struct Case {
    const char *What;
    UINT16 Handle;
    UINTN Offered;
    bool WithBuffer;
    EFI_STATUS Status;
    UINTN Reported;
  };
  const Case Cases[] = {
      {"measuring call", 0, 0, false, EFI_BUFFER_TOO_SMALL, Whole},
      {"one byte short", 0, Whole - 1, true, EFI_BUFFER_TOO_SMALL, Whole},
      {"room but no buffer", 0, Whole, false, EFI_INVALID_PARAMETER, Whole},
      {"exact", 0, Whole, true, EFI_SUCCESS, Whole},
      {"more than needed", 0, Whole + 64, true, EFI_SUCCESS, Whole},
      {"a single form set's handle", 1, Whole, true, EFI_NOT_FOUND, Whole},
  };
  for (const Case &C : Cases) {
    std::vector<uint8_t> Buffer(C.Offered + 1, 0xEE);
    UINTN Size = C.Offered;
    EXPECT_EQ(Protocol->ExportDatabase(Protocol, C.Handle, &Size, C.WithBuffer ? Buffer.data() : nullptr), C.Status)
        << C.What;
    EXPECT_EQ(Size, C.Reported) << C.What;
    if (C.Status == EFI_SUCCESS) {
      EXPECT_TRUE(std::equal(Sample.begin(), Sample.end(), Buffer.begin())) << C.What;
      EXPECT_EQ(Buffer[Whole], 0xEE) << C.What << ": wrote past the export";
    }
  }
  EXPECT_EQ(Protocol->ExportDatabase(Protocol, 0, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

// The embedded sample: the very bytes and variables the host builds, the
// protocols on the image handle itself and no new handle.
TEST_F(ProviderImageTest, ServesTheEmbeddedSampleFromItsImageHandle) {
  const size_t HandlesBefore = Fw().HandleCount();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_EQ(Fw().HandleCount(), HandlesBefore + 1) << "only the image's own handle";
  ASSERT_NE(Hii(), nullptr);
  EXPECT_EQ(Exported(Hii()), platform::Sample().Export);
  for (const platform::PlatformVariable &V : platform::Sample().Variables) {
    const auto Stored = Fw().FindVariable(V.Name, V.Guid);
    ASSERT_TRUE(Stored.has_value()) << std::string(V.Name.begin(), V.Name.end());
    EXPECT_EQ(Stored->Data, V.Data);
    EXPECT_EQ(Stored->Attributes, static_cast<UINT32>(EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                                      EFI_VARIABLE_RUNTIME_ACCESS));
  }

  const auto *Path = static_cast<const EFI_DEVICE_PATH *>(Fw().FindProtocol(Provider, DevicePathGuid));
  ASSERT_NE(Path, nullptr);
  EXPECT_EQ(Path->Type, END_DEVICE_PATH_TYPE);
  EXPECT_EQ(Path->SubType, END_ENTIRE_DEVICE_PATH_SUBTYPE);
  EXPECT_NE(Fw().FindProtocol(Provider, DeviceIoGuid), nullptr);
  EFI_DEVICE_PATH *Remaining = &EndOnlyPath;
  EFI_HANDLE Found = nullptr;
  ASSERT_EQ(Fw().SystemTable()->BootServices->LocateDevicePath(&DeviceIoGuid, &Remaining, &Found), EFI_SUCCESS);
  EXPECT_EQ(Found, Provider);

  EXPECT_TRUE(Says("hiiprovider: forms from the embedded sample platform: " +
                   std::to_string(platform::Sample().Export.size()) + " bytes"));
  EXPECT_TRUE(Says("variables from the embedded sample platform: " +
                   std::to_string(platform::Sample().Variables.size()) + " created, 0 kept, 0 failed"));
  EXPECT_TRUE(Says("device I/O on the root device path: the provider's stand-in"));
}

TEST_F(ProviderImageTest, RefusesToStartWhereAFrameworkHiiIsInstalled) {
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EFI_HANDLE Second = nullptr;
  EXPECT_EQ(Fw().LoadAndStart("fs0:\\tools\\hiiprovider.efi", &Second), EFI_ALREADY_STARTED);
  EXPECT_EQ(Fw().HandlesWith(gFrameworkHiiProtocolGuid).size(), 1u);
  EXPECT_EQ(Exported(Hii()), platform::Sample().Export) << "the first copy serves on";

  ASSERT_EQ(Fw().UnloadImage(Provider), EFI_SUCCESS);
  Provider = nullptr;
  Fw().InstallHii({}, gFrameworkHiiLaterProtocolGuid);  // firmware with its own database
  EXPECT_EQ(Load(), EFI_ALREADY_STARTED);
  EXPECT_TRUE(Fw().HandlesWith(gFrameworkHiiProtocolGuid).empty());
}

TEST_F(ProviderImageTest, FirmwareOlderThanEfi110IsRefusedBeforeAnythingIsCreated) {
  Fw().SetRevision(0x00010000);
  EXPECT_EQ(Load(), EFI_UNSUPPORTED);
  EXPECT_TRUE(Says("Please start this image in EFI higher version \r\n"));
  EXPECT_FALSE(Fw().FindVariable(platform::Sample().Variables.at(0).Name, platform::Sample().Variables.at(0).Guid));
  EXPECT_TRUE(Fw().HandlesWith(gFrameworkHiiProtocolGuid).empty());
}

TEST_F(ProviderImageTest, LeavesAFirmwareRootDeviceIoInPlace) {
  static uint64_t FirmwareDeviceIo = 0;
  EFI_HANDLE Root = Fw().InstallProtocol(nullptr, DevicePathGuid, &EndOnlyPath);
  ASSERT_NE(Root, nullptr);
  ASSERT_EQ(Fw().InstallProtocol(Root, DeviceIoGuid, &FirmwareDeviceIo), Root);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_EQ(Fw().FindProtocol(Provider, DeviceIoGuid), nullptr);
  EXPECT_EQ(Fw().FindProtocol(Provider, DevicePathGuid), nullptr);
  EXPECT_NE(Hii(), nullptr);
  EXPECT_TRUE(Says("device I/O on the root device path: the firmware's own"));
}

// A variable the firmware has stays as it is, whatever its size; the size
// mismatch is reported.
TEST_F(ProviderImageTest, KeepsExistingVariablesAndReportsASizeMismatch) {
  const platform::PlatformVariable &Setup = platform::Sample().Variables.at(0);
  const platform::PlatformVariable &Memory = platform::Sample().Variables.at(1);
  std::vector<uint8_t> Changed = Memory.Data;
  Changed.at(0) ^= 0xFF;
  Fw().PutVariable(Setup.Name, Setup.Guid, 0x7, {1, 2, 3, 4});
  Fw().PutVariable(Memory.Name, Memory.Guid, 0x3, Changed);
  ASSERT_EQ(Load(), EFI_SUCCESS);

  EXPECT_EQ(Fw().FindVariable(Setup.Name, Setup.Guid)->Data, (std::vector<uint8_t>{1, 2, 3, 4}));
  EXPECT_EQ(Fw().FindVariable(Memory.Name, Memory.Guid)->Data, Changed);
  EXPECT_EQ(Fw().FindVariable(Memory.Name, Memory.Guid)->Attributes, 0x3u);
  EXPECT_TRUE(Says("kept Setup {C7F7C970-FCFF-455D-A884-F67C0E300856}: it holds 4 bytes where the platform has " +
                   std::to_string(Setup.Data.size())));
  EXPECT_FALSE(Says("kept MemoryConfig")) << "same size: kept without a word";
  EXPECT_TRUE(Says(std::to_string(platform::Sample().Variables.size() - 2) + " created, 2 kept, 0 failed"));
}

// hii.bin and variables.txt are read from the folder the image came from.
TEST_F(ProviderImageTest, ServesFilesFromItsOwnFolder) {
  const std::string Other = Folder("platform");
  WriteHostFile(Other + "/hii.bin", DemoExport());
  WriteHostFile(Other + "/variables.txt", DemoVariables());
  WriteHostFile(Folder() + "/hii.bin", platform::Sample().Export);  // another folder's: not read
  ASSERT_EQ(Load("platform"), EFI_SUCCESS);

  EXPECT_EQ(Hii(), nullptr) << "the 20-byte header is served under the later GUID";
  ASSERT_NE(Hii(gFrameworkHiiLaterProtocolGuid), nullptr);
  EXPECT_EQ(Exported(Hii(gFrameworkHiiLaterProtocolGuid)), DemoExport());
  const auto Setup = Fw().FindVariable(u"Setup", kDemoFormSetGuid);
  ASSERT_TRUE(Setup.has_value());
  EXPECT_EQ(Setup->Data, (std::vector<uint8_t>{0x00, 0x01}));
  EXPECT_EQ(Setup->Attributes, 0x3u) << "runtime access as the text says";
  const auto Extra = Fw().FindVariable(u"Extra", kDemoFormSetGuid);
  ASSERT_TRUE(Extra.has_value());
  EXPECT_EQ(Extra->Attributes, 0x7u) << "only the three plain attribute bits";
  EXPECT_FALSE(Fw().FindVariable(platform::Sample().Variables.at(0).Name, platform::Sample().Variables.at(0).Guid))
      << "no sample variable next to a variables.txt";
  EXPECT_TRUE(Says("forms from hii.bin: " + std::to_string(DemoExport().size()) + " bytes"));
  EXPECT_TRUE(Says("variables from variables.txt: 2 created, 0 kept, 0 failed"));
}

// Files that are there but unusable stop the provider before it creates or
// installs anything; TearDown finds no memory left behind.
TEST_F(ProviderImageTest, UnusableFilesInstallNothing) {
  struct Case {
    const char *File;
    std::string Contents;
    uintmax_t SparseSize;  // or a file of this many zero bytes
    EFI_STATUS Status;
    const char *Said;
  };
  const std::string Good = "Made {C7F7C970-FCFF-455D-A884-F67C0E300856} 7 01\n";
  const Case Cases[] = {
      {"variables.txt", Good + "Bad {123} 7 01\n", 0, EFI_LOAD_ERROR,
       "hiiprovider: variables.txt: line 2: bad GUID '{123}'"},
      {"variables.txt", Good + "Odd {C7F7C970-FCFF-455D-A884-F67C0E300856} 7 012\n", 0, EFI_LOAD_ERROR,
       "line 2: data is not an even number of hex digits"},
      {"hii.bin", "", 16 * 1024 * 1024 + 1, EFI_BAD_BUFFER_SIZE, "hii.bin is larger than 16777216 bytes"},
  };
  for (const Case &C : Cases) {
    const std::string Path = Folder() + "/" + C.File;
    WriteHostFile(Path, C.Contents);
    if (C.SparseSize != 0) fs::resize_file(Path, C.SparseSize);
    Fw().ClearConsole();
    EXPECT_EQ(Load(), C.Status) << C.Said;
    EXPECT_TRUE(Says(C.Said)) << Fw().ConsoleText();
    EXPECT_FALSE(Fw().FindVariable(u"Made", platform::gSampleSetupFormSetGuid)) << C.Said;
    EXPECT_TRUE(Fw().HandlesWith(gFrameworkHiiProtocolGuid).empty()) << C.Said;
    EXPECT_TRUE(Fw().HandlesWith(DeviceIoGuid).empty()) << C.Said;
    fs::remove(Path);
  }
}

TEST_F(ProviderImageTest, AVariableTheFirmwareRefusesIsReportedAndTheRestCreated) {
  Fw().FailNthCall(sim::Service::SetVariable, 2, EFI_OUT_OF_RESOURCES);
  ASSERT_EQ(Load(), EFI_SUCCESS);
  const platform::PlatformVariable &Refused = platform::Sample().Variables.at(1);
  EXPECT_FALSE(Fw().FindVariable(Refused.Name, Refused.Guid));
  EXPECT_TRUE(Says("cannot create MemoryConfig {AE776D7C-92CB-4AE2-BF7A-96E00C3E1D8F}: status 0x8000000000000009"));
  EXPECT_TRUE(Says(std::to_string(platform::Sample().Variables.size() - 1) + " created, 0 kept, 1 failed"));
  EXPECT_NE(Hii(), nullptr);
}

// The three installs: the device path, the device I/O stand-in, the HII
// protocol. Whichever fails, the entry point returns its status and takes
// back each one installed before it. (The simulator then drops the image's
// handle with all it carries; firmware would leave such interfaces behind,
// pointing into the unloaded image, so the uninstalls are counted.)
TEST_F(ProviderImageTest, AFailedInstallTakesBackWhatWasInstalled) {
  for (uint64_t Failing = 1; Failing <= 3; ++Failing) {
    Fw().FailNthCall(sim::Service::InstallProtocolInterface, Failing, EFI_OUT_OF_RESOURCES);
    Fw().ClearConsole();
    const uint64_t UninstallsBefore = Fw().Calls(sim::Service::UninstallProtocolInterface);
    EXPECT_EQ(Load(), EFI_OUT_OF_RESOURCES) << "install " << Failing;
    Fw().ClearFaults();
    EXPECT_EQ(Fw().Calls(sim::Service::UninstallProtocolInterface) - UninstallsBefore, Failing - 1)
        << "install " << Failing;
    EXPECT_TRUE(Says("installing the protocols failed: status 0x8000000000000009")) << Fw().ConsoleText();
    EXPECT_TRUE(Fw().HandlesWith(gFrameworkHiiProtocolGuid).empty()) << "install " << Failing;
  }
}

TEST_F(ProviderImageTest, UnloadRemovesItsProtocolsAndALaterLoadFindsTheVariables) {
  const size_t BlocksBefore = Fw().LivePoolBlocks();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  ASSERT_EQ(Fw().UnloadImage(Provider), EFI_SUCCESS);
  Provider = nullptr;
  EXPECT_TRUE(Fw().HandlesWith(gFrameworkHiiProtocolGuid).empty());
  EXPECT_TRUE(Fw().HandlesWith(DeviceIoGuid).empty());
  EXPECT_EQ(Fw().LivePoolBlocks(), BlocksBefore);

  Fw().ClearConsole();
  ASSERT_EQ(Load(), EFI_SUCCESS);
  EXPECT_EQ(Exported(Hii()), platform::Sample().Export);
  EXPECT_TRUE(Says("0 created, " + std::to_string(platform::Sample().Variables.size()) + " kept, 0 failed"));
}

}  // namespace
