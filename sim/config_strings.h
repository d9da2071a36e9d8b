// Config Routing's text, as the simulated firmware and its drivers write and
// read it: <ConfigHdr> = GUID=...&NAME=...&PATH=..., then OFFSET/WIDTH
// elements, each with a VALUE in an answer or a change.
//
// Written as EDK2's HII library writes it: hex digits in lower case, the
// GUID and device path byte by byte in memory order, the name four digits
// per unit, a VALUE's bytes last byte first. Matching a header compares the
// GUID and NAME text as it is, case and all, as the drivers built on that
// library do.
#pragma once

#include "runtime/uefi.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

std::u16string ConfigHeader(const EFI_GUID &Guid, const std::u16string &Name, const std::vector<uint8_t> &DevicePath);

// One OFFSET/WIDTH element, with the VALUE bytes in memory order when the
// text had one.
struct ConfigElement {
  uint64_t Offset = 0;
  uint64_t Width = 0;
  std::optional<std::vector<uint8_t>> Value;
};

// One <ConfigHdr> and what follows it up to the next "&GUID=".
struct ConfigBlock {
  std::u16string Header;   // "GUID=...&NAME=...&PATH=..." as written
  std::u16string Guid;     // the hex text after GUID=
  std::u16string Name;     // the hex text after NAME=
  std::vector<uint8_t> Path;
  std::optional<std::u16string> AltCfg;  // the text after ALTCFG=, when present
  std::vector<ConfigElement> Elements;
  size_t Start = 0;  // of the block within the whole text
};

// Splits Text into blocks; nullopt (and the index where reading stopped in
// *Failed) when it is not well formed: an element with a bad number, a
// VALUE whose digits are not 2 * WIDTH, an unknown field.
std::optional<std::vector<ConfigBlock>> ParseConfig(const std::u16string &Text, size_t *Failed = nullptr);

// Hex text of the bytes of Guid and of Name, as ConfigHeader writes them.
std::u16string GuidHex(const EFI_GUID &Guid);
std::u16string NameHex(const std::u16string &Name);

// "&OFFSET=<o>&WIDTH=<w>", and with "&VALUE=<bytes last first>" for
// Bytes[Offset, Offset + Width) (bytes past the end count as 0).
std::u16string RequestElement(uint64_t Offset, uint64_t Width);
std::u16string ValueElement(uint64_t Offset, uint64_t Width, const std::vector<uint8_t> &Bytes);

// Caller strings have no size: the text up to its NUL, or nullopt when no NUL
// comes within Max units.
std::optional<std::u16string> ReadConfigText(const CHAR16 *Text, size_t Max = 1 << 20);

}  // namespace sim
