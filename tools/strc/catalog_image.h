// The binary message catalog file read by the driver (bioscfg.str).
//
// Layout, all integers little-endian, characters UCS-2 little-endian:
//   UINT32 MessageCount
//   UINT32 MessageOffset[MessageCount]   byte offset of each text
//   UINT32 MessageLength[MessageCount]   characters of each text, NUL included
//   texts, message 0 first, back to back, each ending with a NUL character
//   one balancing 16-bit word, only when the words above do not already sum
//   to 0 modulo 0x10000 (the reader checks that the whole file sums to 0)
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace strc {

std::vector<uint8_t> BuildCatalogImage(const std::vector<std::u16string> &Messages);

// Sum of the image read as 16-bit little-endian words (a final odd byte is
// not counted), modulo 0x10000.
uint16_t CatalogWordSum(const std::vector<uint8_t> &Image);

// Reads SourcePath, builds the catalog and writes it to OutputPath.
// Returns false with a readable reason in Error.
bool WriteCatalogFromSource(const std::string &SourcePath, const std::string &OutputPath,
                            std::string &Error);

}  // namespace strc
