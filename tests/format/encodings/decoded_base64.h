// The bytes of a Base64 text, decoded bit by bit and strictly: what an encoder wrote is judged by
// it.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace test {

// Nothing when the text is not what RFC 4648 asks for: whole groups, zero bits before the padding,
// the separator behind every 64 characters that more follow, and nowhere else.
inline std::optional<std::string> DecodedBase64(std::string_view text, std::string_view separator) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes, line;
  uint32_t bits = 0, count = 0, pads = 0, column = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    if (column == 64) {
      if (text.substr(at, separator.size()) != separator) return std::nullopt;
      at += separator.size();
      column = 0;
      if (at >= text.size()) return std::nullopt;
    }
    ++column;
    const char* digit = text[at] == '\0' ? nullptr : std::strchr(digits, text[at]);
    if (text[at] == '=') {
      ++pads;
    } else if (digit == nullptr || pads > 0) {
      return std::nullopt;
    }
    bits = bits << 6 | (digit != nullptr ? static_cast<uint32_t>(digit - digits) : 0);
    if (++count % 4 != 0) continue;
    for (int shift = 16; shift >= 0; shift -= 8) bytes += static_cast<char>(bits >> shift);
    bits = 0;
  }
  if (count % 4 != 0 || pads > 2 || bytes.size() < pads) return std::nullopt;
  for (; pads > 0; --pads, bytes.pop_back()) {
    if (bytes.back() != '\0') return std::nullopt;
  }
  return bytes;
}

}  // namespace test
