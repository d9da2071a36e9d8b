#include "tools/bioscfg-sim/simulated_machine.h"

#include "sim/text.h"
#include "simimages/images.h"
#include "tools/strc/catalog_image.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace bioscfgsim {


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
}

bool SimulatedMachine::Start(PlatformInput Platform, const std::string &MessagesPath,
                             std::string &Error) {
  Folder = std::make_unique<sim::TempFolder>("bioscfg-sim");
  if (Folder->Path().empty()) {
    Error = "cannot make a temporary folder";
    return false;
  }
  const std::string &Volume = Folder->Path();
  fs::create_directories(fs::path(Volume) / "tools");
  if (!strc::WriteCatalogFromSource(MessagesPath, (fs::path(Volume) / "tools" / "bioscfg.str").string(), Error))
    return false;

  Fw = std::make_unique<sim::Firmware>();
  Fw->MountVolume(Volume);
  Fw->SetShellVariable(u"TORVEL_PATH", u"fs0:\\tools");
  Fw->InstallHii(std::move(Platform.Export), Platform.HiiProtocolGuid);
  for (const auto &V : Platform.Variables) Fw->PutVariable(V.Name, V.Guid, V.Attributes, V.Data);
  StartVariables = Platform.Variables;
  if (!Fw->InstallImage("fs0:\\tools\\bioscfg-tool.efi", simimages::ToolImage()) ||
      !Fw->InstallImage("fs0:\\tools\\iniparse.efi", simimages::IniparseImage()) ||
      !Fw->InstallImage("fs0:\\tools\\bioscfg.efi", simimages::BioscfgImage())) {
    Error = "cannot place the images on fs0:";
    return false;
  }

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
  EFI_GUID ExtensionsGuid = BIOS_CONFIG_EXTENSIONS_PROTOCOL_GUID;
  Found = nullptr;
  Status = Fw->SystemTable()->BootServices->HandleProtocol(Driver, &ExtensionsGuid, &Found);
  if (Status != EFI_SUCCESS || Found == nullptr) {
    Error = "the driver's second protocol is not installed: " + StatusText(Status);
    return false;
  }
  ExtensionsInterface = static_cast<BIOS_CONFIG_EXTENSIONS_PROTOCOL *>(Found);
  return true;
}

bool SimulatedMachine::OpenSession(std::string &Error) {
  EFI_STATUS Status = Interface->OpenSession(Interface);
  if (Status == EFI_SUCCESS) return true;
  Error = "OpenSession failed: " + StatusText(Status);
  return false;
}

}  // namespace bioscfgsim

namespace bioscfgsim {

EFI_STATUS SimulatedMachine::RunTool(const std::vector<std::string> &Arguments, std::string &Output) {
  EFI_HANDLE Tool = nullptr;
  EFI_STATUS Status = Fw->LoadImageFile("fs0:\\tools\\bioscfg-tool.efi", &Tool);
  if (Status != EFI_SUCCESS) return Status;
  std::vector<std::u16string> Wide;
  for (const std::string &Argument : Arguments) Wide.push_back(sim::FromUtf8(Argument));
  Status = Fw->SetShellArguments(Tool, Wide);
  if (Status != EFI_SUCCESS) return Status;
  Fw->ClearConsole();
  Status = Fw->StartImage(Tool);
  Output.clear();
  for (char C : Fw->ConsoleText()) {
    if (C != '\r') Output.push_back(C);
  }
  return Status;
}

std::string SimulatedMachine::ToolsFolder() const { return (fs::path(Folder->Path()) / "tools").string(); }

std::vector<platform::PlatformVariable> SimulatedMachine::CurrentVariables() const {
  std::vector<platform::PlatformVariable> Now;
  for (const auto &V : StartVariables) {
    auto Found = Fw->FindVariable(V.Name, V.Guid);
    if (Found) Now.push_back(platform::PlatformVariable{V.Name, V.Guid, Found->Attributes, Found->Data});
  }
  return Now;
}

}  // namespace bioscfgsim
