#include "files/text_lines.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "app/debug_output.h"
#include "base/scratch_pool.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr int32_t kLongestLine = 0x10000;  // bytes; a capacity is less

// The checks' numbers are part of their texts.
bool Check(bool holds, const char* condition, int line) {
  if (!holds) ReportFailedCheck(condition, "ctfile", line);
  return holds;
}

}  // namespace

uint32_t TextLines::FindLineEnd(char* text, uint32_t length) {
  bool carriage_return = false, line_feed = false;
  uint32_t at = 0;
  for (; at < length; ++at) {
    const char c = text[at];
    bool* seen = c == '\r' ? &carriage_return : c == '\n' ? &line_feed : nullptr;
    if (seen == nullptr ? carriage_return || line_feed : *seen) break;
    if (seen == nullptr) continue;
    *seen = true;
    text[at] = 0;
  }
  return at;
}

ZRError TextLines::ApplyLimit(uint64_t position, uint32_t* capacity) const {
  if (read_limit_ == kNoLimit) return ZRErrNone;
  if (position >= read_limit_) return ZRErrEOF;
  if (position > uint64_t{INT64_MAX} - *capacity) return ZRErrTooLong;
  *capacity = static_cast<uint32_t>(std::min<uint64_t>(*capacity, read_limit_ - position));
  return ZRErrNone;
}

ZRError TextLines::ReadLine(char* buffer, int32_t* length) {
  const uint64_t position = bytes_.Mark();
  if (!Check(buffer != nullptr, "p != 0", 67)) return ZRErrParam;
  if (!Check(length != nullptr, "len != 0", 68)) return ZRErrParam;
  if (!Check(*length >= 0 && *length < kLongestLine, "*len >= 0 && *len < 0x10000L", 69)) {
    return ZRErrParam;
  }
  auto capacity = static_cast<uint32_t>(*length);
  *length = 0;
  buffer[0] = 0;
  if (capacity == 0) return ZRErrEOF;
  if (ZRError error = ApplyLimit(position, &capacity)) return error;
  uint32_t count = capacity;
  const ZRError error = bytes_.ReadHere(buffer, &count);
  if (error == ZRErrEOF && count > 0) {
    // A last piece.
  } else if (error != ZRErrNone || count == 0) {
    buffer[0] = 0;
    return error != ZRErrNone ? error : ZRErrEOF;
  }
  buffer[count] = 0;
  const uint32_t end = FindLineEnd(buffer, count);
  if (end < count && !bytes_.MoveMark(position + end)) return ZRErrSeek;
  *length = static_cast<int32_t>(end);
  return ZRErrNone;
}

ZRError TextLines::WriteLine(const char* text, int32_t* length) {
  if (!Check(length != nullptr, "len != 0", 118)) return ZRErrParam;
  const auto ending = static_cast<uint32_t>(std::strlen(ending_));
  const bool grows = *length >= 0 && *length <= INT32_MAX - static_cast<int32_t>(ending);
  if (!grows || (text == nullptr && *length > 0)) return ZRErrParam;
  ZRError error = bytes_.WriteHere(text, static_cast<uint32_t>(*length));
  if (error == ZRErrNone) error = bytes_.WriteHere(ending_, ending);
  if (error == ZRErrNone) *length += static_cast<int32_t>(ending);
  return error;
}

ZRError TextLines::WriteText(const char* text, uint32_t length) {
  if (length > INT32_MAX || (text == nullptr && length > 0)) return ZRErrParam;
  while (length > 0) {
    const auto* feed = static_cast<const char*>(std::memchr(text, '\n', length));
    if (feed == nullptr) return bytes_.WriteHere(text, length);
    auto piece = static_cast<int32_t>(feed - text);
    length -= static_cast<uint32_t>(piece) + 1;
    if (ZRError error = WriteLine(text, &piece)) return error;
    text = feed + 1;
  }
  return ZRErrNone;
}

ZRError TextLines::PrintText(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const ZRError error = PrintTextList(format, arguments);
  va_end(arguments);
  return error;
}

ZRError TextLines::PrintTextList(const char* format, va_list arguments) {
  const ScratchBlock text;
  if (text.data() == nullptr) return ZRErrNoMemory;
  return WriteText(text.data(), FormatTextList(text.data(), format, arguments));
}

ZRError TextLines::SetReadLimit(int64_t position) {
  if (position < 0) return ZRErrRange;
  read_limit_ = static_cast<uint64_t>(position);
  return ZRErrNone;
}

void TextLines::FileWasCut(uint64_t length) {
  if (read_limit_ != kNoLimit) read_limit_ = std::min(read_limit_, length);
}

ZRError TextLines::SetLineEnding(const char* text) {
  const size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length > kLongestEnding) return ZRErrRange;
  std::memmove(ending_, text == nullptr ? "" : text, length + 1);
  return ZRErrNone;
}

}  // namespace qv
