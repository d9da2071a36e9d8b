// Helpers to take a catalog file apart and damage it in controlled ways.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace catalog_bytes {

inline uint32_t Get32(const std::vector<uint8_t> &B, size_t At) {
  return B[At] | B[At + 1] << 8 | B[At + 2] << 16 | static_cast<uint32_t>(B[At + 3]) << 24;
}
inline void Put32(std::vector<uint8_t> &B, size_t At, uint32_t V) {
  for (int I = 0; I < 4; ++I) B[At + I] = static_cast<uint8_t>(V >> (8 * I));
}
inline uint16_t WordSum(const std::vector<uint8_t> &B) {
  uint16_t Sum = 0;
  for (size_t I = 0; I + 1 < B.size(); I += 2) Sum = static_cast<uint16_t>(Sum + (B[I] | B[I + 1] << 8));
  return Sum;
}
// Appends a word so that the file sums to 0 again (the reader only checks
// the sum, so a damaged file can still pass it).
inline std::vector<uint8_t> Balanced(std::vector<uint8_t> B) {
  if (B.size() % 2 != 0) B.push_back(0);
  const auto Fix = static_cast<uint16_t>(0x10000 - WordSum(B));
  if (Fix != 0) B.insert(B.end(), {static_cast<uint8_t>(Fix), static_cast<uint8_t>(Fix >> 8)});
  return B;
}
inline size_t OffsetEntry(uint32_t N) { return 4 + 4 * N; }
inline size_t LengthEntry(const std::vector<uint8_t> &B, uint32_t N) { return 4 + 4 * (Get32(B, 0) + N); }

}  // namespace catalog_bytes
