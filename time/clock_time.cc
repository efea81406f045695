#include "time/clock_time.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

#include "platform/windows_api.h"
#include "text/formatter.h"
#include "text/length_prefixed.h"
#include "text/text_scans.h"

namespace qv {
namespace {

constexpr uint8_t kUpperCasedBytes = 19;
constexpr int32_t kHoursOfHalfDay = 12, kHoursPerDay = 24, kMinutesPerHour = 60;
constexpr int32_t kTooMany = 10000;  // no hours and no minutes

struct ClockTimeState {
  std::atomic<ClockHours> chosen = ClockHours::kOfLocale;
  std::atomic<ClockHours> of_locale = ClockHours::kOfLocale;  // kOfLocale: not asked yet
};

ClockTimeState& State() {
  static constinit ClockTimeState state;
  return state;
}

ClockHours AskLocale() {
  char format[80] = "";
  GetLocaleInfoA(GetUserDefaultLCID(), LOCALE_STIMEFORMAT, format, sizeof format);
  return std::strchr(format, 'H') != nullptr ? ClockHours::kTwentyFour : ClockHours::kTwelve;
}

struct ClockTime {
  int32_t hours = 0, minutes = 0;
};

// --- reading ---

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Takes the digits off the front; false when there are none.
bool TakeNumber(std::string_view& text, int32_t& value) {
  const size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
  value = 0;
  for (const char digit : text.substr(0, count)) {
    value = std::min(value * 10 + digit - '0', kTooMany);
  }
  text.remove_prefix(count);
  return count > 0;
}

// "HOURS[:MINUTES]..." of an upper-case text, which becomes what begins at the letter.
bool TakeNumbers(std::string_view& text, ClockTime& time) {
  const bool has_hours = TakeNumber(text, time.hours);
  if (text.starts_with(':') || text.starts_with('.')) {
    text.remove_prefix(1);
    TakeNumber(text, time.minutes);
  }
  text.remove_prefix(std::min(text.find_first_of("AP"), text.size()));
  if (time.hours == 0 && time.minutes == 0 && !(Has24HourClock() && has_hours)) return false;
  return time.hours < kHoursPerDay && time.minutes < kMinutesPerHour;
}

void ApplyLetter24(std::string_view letters, ClockTime& time) {
  if (letters.starts_with('P') && time.hours < kHoursOfHalfDay) time.hours += kHoursOfHalfDay;
  if (letters.starts_with('A') && time.hours == kHoursOfHalfDay) time.hours = 0;
}

bool IsMorningWithoutLetter(int32_t hours, int32_t threshold) {
  return hours < kHoursOfHalfDay && (hours == 0 || hours >= threshold);
}

// False when the time is invalid. `changed` is set when the text can be written better.
bool ApplyLetters12(std::string_view letters, int32_t threshold, ClockTime& time, bool& changed) {
  if (letters.size() > 2 || (letters.size() == 2 && letters[1] != 'M')) return false;
  const bool morning =
      letters.empty() ? IsMorningWithoutLetter(time.hours, threshold) : letters[0] == 'A';
  changed |= letters.size() < 2 || time.hours == 0;
  if (time.hours > kHoursOfHalfDay) {
    changed = true;
    return !morning;
  }
  if (morning && time.hours == kHoursOfHalfDay) time.hours = 0;
  if (!morning && time.hours < kHoursOfHalfDay) time.hours += kHoursOfHalfDay;
  return true;
}

bool Interpret(std::string_view text, int32_t threshold, ClockTime& time, bool& changed) {
  if (!TakeNumbers(text, time)) return false;
  if (!Has24HourClock()) return ApplyLetters12(text, threshold, time, changed);
  ApplyLetter24(text, time);
  return true;
}

std::string_view TextOf(const uint8_t* text) {
  return {reinterpret_cast<const char*>(text + 1), text[0]};
}

// True when there was something to change.
bool UpperCaseFront(uint8_t* text) {
  Str255 front;
  CopyLStr(front, text, kUpperCasedBytes);
  UpperCaseLStr(front);
  if (std::memcmp(front + 1, text + 1, front[0]) == 0) return false;
  std::memcpy(text + 1, front + 1, front[0]);
  return true;
}

// --- writing ---

void Write12(const ClockTime& time, uint8_t* text) {
  const bool morning = time.hours < kHoursOfHalfDay;
  const int32_t hours = morning ? time.hours : time.hours - kHoursOfHalfDay;
  char written[kUpperCasedBytes + 1];
  FormatTextN(written, kUpperCasedBytes, "%d:%02d %s", hours == 0 ? kHoursOfHalfDay : hours,
              time.minutes, morning ? "AM" : "PM");
  CStrToLStr(text, kUpperCasedBytes, written);
}

void Write24(const ClockTime& time, uint8_t* text) {
  constexpr DWORD kFlags = TIME_NOSECONDS | TIME_FORCE24HOURFORMAT | TIME_NOTIMEMARKER;
  SYSTEMTIME fields{};
  fields.wHour = static_cast<WORD>(time.hours);
  fields.wMinute = static_cast<WORD>(time.minutes);
  char written[kUpperCasedBytes + 1];
  if (GetTimeFormatA(GetUserDefaultLCID(), kFlags, &fields, nullptr, written, sizeof written) ==
      0) {
    FormatTextN(written, kUpperCasedBytes, "%d:%02d", time.hours, time.minutes);
  }
  ZRTrimTrailing(written);  // a blank may have stood before what the flags leave out
  CStrToLStr(text, kUpperCasedBytes, written);
}

void Write(const ClockTime& time, uint8_t* text) {
  Has24HourClock() ? Write24(time, text) : Write12(time, text);
}

int ReadText(uint8_t* text, bool reformat, int32_t threshold, ClockTime& time) {
  if (text[0] == 0) return kClockInvalid;
  bool changed = UpperCaseFront(text);
  if (!Interpret(TextOf(text), threshold, time, changed)) return kClockInvalid;
  if (Has24HourClock() || (reformat && changed)) Write(time, text);
  return reformat && (Has24HourClock() || changed) ? kClockRewritten : kClockValid;
}

// --- finding ---

// The bytes of the time at the beginning of the text.
size_t FoundLength(std::string_view text) {
  constexpr size_t kNone = std::string_view::npos;
  size_t letter = kNone, at = 0;
  bool whole = false;  // with its 'M'
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (IsDigit(c) ? whole : c == ' ' && whole) break;
    if (IsDigit(c) || c == ':' || c == '.' || c == ' ') continue;
    if (letter == kNone && std::strchr("AaPp", c) != nullptr && c != '\0') {
      letter = at;
    } else if (letter != kNone && at == letter + 1 && (c == 'M' || c == 'm')) {
      whole = true;
    } else {
      break;
    }
  }
  const bool stopped = at < text.size();
  const bool is_word = stopped && letter != kNone && !(whole && text[at] == ' ');
  const size_t last = text.substr(0, is_word ? letter : at).find_last_not_of(' ');
  return last + 1;  // the text begins with a digit
}

void Deliver(const ClockTime& time, int32_t* hours, int32_t* minutes) {
  if (hours != nullptr) *hours = time.hours;
  if (minutes != nullptr) *minutes = time.minutes;
}

}  // namespace

