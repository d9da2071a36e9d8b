#include "sim/crc32.h"

namespace sim {

uint32_t Crc32(const void *Data, size_t Size) {
  const auto *Bytes = static_cast<const uint8_t *>(Data);
  uint32_t Crc = 0xFFFFFFFFu;
  for (size_t Index = 0; Index < Size; ++Index) {
    Crc ^= Bytes[Index];
    for (int Bit = 0; Bit < 8; ++Bit) Crc = (Crc >> 1) ^ (0xEDB88320u & (0u - (Crc & 1u)));
  }
  return ~Crc;
}

}  // namespace sim
