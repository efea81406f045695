#include "programs/common/escapes.h"

namespace program {
namespace {

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The byte of the escape at `at`, -1 when there is none.
int EscapedByte(std::string_view text, size_t at) {
  if (text[at] != '%' || text.size() - at < 3) return -1;
  int high = DigitValue(text[at + 1]), low = DigitValue(text[at + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

}  // namespace

std::string Unescape(std::string_view text, bool* damaged) {
  std::string bytes;
  bytes.reserve(text.size());
  for (size_t at = 0; at < text.size(); ++at) {
    int byte = EscapedByte(text, at);
    if (byte >= 0) {
      bytes += static_cast<char>(byte);
      at += 2;
      continue;
    }
    if (text[at] == '%' && damaged != nullptr) *damaged = true;
    bytes += text[at];
  }
  return bytes;
}

std::string Escape(std::string_view text, bool (*is_kept)(unsigned char byte)) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string escaped;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (is_kept(byte)) {
      escaped += c;
    } else {
      escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return escaped;
}

}  // namespace program
