// UTF-8 of one code point.
#pragma once

#include <cstdint>

namespace qv {

// Codes from here on have no UTF-8 form (four bytes hold 21 bits).
constexpr uint32_t kUtf8CodeLimit = 0x200000;

// Stores the 1 to 4 bytes of a code and returns their number; 0 from kUtf8CodeLimit on. Surrogates
// are codes like any other.
inline uint32_t EncodeUtf8(uint32_t code, uint8_t* out) {
  const auto tail = [code](int shift) {
    return static_cast<uint8_t>(0x80 | ((code >> shift) & 0x3F));
  };
  if (code < 0x80) {
    out[0] = static_cast<uint8_t>(code);
    return 1;
  }
  if (code < 0x800) {
    out[0] = static_cast<uint8_t>(0xC0 | code >> 6);
    out[1] = tail(0);
    return 2;
  }
  if (code < 0x10000) {
    out[0] = static_cast<uint8_t>(0xE0 | code >> 12);
    out[1] = tail(6);
    out[2] = tail(0);
    return 3;
  }
  if (code >= kUtf8CodeLimit) return 0;
  out[0] = static_cast<uint8_t>(0xF0 | code >> 18);
  out[1] = tail(12);
  out[2] = tail(6);
  out[3] = tail(0);
  return 4;
}

}  // namespace qv
