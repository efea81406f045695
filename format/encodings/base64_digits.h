// The 64 digits of Base64 and of UTF-7's runs.
#pragma once

#include <cstdint>

namespace qv {

constexpr char kBase64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The value of a digit, 0 to 63; -1 for any other byte.
constexpr int Base64Value(uint8_t byte) {
  if (byte >= 'A' && byte <= 'Z') return byte - 'A';
  if (byte >= 'a' && byte <= 'z') return byte - 'a' + 26;
  if (byte >= '0' && byte <= '9') return byte - '0' + 52;
  if (byte == '+') return 62;
  return byte == '/' ? 63 : -1;
}

}  // namespace qv
