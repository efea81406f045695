// CPCharCompare, apart from the other string primitives because it needs the conversion engines.
#include <cstring>

#include "text/code_page_strings.h"
#include "text/unicode_engines.h"

namespace qv {
namespace {

bool IsHighSurrogate(const char* unit, CodePage cp) {
  const auto top = static_cast<uint8_t>(cp == kUtf16Big ? unit[0] : unit[1]);
  return top >= 0xD8 && top <= 0xDB;
}

// Bytes of the first character, a whole surrogate pair included.
uint32_t FirstCharacterBytes(const char* s, CodePage cp) {
  const bool is_pair = (cp == kUtf16Little || cp == kUtf16Big) && IsHighSurrogate(s, cp);
  return is_pair ? 4 : CPCharSizeOrOne(s, cp);
}

// False when the first character of s cannot be converted.
bool FirstCodePoint(const char* s, CodePage cp, uint32_t* code_point) {
  unsigned char bytes[8] = {};
  CodePage to = kUtf32Little;
  ConversionOptions options;
  options.line_end_mode = kKeep;
  const ConversionResult result =
      ConvertThroughUnicode(s, FirstCharacterBytes(s, cp), cp, reinterpret_cast<char*>(bytes),
                            sizeof bytes, &to, options);
  if (result.written != 4) return false;
  *code_point = bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
  return true;
}

}  // namespace
}  // namespace qv

int CPCharCompare(const char* a, const char* b, CodePage cp) {
  if (a == nullptr || b == nullptr) return -1;
  cp = qv::ResolveCodePage(cp);
  uint32_t point_a = 0;
  uint32_t point_b = 0;
  if (!qv::FirstCodePoint(a, cp, &point_a) || !qv::FirstCodePoint(b, cp, &point_b)) return -1;
  if (point_a == point_b) return 0;
  return point_a > point_b ? 1 : 2;
}
