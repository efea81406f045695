// The walk of every CRC whose most significant bit comes first: eight bytes a step, with a table
// for each of the eight places. The register stands in the top bits of 64, so that one walk serves
// every width; the bits below it stay 0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "format/encodings/byte_order.h"

namespace qv {

// at[n][b]: what byte b becomes when n bytes of zeros come after it.
struct CrcTables {
  uint64_t at[8][256];
};

// `polynomial` at the top of the 64 bits.
constexpr void FillCrcTables(CrcTables& tables, uint64_t polynomial) {
  for (uint64_t byte = 0; byte < 256; ++byte) {
    uint64_t value = byte << 56;
    for (int bit = 0; bit < 8; ++bit) value = value << 1 ^ (value >> 63 != 0 ? polynomial : 0);
    tables.at[0][byte] = value;
  }
  for (int zeros = 1; zeros < 8; ++zeros) {
    for (int byte = 0; byte < 256; ++byte) {
      const uint64_t value = tables.at[zeros - 1][byte];
      tables.at[zeros][byte] = value << 8 ^ tables.at[0][value >> 56];
    }
  }
}

// kNarrow: the register has 16 bits at most. Then only two of the bytes wait for the step before.
template <bool kNarrow = false>
uint64_t ExtendCrc(const CrcTables& tables, uint64_t crc, const uint8_t* bytes, size_t count) {
  const auto& at = tables.at;
  for (; count >= 8; bytes += 8, count -= 8) {
    const uint64_t text = LoadBig<uint64_t>(bytes), mixed = text ^ crc;
    const uint64_t rest = kNarrow ? text : mixed;
    crc = at[7][mixed >> 56] ^ at[6][mixed >> 48 & 0xFF] ^ at[5][rest >> 40 & 0xFF] ^
          at[4][rest >> 32 & 0xFF] ^ at[3][rest >> 24 & 0xFF] ^ at[2][rest >> 16 & 0xFF] ^
          at[1][rest >> 8 & 0xFF] ^ at[0][rest & 0xFF];
  }
  for (; count > 0; ++bytes, --count) crc = at[0][crc >> 56 ^ *bytes] ^ crc << 8;
  return crc;
}

}  // namespace qv
