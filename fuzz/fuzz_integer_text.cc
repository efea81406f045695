// Any bytes as an integer: reading ends inside the text and the limit, a limit and a terminator at
// the same place give the same, and digits that were read give the value when they are summed up
// from the other end.
#include <cstring>
#include <memory>

#include "format/integer_text.h"
#include "fuzz/fuzz_support.h"

namespace {

constexpr char kPlain[] = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

uint64_t ValueOf(char c, uint32_t base) {
  const char* const digits = base <= 36 ? kPlain : kBase64;
  const bool lower = base <= 36 && c >= 'A' && c <= 'Z';
  const auto* found = std::strchr(digits, lower ? c + 32 : c);
  FUZZ_CHECK(found != nullptr && static_cast<uint32_t>(found - digits) < base);
  return static_cast<uint64_t>(found - digits);
}

uint64_t SumFromTheEnd(const std::string& digits, uint32_t base) {
  uint64_t value = 0, weight = 1;
  for (size_t i = digits.size(); i-- > 0; weight *= base)
    value += weight * ValueOf(digits[i], base);
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int32_t base = input.Byte() % 67 - 1;
  const std::string text = input.Text();
  if (text.empty()) return 0;
  // A block without a terminator, so that a read past the limit is seen.
  const std::unique_ptr<char[]> block(new char[text.size()]);
  std::memcpy(block.get(), text.data(), text.size());
  const auto limit = static_cast<uint32_t>(text.size());

  const char *end = nullptr, *limited_end = nullptr;
  const uint64_t value = ZRParseUInt64(text.c_str(), &end, base);
  FUZZ_CHECK(end >= text.c_str() && end <= text.c_str() + text.size());
  FUZZ_CHECK(ZRParseUInt64(block.get(), limit, &limited_end, base) == value);
  FUZZ_CHECK(limited_end - block.get() == end - text.c_str());

  const std::string negative = "-" + text;
  FUZZ_CHECK(ZRParseInt64(negative.c_str(), &limited_end, base) == static_cast<int64_t>(0 - value));
  if (base >= 0 && base <= 64) {
    FUZZ_CHECK(limited_end - negative.c_str() == end - text.c_str() + 1);
  }
  // Bases whose texts have no prefix.
  if (base > 0 && base <= 64 && base != 16) {
    const std::string digits(text.c_str(), end);
    FUZZ_CHECK(SumFromTheEnd(digits, static_cast<uint32_t>(base)) == value);
    if (*end != '\0') {
      const char* next = nullptr;
      ZRParseUInt64(end, 1, &next, base);
      FUZZ_CHECK(next == end);  // reading ended because it is no digit
    }
  }
  return 0;
}
