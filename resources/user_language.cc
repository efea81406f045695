#include "resources/user_language.h"

#include <algorithm>
#include <cstring>

#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "platform/windows_api.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr char kFallback[] = "en-US";
struct LanguageState {
  LockObject lock;
  bool known = false;
  char tag[kUserLanguageSize] = "";
};

// Never destroyed: threads may ask until the process ends.
LanguageState& State() {
  static constinit NeverDestroyed<LanguageState> state;
  return state.value;
}

constexpr int kMostNameUnits = 9;  // what the platform gives at most, terminator included

// Appends one of the user's names, which are ASCII; false when the platform does not give it.
bool AppendLocaleName(LCTYPE which, char (&tag)[kUserLanguageSize]) {
  WCHAR wide[kMostNameUnits];
  const int units = GetLocaleInfoW(GetUserDefaultLCID(), which, wide, kMostNameUnits);
  if (units <= 1) return false;
  char name[kMostNameUnits] = "";
  for (int i = 0; i < units; ++i) name[i] = static_cast<char>(wide[i]);
  AppendCStr(tag, name, sizeof tag);
  return true;
}

bool BuildTag(char (&tag)[kUserLanguageSize]) {
  tag[0] = '\0';
  if (!AppendLocaleName(LOCALE_SISO639LANGNAME, tag)) return false;
  AppendCStr(tag, "-", sizeof tag);
  return AppendLocaleName(LOCALE_SISO3166CTRYNAME, tag);
}

}  // namespace

void GetUserLanguage(char (&tag)[kUserLanguageSize]) {
  if (BuildTag(tag)) return;
  tag[0] = '\0';
  AppendCStr(tag, kFallback, sizeof tag);
}

void ResetLanguageTagForTest() {
  LanguageState& language = State();
  ScopedLock hold(language.lock);
  language.known = false;
}

}  // namespace qv

void ZRGetLanguageTag(char* output, uint32_t size) {
  if (output == nullptr || size == 0) return;
  qv::LanguageState& language = qv::State();
  qv::ScopedLock hold(language.lock);
  if (!language.known) qv::GetUserLanguage(language.tag);
  language.known = true;
  const size_t length = std::min<size_t>(std::strlen(language.tag), size - 1);
  std::memcpy(output, language.tag, length);
  output[length] = '\0';
}
