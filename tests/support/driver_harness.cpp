#include "tests/support/driver_harness.h"

#include "simimages/images.h"
#include "tools/strc/catalog_image.h"
#include "tools/strc/catalog_source.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

const EFI_GUID kFrameworkHiiProtocolGuid = {
    0xEA816D2C, 0xCEE5, 0x4F02, {0x99, 0xB5, 0xD3, 0x90, 0x5C, 0xBB, 0xD0, 0x77}};

namespace {

// The repository root (tests/support/CMakeLists.txt).
fs::path SourceRoot() { return fs::path(BIOSCFG_SOURCE_DIR); }

}  // namespace

const std::vector<std::u16string> &DriverMessages() {
  static const std::vector<std::u16string> Messages = [] {
    std::ifstream In(SourceRoot() / "messages" / "bioscfg.messages", std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    strc::SourceParseResult Parsed = strc::ParseCatalogSource(Text.str());
    if (!Parsed.Ok) throw std::runtime_error("bioscfg.messages: " + Parsed.Error);
    return Parsed.Messages;
  }();
  return Messages;
}

std::vector<uint8_t> DriverCatalogImage() { return strc::BuildCatalogImage(DriverMessages()); }

std::vector<uint8_t> EmptyHiiExport() { return std::vector<uint8_t>(18, 0); }

void DriverTest::SetUp() {
  Firmware = std::make_unique<sim::Firmware>();
  Folder = std::make_unique<sim::TempFolder>("bioscfg-driver");
  ASSERT_FALSE(Folder->Path().empty()) << "cannot make a temporary folder";
  Volume = Folder->Path();
  fs::create_directories(ToolsDir());
  Fw().MountVolume(Volume);
  PlaceCatalog();
  SetTorvelPath(u"fs0:\\tools");
  PreparePlatform();
  // After the platform is complete: with a Shell, fs0: may be another disk.
  ASSERT_TRUE(Fw().InstallImage("fs0:\\tools\\bioscfg.efi", simimages::BioscfgImage()));
  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
}

void DriverTest::TearDown() {
  if (Driver != nullptr) {
    EXPECT_EQ(UnloadDriver(), EFI_SUCCESS);
  }
  EXPECT_EQ(Fw().LivePoolBlocks(), PoolBlocksOfOtherImages()) << "pool blocks left after the driver unloaded";
  EXPECT_EQ(Fw().LivePageRuns(), 0u) << "pages left after the driver unloaded";
  Firmware.reset();
  Folder.reset();
}

std::u16string DriverTest::ErrorText() {
  if (Protocol == nullptr) return {};
  CHAR16 *Text = nullptr;
  if (Protocol->GetLastErrorText(Protocol, &Text) != EFI_SUCCESS || Text == nullptr) return {};
  return std::u16string(reinterpret_cast<const char16_t *>(Text));
}

EFI_STATUS DriverTest::LoadDriver() {
  Protocol = nullptr;
  EFI_HANDLE Handle = nullptr;
  const EFI_STATUS Status = Fw().LoadAndStart("fs0:\\tools\\bioscfg.efi", &Handle);
  if (Status != EFI_SUCCESS) return Status;
  Driver = Handle;
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  void *Interface = nullptr;
  const EFI_STATUS Found = Fw().SystemTable()->BootServices->LocateProtocol(&Guid, nullptr, &Interface);
  EXPECT_EQ(Found, EFI_SUCCESS) << "driver started but its protocol is not installed";
  Protocol = static_cast<BIOS_CONFIG_PROTOCOL *>(Interface);
  // The second protocol sits on the same handle.
  EFI_GUID ExtensionsGuid = BIOS_CONFIG_EXTENSIONS_PROTOCOL_GUID;
  Interface = nullptr;
  EXPECT_EQ(Fw().SystemTable()->BootServices->HandleProtocol(Handle, &ExtensionsGuid, &Interface), EFI_SUCCESS)
      << "the driver's second protocol is not on its handle";
  ExtensionsProtocol = static_cast<BIOS_CONFIG_EXTENSIONS_PROTOCOL *>(Interface);
  return Status;
}

EFI_STATUS DriverTest::UnloadDriver() {
  const EFI_STATUS Status = Fw().UnloadImage(Driver);
  if (Status == EFI_SUCCESS) {
    Driver = nullptr;
    Protocol = nullptr;
    ExtensionsProtocol = nullptr;
  }
  return Status;
}

EFI_STATUS DriverTest::ReloadDriver() {
  if (Driver != nullptr) {
    const EFI_STATUS Status = UnloadDriver();
    if (Status != EFI_SUCCESS) return Status;
  }
  return LoadDriver();
}

void DriverTest::PlaceCatalogBytes(const std::vector<uint8_t> &Bytes, const std::string &Folder) {
  const fs::path Dir = Folder.empty() ? fs::path(ToolsDir()) : fs::path(Folder);
  fs::create_directories(Dir);
  std::ofstream Out(Dir / "bioscfg.str", std::ios::binary | std::ios::trunc);
  Out.write(reinterpret_cast<const char *>(Bytes.data()), static_cast<std::streamsize>(Bytes.size()));
}

void DriverTest::RemoveCatalog() { fs::remove(fs::path(ToolsDir()) / "bioscfg.str"); }

void DriverTest::SetTorvelPath(const std::u16string &Value) {
  Fw().SetShellVariable(u"TORVEL_PATH", Value);
}

void DriverTest::RemoveTorvelPath() {
  EFI_GUID Guid = sim::ShellVariableGuid;
  CHAR16 Name[] = {'T', 'O', 'R', 'V', 'E', 'L', '_', 'P', 'A', 'T', 'H', 0};
  Fw().SystemTable()->RuntimeServices->SetVariable(Name, &Guid, 0, 0, nullptr);
}

void DriverTest::InstallEmptyHii() { Fw().InstallHii(EmptyHiiExport(), kFrameworkHiiProtocolGuid); }
