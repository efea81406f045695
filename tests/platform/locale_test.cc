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

}  // namespace
