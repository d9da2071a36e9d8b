// DriverTest: the bioscfg driver loaded into a fresh simulated firmware and
// reached like a client, through BIOS_CONFIG_PROTOCOL found by its GUID.
//
// SetUp builds the platform a real deployment has: fs0: (a temporary host
// folder) with tools\bioscfg.str written from messages/bioscfg.messages,
// TORVEL_PATH = "fs0:\tools" stored as the UEFI Shell's `set` stores it,
// and the driver image registered, loaded from fs0:\tools and started.
// Derived fixtures add to the platform in PreparePlatform() (an HII export,
// variables), which runs before the driver starts. TearDown unloads the
// driver and expects the simulator to hold no pool blocks or pages.
#pragma once

#include "bioscfg_protocol.h"
#include "sim/firmware.h"
#include "sim/temp_folder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// {EA816D2C-CEE5-4F02-99B5-D3905CBBD077}
extern const EFI_GUID kFrameworkHiiProtocolGuid;

// The driver's message texts, parsed from messages/bioscfg.messages, and the
// catalog file made from them.
const std::vector<std::u16string> &DriverMessages();
std::vector<uint8_t> DriverCatalogImage();
// An HII export that holds no data tables: forms load, with no questions.
std::vector<uint8_t> EmptyHiiExport();

class DriverTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Runs after fs0:, the catalog and TORVEL_PATH exist, before the driver starts.
  virtual void PreparePlatform() {}
  // Pool blocks that other images keep after the driver unloads (an image
  // that stays resident, such as the INI parser): not the driver's leaks.
  virtual size_t PoolBlocksOfOtherImages() { return 0; }

  sim::Firmware &Fw() { return *Firmware; }
  // The installed interface, or nullptr when the driver is not running.
  BIOS_CONFIG_PROTOCOL *Proto() const { return Protocol; }
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions() const { return ExtensionsProtocol; }
  EFI_HANDLE DriverHandle() const { return Driver; }

  // GetLastErrorText through the protocol: the text, or empty when the
  // driver has none to hand out (or refuses).
  std::u16string ErrorText();

  // Driver lifecycle. LoadDriver returns the start status and, on success,
  // finds the protocol again; UnloadDriver returns UnloadImage's status.
  EFI_STATUS LoadDriver();
  EFI_STATUS UnloadDriver();
  EFI_STATUS ReloadDriver();
  // The driver went away other than through UnloadDriver.
  void ForgetDriver() {
    Driver = nullptr;
    Protocol = nullptr;
    ExtensionsProtocol = nullptr;
  }

  // fs0: and the catalog file.
  std::string VolumeDir() const { return Volume; }
  std::string ToolsDir() const { return Volume + "/tools"; }
  void PlaceCatalog() { PlaceCatalogBytes(DriverCatalogImage()); }
  void PlaceCatalogBytes(const std::vector<uint8_t> &Bytes, const std::string &Folder = "");
  void RemoveCatalog();

  // TORVEL_PATH as the Shell stores it (UCS-2, no NUL). The driver's runtime
  // reads it at start-up: reload the driver to make a change visible.
  void SetTorvelPath(const std::u16string &Value);
  void RemoveTorvelPath();

  // Installs EmptyHiiExport() under the Framework HII protocol GUID.
  void InstallEmptyHii();

 private:
  std::unique_ptr<sim::Firmware> Firmware;
  std::unique_ptr<sim::TempFolder> Folder;
  std::string Volume;
  EFI_HANDLE Driver = nullptr;
  BIOS_CONFIG_PROTOCOL *Protocol = nullptr;
  BIOS_CONFIG_EXTENSIONS_PROTOCOL *ExtensionsProtocol = nullptr;
};
