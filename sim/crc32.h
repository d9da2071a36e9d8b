// CRC-32 (IEEE 802.3, the UEFI table-header and CalculateCrc32 checksum).
#pragma once

#include <cstddef>
#include <cstdint>

namespace sim {

uint32_t Crc32(const void *Data, size_t Size);

}  // namespace sim
