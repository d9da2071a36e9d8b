// What the simulated Config Routing reads from a package list's forms, as
// EDK2's routing does: the buffer stores the forms declare, and for each
// the questions that live in it (offset, width, default), from which it
// makes the full request for a <ConfigHdr> that names no elements and the
// ALTCFG section of default values it appends to an answer.
#pragma once

#include "runtime/uefi.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct ScannedField {
  uint16_t Offset = 0;
  uint16_t Width = 0;
  std::optional<uint64_t> Default;
};

struct ScannedStore {
  EFI_GUID Guid{};
  uint16_t Id = 0;
  uint16_t Size = 0;
  std::u16string Name;
  std::vector<ScannedField> Fields;  // in IFR order
};

// The buffer stores (EFI_IFR_VARSTORE) of every form package in the package
// list at List (Size bytes, header included). Malformed input ends the scan
// where it stops making sense.
std::vector<ScannedStore> ScanBufferStores(const uint8_t *List, size_t Size);

// The device path package's path (up to and including its end node), or
// nullopt when the list has none.
std::optional<std::vector<uint8_t>> PackageListDevicePath(const uint8_t *List, size_t Size);

}  // namespace sim
