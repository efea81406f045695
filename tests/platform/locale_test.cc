#include <gtest/gtest.h>

#include <string>

#include "platform/windows_api.h"

namespace {

// The user's language and country have names of two or three letters, whoever the user is.
TEST(LocaleTest, NamesOfTheUser) {
  const LCID user = GetUserDefaultLCID();
  EXPECT_NE(user, 0u);
  for (const LCTYPE which : {LOCALE_SISO639LANGNAME, LOCALE_SISO3166CTRYNAME}) {
    SCOPED_TRACE(which);
    WCHAR name[9] = {};
    const int units = GetLocaleInfoW(user, which, name, 9);
    ASSERT_GE(units, 3);
    EXPECT_EQ(name[units - 1], 0);
    for (int i = 0; i + 1 < units; ++i) EXPECT_NE(name[i], 0);
    EXPECT_EQ(GetLocaleInfoW(user, which, nullptr, 0), units);
    EXPECT_EQ(GetLocaleInfoW(user, which, name, units - 1), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  }
}

// Times as the user writes them; of the format only what every user's has is known.
TEST(LocaleTest, TimesOfTheUser) {
  const LCID user = GetUserDefaultLCID();
  char format[80], text[80];
  ASSERT_GT(GetLocaleInfoA(user, LOCALE_STIMEFORMAT, format, sizeof format), 0);
  EXPECT_NE(std::string(format).find("mm"), std::string::npos) << format;
  const SYSTEMTIME evening = {2001, 1, 1, 1, 21, 5, 7, 0};
  const auto written = [&](DWORD flags) {
    EXPECT_EQ(GetTimeFormatA(user, flags, &evening, nullptr, nullptr, 0),
              GetTimeFormatA(user, flags, &evening, nullptr, text, sizeof text));
    return std::string(text);
  };
  EXPECT_NE(written(0).find("05"), std::string::npos);
  EXPECT_NE(written(0).find("07"), std::string::npos);
  constexpr DWORD kPlain = TIME_NOSECONDS | TIME_FORCE24HOURFORMAT | TIME_NOTIMEMARKER;
  EXPECT_EQ(written(kPlain).substr(0, 2), "21");
  EXPECT_EQ(written(kPlain).substr(3, 2), "05");
  EXPECT_EQ(GetTimeFormatA(user, 0, &evening, nullptr, text, 3), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  const SYSTEMTIME never = {2001, 1, 1, 1, 24, 0, 0, 0};
  EXPECT_EQ(GetTimeFormatA(user, 0, &never, nullptr, text, sizeof text), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
