// A simulated machine with the driver running on a given platform, set up
// the way a deployment is: fs0: holds tools\bioscfg.str, TORVEL_PATH is
// "fs0:\tools" as the UEFI Shell's `set` stores it, the HII export and the
// setup variables are installed, and the driver is loaded and started from
// fs0:\tools. The temporary folder behind fs0: is removed on destruction.
#pragma once

#include "bioscfg_protocol.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"
#include "tools/bioscfg-sim/platform_files.h"

#include <memory>
#include <string>
#include <vector>

namespace bioscfgsim {

class SimulatedMachine {
 public:
  SimulatedMachine() = default;
  ~SimulatedMachine();
  SimulatedMachine(const SimulatedMachine &) = delete;
  SimulatedMachine &operator=(const SimulatedMachine &) = delete;

  // MessagesPath is the catalog's text source. False with a reason in Error.
  // The platform's export moves into the firmware (it may be megabytes).
  [[nodiscard]] bool Start(PlatformInput Platform, const std::string &MessagesPath, std::string &Error);
  // Opens a session through the protocol; false with a reason in Error.
  [[nodiscard]] bool OpenSession(std::string &Error);

  // Runs bioscfg-tool.efi from fs0:\tools with these Shell arguments, as a
  // user would at the Shell prompt. Its console output, lines ending in LF,
  // goes to Output; the result is the status the tool ended with.
  [[nodiscard]] EFI_STATUS RunTool(const std::vector<std::string> &Arguments, std::string &Output);
  // The current contents of the platform's variables (those it started
  // with, by name and GUID, as the firmware holds them now).
  std::vector<platform::PlatformVariable> CurrentVariables() const;

  // The host folder behind fs0:\tools, the TORVEL_PATH folder.
  std::string ToolsFolder() const;

  BIOS_CONFIG_PROTOCOL *Protocol() const { return Interface; }
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions() const { return ExtensionsInterface; }
  sim::Firmware &Firmware() { return *Fw; }

 private:
  std::vector<platform::PlatformVariable> StartVariables;
  std::unique_ptr<sim::Firmware> Fw;
  std::unique_ptr<sim::TempFolder> Folder;  // fs0:, removed after the firmware
  EFI_HANDLE Driver = nullptr;
  BIOS_CONFIG_PROTOCOL *Interface = nullptr;
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *ExtensionsInterface = nullptr;
};

// "0x8000000000000003 (Unsupported)"-style text for a status.
std::string StatusText(EFI_STATUS Status);

}  // namespace bioscfgsim
