#include "platform/host/locale.h"

#include <algorithm>
#include <mutex>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/control.h"

namespace host {
namespace {

// One user with one locale, whose number is that of a fresh system whatever its names are.
constexpr LCID kUserLocale = 0x0409;

struct LocaleState {
  std::mutex mutex;
  std::u16string language = u"en", country = u"US", time_format = u"h:mm:ss tt";
};

LocaleState& State() {
  static auto& state = *new LocaleState;
  return state;
}

std::string Digits(int value, size_t width) {
  const std::string text = std::to_string(value);
  return text.size() < width ? "0" + text : text;
}

std::u16string NameOf(LCTYPE which) {
  LocaleState& state = State();
  std::lock_guard hold(state.mutex);
  switch (which) {
    case LOCALE_SISO639LANGNAME:
      return state.language;
    case LOCALE_SISO3166CTRYNAME:
      return state.country;
    case LOCALE_STIMEFORMAT:
      return state.time_format;
    default:
      return {};
  }
}

// The user's text of that kind; empty when there is none or a parameter is wrong.
template <typename Char>
std::basic_string<Char> AskedFor(LCID locale, LCTYPE which, const Char* buffer, int size) {
  if (locale != kUserLocale || size < 0 || (size > 0 && buffer == nullptr)) return {};
  const std::u16string text = NameOf(which);
  return {text.begin(), text.end()};
}

// The end of the calls of this file: the units written or needed, terminator included.
template <typename Char>
int Deliver(const std::basic_string<Char>& text, Char* buffer, int size) {
  if (text.empty()) return Fail(ERROR_INVALID_PARAMETER, 0);
  const int units = static_cast<int>(text.size()) + 1;
  if (size == 0) return units;
  if (size < units) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  text.copy(buffer, text.size());
  buffer[text.size()] = 0;
  return units;
}

// One field of a format, such as "mm"; nothing for a field that the flags leave out.
std::string TimeField(char letter, size_t width, DWORD flags, const SYSTEMTIME& time) {
  const bool twelve = letter == 'h' && (flags & TIME_FORCE24HOURFORMAT) == 0;
  const std::string marker = time.wHour < 12 ? "AM" : "PM";
  switch (letter) {
    case 't':
      return (flags & TIME_NOTIMEMARKER) != 0 ? "" : marker.substr(0, width);
    case 's':
      return (flags & TIME_NOSECONDS) != 0 ? "" : Digits(time.wSecond, width);
    case 'm':
      return Digits(time.wMinute, width);
    default:
      return Digits(twelve ? (time.wHour + 11) % 12 + 1 : time.wHour, width);
  }
}

// A field that is left out takes the marks before it along.
std::string FormatTime(const std::string& format, DWORD flags, const SYSTEMTIME& time) {
  std::string text, marks;
  for (size_t at = 0; at < format.size();) {
    const char letter = format[at];
    const size_t end = std::min(format.find_first_not_of(letter, at), format.size());
    const std::string run = format.substr(at, end - at);
    at = end;
    if (std::string("hHmst").find(letter) == std::string::npos) {
      marks += run;
      continue;
    }
    const std::string field = TimeField(letter, run.size(), flags, time);
    if (!field.empty()) text += marks + field;
    marks.clear();
  }
  return text + marks;
}

}  // namespace

void SetUserLanguage(const std::string& language, const std::string& country) {
  LocaleState& state = State();
  std::lock_guard hold(state.mutex);
  state.language.assign(language.begin(), language.end());
  state.country.assign(country.begin(), country.end());
}

void SetUserTimeFormat(const std::string& format) {
  LocaleState& state = State();
  std::lock_guard hold(state.mutex);
  state.time_format.assign(format.begin(), format.end());
}

}  // namespace host

using host::Enter;
using host::Fail;

LCID GetUserDefaultLCID() { return Enter(__func__) ? 0 : host::kUserLocale; }

int GetLocaleInfoW(LCID locale, LCTYPE which, LPWSTR buffer, int size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  return host::Deliver(host::AskedFor(locale, which, buffer, size), buffer, size);
}

int GetLocaleInfoA(LCID locale, LCTYPE which, LPSTR buffer, int size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  return host::Deliver(host::AskedFor(locale, which, buffer, size), buffer, size);
}

int GetTimeFormatA(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCSTR format, LPSTR buffer,
                   int size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  const std::string own = host::AskedFor(locale, LOCALE_STIMEFORMAT, buffer, size);
  const bool is_time = time->wHour < 24 && time->wMinute < 60 && time->wSecond < 60;
  if (own.empty() || format != nullptr || !is_time) return Fail(ERROR_INVALID_PARAMETER, 0);
  return host::Deliver(host::FormatTime(own, flags, *time), buffer, size);
}
