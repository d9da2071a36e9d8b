// The sample server platform: its setup forms as a Framework HII export and
// the default contents of the setup variables behind them.
//
// Three form sets, one data table each:
//   Setup (Main 1, Advanced 2 with sub-forms 21..27 and Memory RAS 221,
//     Security 3): variables "Setup", "MemoryConfig" and "IoConfig", named by
//     variable packs and chosen with varstore opcodes; strings "eng", "fra".
//   Server Management (Server Management 4, Console Redirection 41, Hardware
//     Monitor 5): no variable packs, so its questions use "Setup" under this
//     form set's GUID.
//   Boot (Boot Options 6, Boot Manager 7, Error Manager 8): variable
//     "BootConfig"; its string packs list "fra" before "eng".
// Form identifiers nest by tens: form 10 * P + k is a sub-form of form P.
#pragma once

#include "runtime/uefi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

inline constexpr EFI_GUID gSampleSetupFormSetGuid = {
    0xc7f7c970, 0xfcff, 0x455d, {0xa8, 0x84, 0xf6, 0x7c, 0x0e, 0x30, 0x08, 0x56}};
inline constexpr EFI_GUID gSampleMemoryConfigGuid = {
    0xae776d7c, 0x92cb, 0x4ae2, {0xbf, 0x7a, 0x96, 0xe0, 0x0c, 0x3e, 0x1d, 0x8f}};
inline constexpr EFI_GUID gSampleIoConfigGuid = {
    0x43f431e9, 0x20af, 0x45d0, {0x92, 0x8e, 0x6a, 0xe8, 0x28, 0x9a, 0x70, 0x36}};
inline constexpr EFI_GUID gSampleServerMgmtFormSetGuid = {
    0x1607e546, 0x419e, 0x4e83, {0xa6, 0xcf, 0xe7, 0xda, 0xfc, 0xa7, 0x8b, 0x48}};
inline constexpr EFI_GUID gSampleBootFormSetGuid = {
    0x892eb65e, 0x6e81, 0x4e89, {0x83, 0xda, 0xc6, 0x87, 0x2f, 0xd2, 0x69, 0x3f}};

// Non-volatile, boot-service and runtime access.
inline constexpr uint32_t SAMPLE_VARIABLE_ATTRIBUTES = 0x7;

struct PlatformVariable {
  std::u16string Name;
  EFI_GUID Guid{};
  uint32_t Attributes = SAMPLE_VARIABLE_ATTRIBUTES;
  std::vector<uint8_t> Data;
};

// One one-of, checkbox or numeric question as the platform defines it.
struct PlatformQuestion {
  uint8_t OpCode = 0;  // 0x05, 0x06 or 0x07
  std::u16string Prompt;
  uint16_t FormId = 0;
  std::u16string VariableName;
  EFI_GUID VariableGuid{};
  uint16_t Offset = 0;
  uint8_t Width = 0;
  uint32_t Default = 0;
  std::vector<uint16_t> OptionValues;  // one-of options in IFR order
};

struct PlatformForm {
  uint16_t Id = 0;
  std::u16string Title;
};

struct SamplePlatform {
  std::vector<uint8_t> Export;  // classic header (16-bit table count)
  EFI_GUID HiiProtocolGuid{};   // the protocol that serves Export
  std::vector<EFI_GUID> FormSetGuids;
  std::vector<PlatformVariable> Variables;
  std::vector<PlatformForm> Forms;          // in IFR order
  std::vector<PlatformQuestion> Questions;  // in IFR order
};

// Built on first use, then shared.
const SamplePlatform &Sample();

// The variable's default contents, or nullptr.
const PlatformVariable *FindSampleVariable(const std::u16string &Name, const EFI_GUID &Guid);
// The first question with this prompt on this form, or nullptr.
const PlatformQuestion *FindSampleQuestion(const std::u16string &Prompt, uint16_t FormId);

}  // namespace platform
