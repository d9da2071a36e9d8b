// Little-endian, unaligned byte helpers for assembling, patching and
// reading Framework HII structures on the host (tests and tools). The
// fields are encoded by the core's little_endian.h.
#pragma once

#include "runtime/uefi.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace hiibuild {

using Bytes = std::vector<uint8_t>;

// Appends values to a growing byte image (hand-made, often malformed,
// structures in tests).
class ByteWriter {
 public:
  ByteWriter &U8(uint8_t V) { Out.push_back(V); return *this; }
  ByteWriter &U16(uint16_t V);
  ByteWriter &U32(uint32_t V);
  ByteWriter &U64(uint64_t V);
  ByteWriter &Guid(const EFI_GUID &G);
  // UCS-2 text followed by a 16-bit NUL.
  ByteWriter &WideZ(const std::u16string &Text);
  // 8-bit text followed by a NUL.
  ByteWriter &AsciiZ(const std::string &Text);
  ByteWriter &Append(const Bytes &More) { Out.insert(Out.end(), More.begin(), More.end()); return *this; }

  size_t Size() const { return Out.size(); }
  const Bytes &Data() const { return Out; }
  Bytes Take() { return std::move(Out); }

 private:
  // Room for Count more bytes at the end; where they go.
  uint8_t *Grow(size_t Count);
  Bytes Out;
};

// Patching and reading at a byte offset; throw std::out_of_range when the
// field does not fit in the image.
void PutU32(Bytes &Image, size_t Offset, uint32_t Value);
uint16_t GetU16(const Bytes &Image, size_t Offset);
uint32_t GetU32(const Bytes &Image, size_t Offset);
EFI_GUID GetGuid(const Bytes &Image, size_t Offset);
// The NUL-terminated UCS-2 text at Offset (without the NUL).
std::u16string GetWideZ(const Bytes &Image, size_t Offset);

// A GUID copied from wherever it lies: GUIDs inside HII exports are packed
// and need not be 4-byte aligned, so they are never read through an
// EFI_GUID reference.
EFI_GUID ReadGuid(const void *Address);
// UCS-2 text read unit by unit from a possibly odd address: Length units,
// or up to the NUL.
std::u16string ReadWide(const void *Address, size_t Length);
std::u16string ReadWideZ(const void *Address);

bool GuidsEqual(const EFI_GUID &A, const EFI_GUID &B);
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case.
std::string GuidToString(const EFI_GUID &G);
// Accepts the form above with or without braces, any case; false when the
// text is not a GUID.
[[nodiscard]] bool ParseGuid(const std::string &Text, EFI_GUID &Out);

}  // namespace hiibuild