bool Has24HourClock() {
  ClockTimeState& state = State();
  ClockHours hours = state.chosen.load(std::memory_order_relaxed);
  if (hours == ClockHours::kOfLocale) hours = state.of_locale.load(std::memory_order_relaxed);
  if (hours == ClockHours::kOfLocale) {
    hours = AskLocale();
    state.of_locale.store(hours, std::memory_order_relaxed);
  }
  return hours == ClockHours::kTwentyFour;
}

void SetClockHours(ClockHours hours) { State().chosen = hours; }

void ResetClockTimeForTest() {
  State().chosen = ClockHours::kOfLocale;
  State().of_locale = ClockHours::kOfLocale;
}

}  // namespace qv

int ZRParseClockTime(uint8_t* text, int32_t* hours, int32_t* minutes, bool reformat,
                     int32_t seconds, int32_t afternoon_threshold) {
  qv::ClockTime time;
  int result = qv::kNoClockText;
  if (text != nullptr && seconds >= 0) {
    time = {seconds / 3600, seconds % 3600 / 60};
    qv::Write(time, text);
    result = qv::kClockRewritten;
  } else if (text != nullptr) {
    result = qv::ReadText(text, reformat, afternoon_threshold, time);
    if (result == qv::kClockInvalid) time = {};
  }
  qv::Deliver(time, hours, minutes);
  return result;
}

const uint8_t* ZRFindClockTime(const uint8_t* text, int32_t* hours, int32_t* minutes,
                               int32_t afternoon_threshold) {
  qv::ClockTime time;
  size_t length = 0;
  if (text != nullptr && text[0] > 0 && qv::IsDigit(static_cast<char>(text[1]))) {
    length = qv::FoundLength(qv::TextOf(text));
    Str255 piece;
    bool changed = false;
    qv::SetLStr(piece, kMostLStr, text + 1, static_cast<int32_t>(length));
    qv::UpperCaseFront(piece);
    if (!qv::Interpret(qv::TextOf(piece), afternoon_threshold, time, changed)) {
      length = 0;
      time = {};
    }
  }
  qv::Deliver(time, hours, minutes);
  return length == 0 ? nullptr : text + 1 + length;
}
