#include "format/numbers.h"

#include <algorithm>
#include <cstring>

#include "text/formatter.h"
#include "text/length_prefixed.h"

namespace {

// --- counts ---

constexpr char kCountUnits[] = {'\0', 'K', 'M', 'G', 'T', 'P'};
constexpr int kUnitSteps = 4;  // from the unit of the value itself to the largest

// `text` becomes the number with its first decimal, when `divisor` goes into it less than ten
// times, and the letter.
void SetQuotient(uint64_t value, uint64_t divisor, char letter, uint8_t* text) {
  const uint64_t whole = value / divisor;
  const uint64_t tenth = value < 10 * divisor ? (value - whole * divisor) * 10 / divisor : 0;
  char buffer[32];
  uint32_t length = FormatTextN(buffer, sizeof buffer - 1, "%llu", whole);
  if (tenth != 0) {
    buffer[length++] = '.';
    buffer[length++] = static_cast<char>('0' + tenth);
  }
  if (letter != '\0') buffer[length++] = letter;
  qv::SetLStr(text, qv::kCountSize - 1, buffer, static_cast<int32_t>(length));
}

// --- scaled values ---

constexpr char kScaledUnits[] = " KMGTPE";
constexpr uint32_t kLastUnit = sizeof kScaledUnits - 2;
constexpr double kMostScaled = 1e19;

struct Scaled {
  double number;
  uint32_t unit;  // the value is number * base^unit
};

Scaled ScaleBy(double value, double base, bool smaller_unit) {
  Scaled scaled{value, 0};
  while (scaled.number >= base * base && scaled.unit + 1 < kLastUnit) {
    scaled.number /= base;
    ++scaled.unit;
  }
  if (smaller_unit && scaled.number < 10 * base) return scaled;
  return {scaled.number / base, scaled.unit + 1};
}

// How many digits go behind the point.
int32_t Decimals(double number, int32_t style) {
  const int32_t digits = style == qv::kThreeDigits ? 3 : 4;
  const int32_t before = number < 10 ? 1 : number < 100 ? 2 : number < 1000 ? 3 : digits;
  return std::max(digits - before, 0);
}

}  // namespace

void ZRFormatCount(uint64_t value, bool in_thousands, uint8_t* text) {
  if (text == nullptr) return;
  uint64_t divisor = 1;
  int step = 0;
  // As the largest of a unit a thousand of it.
  while (step < kUnitSteps && value > divisor * 1000) {
    divisor *= 1000;
    ++step;
  }
  SetQuotient(value, divisor, kCountUnits[step + (in_thousands ? 1 : 0)], text);
}

void ZRFormatScaled(double value, uint8_t* text, int32_t style, uint32_t base) {
  if (text == nullptr || !(value <= kMostScaled) || (value >= base && base < 2)) return;
  char buffer[64];
  uint32_t length = 0;
  if (value < base) {
    length = FormatTextN(buffer, sizeof buffer - 1, "%1.0f", value);
  } else {
    const Scaled scaled = ScaleBy(value, base, style == qv::kSmallerUnit);
    length = FormatTextN(buffer, sizeof buffer - 1, "%1.*f%c", Decimals(scaled.number, style),
                         scaled.number, kScaledUnits[scaled.unit]);
  }
  Str255 addition;
  qv::SetLStr(addition, kMostLStr, buffer, static_cast<int32_t>(length));
  qv::AppendLStr(text, addition, kMostLStr);
}

void ZRFormatGrouped(uint64_t value, char* output) {
  if (output == nullptr) return;
  char digits[qv::kGroupedSize];
  const uint32_t count = FormatTextN(digits, sizeof digits - 1, "%llu", value);
  for (uint32_t i = 0; i < count; ++i) {
    if (i > 0 && (count - i) % 3 == 0) *output++ = ',';
    *output++ = digits[i];
  }
  *output = '\0';
}

void ZRFormatHex32(uint32_t value, char* output) {
  if (output == nullptr) return;
  for (int shift = 28; shift >= 0; shift -= 4) {
    *output++ = "0123456789ABCDEF"[value >> shift & 0xF];
  }
  *output = '\0';
}
