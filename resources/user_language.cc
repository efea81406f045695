#include "resources/user_language.h"

#include "platform/windows_api.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr char kFallback[] = "en-US";
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

}  // namespace qv
