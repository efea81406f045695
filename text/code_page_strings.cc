#include "text/code_page_strings.h"

#include <algorithm>
#include <cstring>

namespace qv {
namespace {

constexpr uint32_t kMostPrefixedBytes = 255;

template <typename Unit>
size_t BytesBeforeZero(const char* s) {
  for (size_t length = 0;; length += sizeof(Unit)) {
    Unit unit;
    std::memcpy(&unit, s + length, sizeof unit);  // text may lie at any address
    if (unit == 0) return length;
  }
}

// Bytes of the longest run of whole characters of the `length` bytes at s that fits `room`.
size_t WholeCharacters(const char* s, size_t length, size_t room, CodePage cp) {
  if (room >= length) return length;
  if (!IsCharacterWiseCodePage(cp)) return room;
  size_t done = 0;
  for (;;) {
    const size_t rest = std::min<size_t>(length - done, kMostCharacterBytes);
    const uint32_t size = CPCharSizeOrOne(s + done, cp, static_cast<uint32_t>(rest));
    if (size > room - done) return done;
    done += size;
  }
}

// Puts src, cut as `limit` asks, and a terminator at `end`.
void PutText(char* end, const char* src, uint32_t limit, CodePage cp) {
  const auto terminator = static_cast<size_t>(CPTermSize(cp));
  const size_t length = CPStrLen(src, cp);
  size_t room = limit == 0 ? length + terminator : limit;
  if (IsCharacterWiseCodePage(cp)) room -= std::min(room, terminator);
  const size_t bytes = WholeCharacters(src, length, room, cp);
  std::memmove(end, src, bytes);
  std::memset(end + bytes, 0, terminator);
}

}  // namespace
}  // namespace qv

size_t CPStrLen(const char* s, CodePage cp) {
  if (s == nullptr) return 0;
  switch (CPTermSize(cp)) {
    case 2:
      return qv::BytesBeforeZero<uint16_t>(s);
    case 4:
      return qv::BytesBeforeZero<uint32_t>(s);
    default:
      return std::strlen(s);  // no character holds a NUL byte, so the walk ends at the first
  }
}

char* CPStrCat(char* dst, const char* src, CodePage cp) { return CPStrNCat(dst, src, 0, cp); }

char* CPStrNCat(char* dst, const char* src, uint32_t limit, CodePage cp) {
  if (dst == nullptr || src == nullptr) return nullptr;
  cp = qv::ResolveCodePage(cp);
  qv::PutText(dst + CPStrLen(dst, cp), src, limit, cp);
  return dst;
}

char* CPStrCopy(char* dst, const char* src, CodePage cp) { return CPStrNCopy(dst, src, 0, cp); }

char* CPStrNCopy(char* dst, const char* src, uint32_t limit, CodePage cp) {
  if (dst == nullptr || src == nullptr) return nullptr;
  qv::PutText(dst, src, limit, qv::ResolveCodePage(cp));
  return dst;
}

uint32_t CPCopyChars(char* dst, uint32_t* dst_bytes, const char* src, uint32_t* src_bytes,
                     CodePage cp) {
  if (dst_bytes == nullptr || src_bytes == nullptr) return 0;
  size_t room = *dst_bytes;
  size_t rest = *src_bytes;
  *dst_bytes = *src_bytes = 0;
  if (dst == nullptr || src == nullptr) return 0;
  cp = qv::ResolveCodePage(cp);
  const bool measured = rest == kMeasure || rest == kMeasureToo;
  if (measured) rest = CPStrLen(src, cp);
  size_t done = 0;
  while (done < rest) {
    const auto available =
        static_cast<uint32_t>(std::min<size_t>(rest - done, kMostCharacterBytes));
    if (!measured && qv::IsCutCharacter(src + done, cp, available)) break;
    const uint32_t size = CPCharSizeOrOne(src + done, cp, available);
    if (size > room - done) break;
    done += size;
  }
  std::memmove(dst, src, done);
  return *dst_bytes = *src_bytes = static_cast<uint32_t>(done);
}

uint32_t CPLStrCopy(uint8_t* dst, const uint8_t* src, uint32_t max, CodePage cp) {
  if (dst == nullptr || src == nullptr) return 0;
  const size_t room = std::min(max, qv::kMostPrefixedBytes);
  const auto* text = reinterpret_cast<const char*>(src + 1);
  const size_t bytes = qv::WholeCharacters(text, src[0], room, qv::ResolveCodePage(cp));
  std::memmove(dst + 1, text, bytes);
  dst[0] = static_cast<uint8_t>(bytes);
  return dst[0];
}

uint32_t CPLStrTruncate(uint8_t* str, uint32_t max, CodePage cp) {
  return CPLStrCopy(str, str, max, cp);
}
