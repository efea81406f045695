#include "format/integer_text.h"

namespace {

constexpr uint32_t kMostBase = 64, kLastPlainBase = 36;

// A text that ends at its terminator or at the limit.
class Reader {
 public:
  Reader(const char* text, uint32_t limit) : at_(text), left_(limit), limited_(limit != 0) {}

  const char* position() const { return at_; }
  // The next character; 0 at the end.
  char Peek() const { return limited_ && left_ == 0 ? '\0' : *at_; }
  // The one behind it.
  char PeekSecond() const { return Peek() == '\0' || (limited_ && left_ == 1) ? '\0' : at_[1]; }
  // Only where Peek is not 0.
  void Skip() { ++at_, --left_; }

 private:
  const char* at_;
  uint32_t left_;  // means nothing without a limit
  bool limited_;
};

// Passes over the prefix; returns the base that counts.
uint32_t ReadPrefix(Reader& reader, uint32_t base) {
  const char second = reader.PeekSecond();
  const bool zero = reader.Peek() == '0' && second != '\0';
  if (zero && (second == 'x' || second == 'X') && (base == 0 || base == 16)) {
    reader.Skip();
    reader.Skip();
    return 16;
  }
  if (base != 0) return base;
  if (!zero) return 10;
  reader.Skip();
  return 8;
}

// Value of a digit; kMostBase or above for another character.
uint32_t DigitValue(char c, uint32_t base) {
  const bool plain = base <= kLastPlainBase;
  const auto from = [c](char first, uint32_t value) { return value + uint32_t(c - first); };
  if (c >= '0' && c <= '9') return from('0', plain ? 0 : 52);
  if (c >= 'A' && c <= 'Z') return from('A', plain ? 10 : 0);
  if (c >= 'a' && c <= 'z') return from('a', plain ? 10 : 26);
  if (plain) return kMostBase;
  return c == '+' ? 62 : c == '/' ? 63 : kMostBase;
}

uint64_t Parse(const char* text, uint32_t limit, const char** end, int32_t base, bool is_signed) {
  if (end != nullptr) *end = text;
  if (text == nullptr || static_cast<uint32_t>(base) > kMostBase) return 0;
  Reader reader(text, limit);
  const bool negative = is_signed && reader.Peek() == '-';
  if (negative) reader.Skip();
  const uint32_t used_base = ReadPrefix(reader, static_cast<uint32_t>(base));
  uint64_t value = 0;
  for (uint32_t digit; (digit = DigitValue(reader.Peek(), used_base)) < used_base; reader.Skip()) {
    value = value * used_base + digit;
  }
  if (end != nullptr) *end = reader.position();
  return negative ? 0 - value : value;
}

}  // namespace

int64_t ZRParseInt64(const char* text, uint32_t limit, const char** end, int32_t base) {
  return static_cast<int64_t>(Parse(text, limit, end, base, true));
}

int64_t ZRParseInt64(const char* text, const char** end, int32_t base) {
  return ZRParseInt64(text, 0, end, base);
}

uint64_t ZRParseUInt64(const char* text, uint32_t limit, const char** end, int32_t base) {
  return Parse(text, limit, end, base, false);
}

uint64_t ZRParseUInt64(const char* text, const char** end, int32_t base) {
  return ZRParseUInt64(text, 0, end, base);
}
