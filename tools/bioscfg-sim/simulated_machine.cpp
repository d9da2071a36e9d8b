#include "tools/bioscfg-sim/simulated_machine.h"

#include "sim/bioscfg_image.h"
#include "tools/strc/catalog_image.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace bioscfgsim {

// {158DEF5A-F656-419C-B027-7A3192C079D2}: where the UEFI Shell keeps `set` values.
static constexpr EFI_GUID kShellVariableGuid = {
    0x158def5a, 0xf656, 0x419c, {0xb0, 0x27, 0x7a, 0x31, 0x92, 0xc0, 0x79, 0xd2}};

std::string StatusText(EFI_STATUS Status) {
  char Text[32];
  std::snprintf(Text, sizeof Text, "0x%016llX", static_cast<unsigned long long>(Status));
  return Text;
}

SimulatedMachine::~SimulatedMachine() {
  if (Fw && Driver != nullptr) {
    if (Interface != nullptr) Interface->CloseSession(Interface);
    (void)Fw->UnloadImage(Driver);
  }
  Fw.reset();
  if (!Volume.empty()) {
    std::error_code Ignored;
    fs::remove_all(Volume, Ignored);
  }
}

bool SimulatedMachine::Start(const PlatformInput &Platform, const std::string &MessagesPath,
                             std::string &Error) {
  std::string Pattern = (fs::temp_directory_path() / "bioscfg-sim-XXXXXX").string();
  if (mkdtemp(Pattern.data()) == nullptr) {
    Error = "cannot make a temporary folder";
    return false;
  }
  Volume = Pattern;
  fs::create_directories(fs::path(Volume) / "tools");
  if (!strc::WriteCatalogFromSource(MessagesPath, (fs::path(Volume) / "tools" / "bioscfg.str").string(), Error))
    return false;

  Fw = std::make_unique<sim::Firmware>();
  Fw->MountVolume(Volume);
  // The Shell stores `set` values as UCS-2 without a terminating NUL.
  std::vector<uint8_t> Path;
  for (char C : std::string("fs0:\\tools")) {
    Path.push_back(static_cast<uint8_t>(C));
    Path.push_back(0);
  }
  Fw->PutVariable(u"TORVEL_PATH", kShellVariableGuid,
                  EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS, Path);
  Fw->InstallHii(Platform.Export, Platform.HiiProtocolGuid);
  for (const auto &V : Platform.Variables) Fw->PutVariable(V.Name, V.Guid, V.Attributes, V.Data);

  Fw->RegisterImage(sim::BioscfgImage());
  EFI_STATUS Status = Fw->LoadAndStart("fs0:\\tools\\bioscfg.efi", &Driver);
  if (Status != EFI_SUCCESS) {
    Error = "the driver did not start: " + StatusText(Status);
    return false;
  }
  EFI_GUID Guid = BIOS_CONFIG_PROTOCOL_GUID;
  void *Found = nullptr;
  Status = Fw->SystemTable()->BootServices->LocateProtocol(&Guid, nullptr, &Found);
  if (Status != EFI_SUCCESS || Found == nullptr) {
    Error = "the driver's protocol is not installed: " + StatusText(Status);
    return false;
  }
  Interface = static_cast<BIOS_CONFIG_PROTOCOL *>(Found);
  return true;
}

bool SimulatedMachine::OpenSession(std::string &Error) {
  EFI_STATUS Status = Interface->OpenSession(Interface);
  if (Status == EFI_SUCCESS) return true;
  Error = "OpenSession failed: " + StatusText(Status);
  return false;
}

}  // namespace bioscfgsim
