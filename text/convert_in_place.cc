#include <algorithm>

#include "base/hooks.h"
#include "text/code_page_strings.h"
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
  std::copy_n(work, result.written, buffer);
  return result.written;
}

}  // namespace
}  // namespace qv

uint32_t CPConvert(char* buffer, CodePage from, CodePage to, uint32_t limit) {
  if (buffer == nullptr) return 0;
  if (from == kDefaultCodePage) from = SetDefaultCodePage(kDefaultCodePage);
  if (to == kDefaultCodePage) to = SetDefaultCodePage(kDefaultCodePage);
  limit = std::min(limit, qv::kMostLimit);
  if (limit <= qv::kStackWorkArea) {
    char work[qv::kStackWorkArea + qv::kLongestTerminator];
    return qv::ConvertInto(work, buffer, from, to, limit);
  }
  const qv::HookBlock block(size_t{limit} + qv::kLongestTerminator);
  if (block.data() == nullptr) return 0;
  return qv::ConvertInto(block.data(), buffer, from, to, limit);
}
