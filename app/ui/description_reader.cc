#include "app/ui/description_reader.h"

#include "app/debug_output.h"

namespace qv {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// -1 for what is no digit.
int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

void DescriptionReader::Skip(size_t count) {
  while (count-- > 0 && !at_end()) ++at_;
}

bool DescriptionReader::Take(char c) {
  if (next() != c || at_end()) return false;
  ++at_;
  return true;
}

std::optional<int32_t> DescriptionReader::Number(int32_t most) {
  const char* end = at_;
  int64_t value = 0;
  for (; IsDigit(*end) && value <= most; ++end) value = value * 10 + (*end - '0');
  if (end == at_ || value > most) {
    DebugPrint("Could not parse command %s\n", at_);
    return std::nullopt;
  }
  at_ = end;
  return static_cast<int32_t>(value);
}

std::optional<uint32_t> DescriptionReader::Hexadecimal(int digits) {
  uint32_t value = 0;
  for (int i = 0; i < digits; ++i) {
    const int digit = HexValue(at_[i]);
    if (digit < 0) return std::nullopt;
    value = value << 4 | static_cast<uint32_t>(digit);
  }
  at_ += digits;
  return value;
}

size_t DescriptionReader::Quoted(char* out) {
  if (!Take('"')) return 0;
  size_t length = 0;
  while (!at_end() && !Take('"')) {
    if (Take('\\') && at_end()) break;
    if (out != nullptr) out[length] = *at_;
    ++length;
    ++at_;
  }
  if (out != nullptr) out[length] = '\0';
  return length;
}

}  // namespace qv
