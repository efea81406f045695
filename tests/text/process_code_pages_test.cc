#include "text/process_code_pages.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows_api.h"

namespace {

using std::string_literals::operator""s;

constexpr char kKey[] = "System\\CurrentControlSet\\Control\\Nls\\CodePage";
constexpr CodePage kApplicationPage = 1253;

// Opens the key for the length of a test and puts its "ACP" value back.
class ProcessCodePagesTest : public testing::Test {
 protected:
  ProcessCodePagesTest() {
    SetApplicationCodePage(kApplicationPage);
    RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_ALL_ACCESS, &key_);
    DWORD size = sizeof before_;
    EXPECT_EQ(RegQueryValueExA(key_, "ACP", nullptr, nullptr, before_, &size), ERROR_SUCCESS);
    before_size_ = size;
  }
  ~ProcessCodePagesTest() override {
    RegSetValueExA(key_, "ACP", 0, REG_SZ, before_, before_size_);
    RegCloseKey(key_);
    qv::ResetCodePagesForTest();
  }
  void SetValue(DWORD type, const std::string& bytes) {
    ASSERT_EQ(RegSetValueExA(key_, "ACP", 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                             static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS);
  }

  HKEY key_ = nullptr;
  BYTE before_[64] = {};
  DWORD before_size_ = 0;
};

TEST_F(ProcessCodePagesTest, SystemCodePageIsTheRegistrysText) {
  const struct {
    const char* name;
    DWORD type;
    std::string bytes;
    CodePage expected;
  } kRows[] = {
      {"usual", REG_SZ, "1250\0"s, 1250},
      {"without a terminator", REG_SZ, "932"s, 932},
      {"UTF-8", REG_SZ, "65001\0"s, 65001},
      {"text behind the number", REG_SZ, "1251x\0"s, 1251},
      {"no number", REG_SZ, "acp\0"s, kApplicationPage},
      {"empty", REG_SZ, "\0"s, kApplicationPage},
      {"zero", REG_SZ, "0\0"s, kApplicationPage},
      {"negative", REG_SZ, "-1252\0"s, kApplicationPage},
      {"above 16 bits", REG_SZ, "66788\0"s, kApplicationPage},
      {"a number instead of text", REG_DWORD, "1250"s, kApplicationPage},
      {"no longer than 255 bytes", REG_SZ, std::string(250, '0') + "1250\0"s, 1250},
      {"too long", REG_SZ, std::string(252, '0') + "1250\0"s, kApplicationPage},
  };
  for (const auto& row : kRows) {
    SetValue(row.type, row.bytes);
    EXPECT_EQ(GetSystemCodePage(), row.expected) << row.name;
  }
  RegDeleteValueA(key_, "ACP");
  EXPECT_EQ(GetSystemCodePage(), kApplicationPage) << "no value";
}

TEST(ValidCodePagesTest, AreThoseThatThePlatformConverts) {
  const struct {
    const char* name;
    CodePage cp, below_20000, or_1252;
  } kRows[] = {
      {"Windows", 1250, 1250, 1250},
      {"DOS", 437, 437, 437},
      {"East Asian", 932, 932, 932},
      {"none at all", 9999, 0, 1252},
      {"the platform's current one", 0, 0, 1252},
      {"known, but in the library's range", 20127, 0, 20127},
      {"Unicode", 65001, 0, 65001},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(ValidWindowsCodePage(row.cp), row.below_20000) << row.name;
    EXPECT_EQ(ValidCodePageOr1252(row.cp), row.or_1252) << row.name;
  }
}

}  // namespace
