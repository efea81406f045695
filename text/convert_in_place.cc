#include "text/convert_in_place.h"

#include <algorithm>

#include "base/hooks.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/length_prefixed.h"
#include "text/text_size.h"
#include "text/unicode_engines.h"

namespace qv {
namespace {

constexpr uint32_t kStackWorkArea = 4096;
constexpr uint32_t kLongestTerminator = 4;
constexpr uint32_t kMostLimit = 0x7FFFFFF0;  // no buffer is larger; sums stay within 32 bits

// Bytes that the result may take, its terminator included. The NUL of a single-byte text may lie at
// `limit` itself, but only where the buffer's own text reached.
uint32_t RoomForResult(CodePage to, uint32_t limit, uint32_t text_bytes) {
  if (IsCharacterWiseCodePage(to)) return limit;
  return limit + (text_bytes > limit ? 1 : 0);
}

uint32_t ConvertInto(char* work, char* buffer, CodePage from, CodePage to, uint32_t limit) {
  const auto source_bytes = TextSize(buffer, from) + static_cast<uint32_t>(CPTermSize(from));
  CodePage target = to;
  const ConversionResult result = ConvertThroughUnicode(
      buffer, kMeasure, from, work, RoomForResult(to, limit, source_bytes), &target, {kCrLf, 0});
  return result.written;
}

uint32_t ConvertKeepingLineEnds(char* work, char* buffer, CodePage from, CodePage to,
                                uint32_t limit) {
  uint32_t written = limit;
  ConvertText(buffer, kMeasure, from, work, &written, to, kKeep, 0);
  return written;
}

// Gives `convert` (which returns the bytes that it wrote) a work area, and puts the result into the
// buffer.
template <class Convert>
uint32_t ConvertInWorkArea(Convert convert, char* buffer, CodePage from, CodePage to,
                           uint32_t limit) {
  limit = std::min(limit, kMostLimit);
  const auto run = [=](char* work) {
    const uint32_t written = convert(work, buffer, from, to, limit);
    std::copy_n(work, written, buffer);
    return written;
  };
  if (limit <= kStackWorkArea) {
    char work[kStackWorkArea + kLongestTerminator];
    return run(work);
  }
  const HookBlock block(size_t{limit} + kLongestTerminator);
  return block.data() == nullptr ? 0 : run(block.data());
}

}  // namespace
}  // namespace qv

uint32_t CPConvert(char* buffer, CodePage from, CodePage to, uint32_t limit) {
  if (buffer == nullptr) return 0;
  return qv::ConvertInWorkArea(qv::ConvertInto, buffer, qv::ResolveCodePage(from),
                               qv::ResolveCodePage(to), limit);
}

uint32_t ConvertTextInPlace(char* text, uint32_t limit, CodePage from, CodePage to) {
  if (text == nullptr) return 0;
  return qv::ConvertInWorkArea(qv::ConvertKeepingLineEnds, text, from, to, limit);
}

uint32_t ConvertLStrInPlace(uint8_t* text, uint32_t size, CodePage from, CodePage to) {
  if (text == nullptr || size == 0) return 0;
  char work[kMostLStr];
  uint32_t written = std::min<uint32_t>(kMostLStr, size - 1);
  ConvertText(reinterpret_cast<const char*>(text + 1), text[0], from, work, &written, to, qv::kKeep,
              0);
  std::copy_n(work, written, text + 1);
  text[0] = static_cast<uint8_t>(written);
  return written;
}
