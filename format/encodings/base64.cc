#include "format/encodings/base64.h"

#include "format/encodings/base64_lines.h"

size_t ZRBase64Encode(const void* source, size_t length, char* destination,
                      const char* line_separator) {
  using namespace qv;
  constexpr size_t kGroupBytes = 3, kGroupDigits = 4, kLineGroups = 16;
  const std::string_view separator = line_separator == nullptr ? "" : line_separator;
  if (source == nullptr) length = 0;
  if (destination == nullptr) {
    const size_t groups = length / kGroupBytes + (length % kGroupBytes != 0 ? 1 : 0);
    return groups / kLineGroups * separator.size() + groups * kGroupDigits;
  }
  const auto* in = static_cast<const uint8_t*>(source);
  const size_t lines = length / kBase64LineBytes, rest = length % kBase64LineBytes;
  const auto write = Base64LinesHaveSsse3() ? WriteBase64LinesSsse3 : WriteBase64LinesPortable;
  char* out = destination;
  if (lines > 0) {
    out = write(in, lines, out, Base64Separator(separator));
    if (rest > 0) out = std::copy(separator.begin(), separator.end(), out);
  }
  out = WriteBase64Rest(in + lines * kBase64LineBytes, rest, out);
  return static_cast<size_t>(out - destination);
}
