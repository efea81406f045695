#include "format/durations.h"

#include <algorithm>
#include <span>

#include "base/big_endian.h"
#include "resources/resource_chain.h"
#include "text/code_page_strings.h"
#include "text/length_prefixed.h"

namespace {

constexpr int32_t kClockEntry = 16;

struct Unit {
  const char* word;
  uint32_t field, seconds;
  int32_t long_entry;  // the short and the third form follow
  bool always_in_third_form;
};
constexpr Unit kUnits[] = {{"weeks", qv::kWeeksField, 7 * 24 * 3600, 1, false},
                           {"days", qv::kDaysField, 24 * 3600, 4, false},
                           {"hours", qv::kHoursField, 3600, 7, true},
                           {"minutes", qv::kMinutesField, 60, 10, true},
                           {"seconds", qv::kSecondsField, 1, 13, true}};
constexpr size_t kUnitCount = std::size(kUnits), kFirstClockUnit = 2;

enum Form : int32_t { kLong, kShort, kThird };

// Text that is put together, up to its room.
class Builder {
 public:
  qv::Bytes bytes() const { return {text_, length_}; }
  void Add(char c) {
    if (length_ < sizeof text_) text_[length_++] = static_cast<uint8_t>(c);
  }
  void AddNumber(uint32_t value, uint32_t width, char fill) {
    constexpr uint32_t kMostDigits = 10;
    char digits[kMostDigits];
    uint32_t count = 0;
    do {
      digits[count++] = static_cast<char>('0' + value % 10);
      value /= 10;
    } while (value > 0);
    for (uint32_t i = count; i < std::min(width, kMostDigits); ++i) Add(fill);
    while (count > 0) Add(digits[--count]);
  }

 private:
  size_t length_ = 0;
  uint8_t text_[kUnitCount * 256];
};

// "%", zeros and a width, "l", and "d" or "u".
struct Conversion {
  const char* end = nullptr;  // null: it is none
  uint32_t width = 0;
  char fill = ' ';
};

Conversion ReadConversion(const char* text) {
  constexpr uint32_t kMostWidth = 1000;
  Conversion read;
  if (*text++ != '%') return read;
  if (*text == '0') read.fill = '0';
  for (; *text >= '0' && *text <= '9'; ++text) {
    read.width = std::min(read.width * 10 + static_cast<uint32_t>(*text - '0'), kMostWidth);
  }
  while (*text == 'l') ++text;
  if (*text == 'd' || *text == 'u') read.end = text + 1;
  return read;
}

// Adds an entry of a list, each conversion replaced by the next value.
void AddEntry(Builder& out, int32_t list, int32_t entry, std::span<const uint32_t> values) {
  char text[kMostLStr + 1];
  ZRGetIndCString(text, list, entry, kMostLStr);
  for (const char* at = text; *at != '\0';) {
    const Conversion conversion = ReadConversion(at);
    if (conversion.end != nullptr && !values.empty()) {
      out.AddNumber(values.front(), conversion.width, conversion.fill);
      values = values.subspan(1);
      at = conversion.end;
    } else {
      if (at[0] == '%' && at[1] == '%') ++at;
      out.Add(*at++);
    }
  }
}

void AddUnit(Builder& out, const Unit& unit, Form form, uint32_t value, ZRDurationUnitHook hook) {
  const int32_t list = value == 1 ? qv::kSingleDurationList : qv::kDurationList;
  if (hook == nullptr) {
    AddEntry(out, list, unit.long_entry + form, {&value, 1});
    return;
  }
  Str255 text = {};
  hook(text, list, form + 1, 0, unit.word, value);
  for (const uint8_t byte : qv::LStrBytes(text)) out.Add(static_cast<char>(byte));
}

void AddDuration(Builder& out, uint32_t seconds, int32_t style, uint32_t fields,
                 ZRDurationUnitHook hook) {
  uint32_t values[kUnitCount] = {};
  for (size_t i = 0; i < kUnitCount; ++i) {
    if ((fields & kUnits[i].field) == 0) continue;
    values[i] = seconds / kUnits[i].seconds;
    seconds %= kUnits[i].seconds;
  }
  if (style == qv::kClockDuration) {
    AddEntry(out, qv::kDurationList, kClockEntry, std::span(values).subspan(kFirstClockUnit));
    return;
  }
  const Form form = style == qv::kLongDuration    ? kLong
                    : style == qv::kShortDuration ? kShort
                                                  : kThird;
  for (size_t i = 0; i < kUnitCount; ++i) {
    const bool always = form == kThird && kUnits[i].always_in_third_form;
    if (values[i] != 0 || always) AddUnit(out, kUnits[i], form, values[i], hook);
  }
}

}  // namespace

uint32_t ZRFormatDuration(uint32_t seconds, char* buffer, uint32_t size, int32_t style,
                          uint32_t fields, ZRDurationUnitHook hook) {
  if (buffer == nullptr || size == 0 || seconds == 0) return 0;
  Builder text;
  AddDuration(text, seconds, style, fields, hook);
  qv::Bytes bytes = text.bytes();
  if (!bytes.empty() && bytes.front() == ' ') bytes = bytes.subspan(1);
  buffer[0] = '\0';
  auto count = static_cast<uint32_t>(bytes.size());
  return CPCopyChars(buffer, &size, reinterpret_cast<const char*>(bytes.data()), &count, kUtf8);
}

uint32_t ZRFormatDurationLStr(uint32_t seconds, uint8_t* text, int32_t style, uint32_t fields,
                              ZRDurationUnitHook hook) {
  if (text == nullptr) return 0;
  const uint32_t bytes =
      ZRFormatDuration(seconds, reinterpret_cast<char*>(text + 1), kMostLStr, style, fields, hook);
  text[0] = static_cast<uint8_t>(bytes);
  return bytes;
}
