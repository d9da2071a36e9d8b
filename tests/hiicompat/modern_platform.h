// Helpers for the compatibility image's tests: a simulated UEFI 2.x
// firmware (no Framework HII, no root device I/O; an HII database, Config
// Routing and a PCI root bridge), form sets written with the UEFI package
// list builder, and a fixture that runs the real driver after hiicompat.
#pragma once

#include "forms/setup_question.h"
#include "sim/temp_folder.h"
#include "tests/support/driver_harness.h"
#include "tools/uefihii/uefi_package_builder.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace compat_test {

using uefihii::Bytes;

inline constexpr EFI_GUID kFormSetGuid = {0x11f2c7a0, 0x5d3e, 0x4b21, {0x90, 0x1a, 0x6c, 0x2e, 0x7b, 0x44, 0x08, 0xd1}};
inline constexpr EFI_GUID kStoreGuid = {0x2a6b8e13, 0x0c47, 0x4f9d, {0xa5, 0x3e, 0x71, 0x0b, 0x9c, 0x26, 0xe4, 0x58}};
inline constexpr EFI_GUID kOwnerGuid = {0x3d10f5b2, 0x68a9, 0x4c0e, {0x8b, 0x77, 0x25, 0xd4, 0x91, 0x3a, 0xc6, 0x0f}};
inline constexpr EFI_GUID kListGuid = {0x4e7a2c91, 0x3b58, 0x4d16, {0x9f, 0x02, 0x88, 0x5d, 0x1e, 0x6b, 0xa3, 0x74}};
inline constexpr UINT32 kEfiStoreAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

// What simulated UEFI 2.x firmware has and lacks.
void MakeModern(sim::Firmware &Fw);

// One form set in one package list, with its strings: S(u"text") adds a
// string and returns its id.
struct FormSetWriter {
  uefihii::IfrWriter Ifr;
  uefihii::StringPackage Strings;
  EFI_STRING_ID S(const std::u16string &Text) { return Strings.Add(Text); }
  // The package list: forms, strings (and more string packages when given).
  Bytes List(const EFI_GUID &Guid = kListGuid, const std::vector<uefihii::StringPackage> &More = {}) const;
};

// hiicompat alone on simulated UEFI 2.x firmware: fs0: holds the image;
// Load() starts it. TearDown unloads it (when loaded) and expects every
// pool block and page run back.
class CompatImageTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  sim::Firmware &Fw() { return *Firmware; }
  EFI_STATUS Load();
  EFI_STATUS Unload();
  EFI_HANDLE Compat() const { return Handle; }
  // The Framework export hiicompat serves now (two-call ExportDatabase).
  Bytes FrameworkExport();

  // The real driver, started after hiicompat (catalog and TORVEL_PATH in
  // place) with a session open; its parsed forms, in list order; the
  // question record with a prompt, or nullptr.
  void StartDriver();
  BIOS_CONFIG_PROTOCOL *Proto() const { return Driver; }
  std::vector<const SetupQuestion *> Records();
  const SetupQuestion *Record(const std::u16string &Prompt);
  // Makes the driver load the forms afresh at its next operation.
  void ReloadForms();

 private:
  std::unique_ptr<sim::Firmware> Firmware;
  std::unique_ptr<sim::TempFolder> Folder;
  EFI_HANDLE Handle = nullptr;
  EFI_HANDLE DriverImage = nullptr;
  BIOS_CONFIG_PROTOCOL *Driver = nullptr;
};

std::u16string PromptOf(const SetupQuestion *Q);
std::vector<std::u16string> OptionTextsOf(const SetupQuestion *Q);
std::vector<uint32_t> OptionValuesOf(const SetupQuestion *Q);

// The driver after hiicompat on simulated UEFI 2.x firmware. Derived
// fixtures register their forms and owners in AddForms, which runs before
// hiicompat loads.
class CompatDriverTest : public DriverTest {
 protected:
  void SetUp() override;  // then opens a session
  void PreparePlatform() override;
  void TearDown() override;
  virtual void AddForms() {}

  EFI_HANDLE Compat() const { return CompatHandle; }

  // A client's GetSettings of one prompt: EFI_SUCCESS with Value and the
  // option texts, or the status. Found tells whether the driver had it.
  struct Reading {
    EFI_STATUS Status = EFI_SUCCESS;
    bool Found = false;
    uint8_t Type = 0;
    uint32_t Value = 0;
    std::vector<std::u16string> Options;
  };
  Reading Get(const std::u16string &Prompt);
  // SetSettings of one prompt; Applied is the record's status.
  EFI_STATUS Set(const std::u16string &Prompt, uint32_t Value, uint8_t *Applied = nullptr);
  // The value of an option by its text, as a client finds it.
  uint32_t OptionValue(const std::u16string &Prompt, const std::u16string &Text);

 private:
  EFI_HANDLE CompatHandle = nullptr;
};

}  // namespace compat_test
