#include "platform/host/locale.h"

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
  std::u16string language = u"en", country = u"US";
};

LocaleState& State() {
  static auto& state = *new LocaleState;
  return state;
}

std::u16string NameOf(LCTYPE which) {
  LocaleState& state = State();
  std::lock_guard hold(state.mutex);
  if (which == LOCALE_SISO639LANGNAME) return state.language;
  return which == LOCALE_SISO3166CTRYNAME ? state.country : std::u16string();
}

}  // namespace

void SetUserLanguage(const std::string& language, const std::string& country) {
  LocaleState& state = State();
  std::lock_guard hold(state.mutex);
  state.language.assign(language.begin(), language.end());
  state.country.assign(country.begin(), country.end());
}

}  // namespace host

using host::Enter;
using host::Fail;

LCID GetUserDefaultLCID() { return Enter(__func__) ? 0 : host::kUserLocale; }

int GetLocaleInfoW(LCID locale, LCTYPE which, LPWSTR buffer, int size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  const std::u16string name = host::NameOf(which);
  if (locale != host::kUserLocale || name.empty() || size < 0 || (size > 0 && !buffer)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  const int units = static_cast<int>(name.size()) + 1;
  if (size == 0) return units;
  if (size < units) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  name.copy(buffer, name.size());
  buffer[name.size()] = 0;
  return units;
}
