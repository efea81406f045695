#include <gtest/gtest.h>

#include "tests/platform/child_process.h"
#include "tests/test_platform.h"

namespace {

class ProfileTest : public testing::Test {
 protected:
  void SetUp() override { test::EmptyFolder(test::TempFolder()); }

  // A text of the file; lists come with "|" for their terminators.
  std::string Get(const char* section, const char* key, DWORD size = 1000) {
    std::string buffer(size + 1, '#');
    DWORD length =
        GetPrivateProfileStringA(section, key, "default", buffer.data(), size, file_.c_str());
    EXPECT_EQ(buffer[length], '\0');
    EXPECT_EQ(buffer[size], '#') << "nothing is written behind the buffer";
    std::string text = buffer.substr(0, length);
    for (char& c : text) c = c == '\0' ? '|' : c;
    return text;
  }
  void Write(const std::string& text) { ASSERT_TRUE(test::WriteWholeFile(file_, text)); }
  bool Set(const char* section, const char* key, const char* value) {
    return WritePrivateProfileStringA(section, key, value, file_.c_str()) != 0;
  }

  const std::string file_ = test::TempFolder() + "\\profile.ini";
};

TEST_F(ProfileTest, Texts) {
  Write(
      "; a comment\r\n[One]\r\nplain=value\r\n  blanks  =  around it  \r\n"
      "double=\"quoted \"\r\nsingle=' x'\r\nequals=a=b\r\nempty=\r\n;hidden=1\r\n"
      "twice=first\r\ntwice=second\r\n[Two]\nplain=two\n[One]\nlate=never\n");
  const struct {
    const char *section, *key, *value;
  } kRows[] = {
      {"One", "plain", "value"},    {"ONE", "PLAIN", "value"},     {"One", "blanks", "around it"},
      {"One", "double", "quoted "}, {"One", "single", " x"},       {"One", "equals", "a=b"},
      {"One", "empty", ""},         {"One", "twice", "first"},     {"Two", "plain", "two"},
      {"One", "hidden", "default"}, {"One", "missing", "default"}, {"Three", "plain", "default"}};
  for (const auto& row : kRows) EXPECT_EQ(Get(row.section, row.key), row.value) << row.key;
}

TEST_F(ProfileTest, TextsAreCutToTheBuffer) {
  Write("[One]\r\nkey=12345\r\n");
  EXPECT_EQ(Get("One", "key", 6), "12345");
  EXPECT_EQ(Get("One", "key", 5), "1234");
  EXPECT_EQ(Get("One", "key", 1), "");
}

TEST_F(ProfileTest, Lists) {
  Write("[One]\r\na=1\r\nbb=2\r\n[Two]\r\n");
  EXPECT_EQ(Get(nullptr, nullptr), "One|Two|");
  EXPECT_EQ(Get("One", nullptr), "a|bb|");
  EXPECT_EQ(Get("One", nullptr, 4), "a|");
}

TEST_F(ProfileTest, Integers) {
  const struct {
    const char* text;
    UINT value;
  } kRows[] = {{"12", 12},        {"-1", 0xFFFFFFFF}, {"0x10", 16}, {"0x", 0},
               {"+7", 7},         {"12abc", 12},      {"abc", 0},   {"", 42},
               {"4294967297", 1}, {"  9 ", 9},        {"08", 8}};
  for (const auto& row : kRows) {
    Write(std::string("[One]\r\nkey=") + row.text + "\r\n");
    EXPECT_EQ(GetPrivateProfileIntA("One", "key", 42, file_.c_str()), row.value) << row.text;
  }
  EXPECT_EQ(GetPrivateProfileIntA("One", "none", -5, file_.c_str()), static_cast<UINT>(-5));
}

TEST_F(ProfileTest, WritingKeepsTheRest) {
  Write("; kept\r\n[One]\r\na=1\r\n\r\n[Two]\r\nb=2\r\n");
  EXPECT_TRUE(Set("One", "a", "changed"));
  EXPECT_TRUE(Set("One", "new", "x"));
  EXPECT_TRUE(Set("Three", "c", "3"));
  EXPECT_EQ(Get("One", "a"), "changed");
  EXPECT_EQ(Get("One", nullptr), "a|new|");
  EXPECT_EQ(Get("Two", "b"), "2");
  EXPECT_EQ(Get("Three", "c"), "3");
  EXPECT_TRUE(Set("One", "a", nullptr));
  EXPECT_EQ(Get("One", nullptr), "new|");
  EXPECT_TRUE(Set("Two", nullptr, nullptr));
  EXPECT_EQ(Get(nullptr, nullptr), "One|Three|");
  EXPECT_TRUE(test::ReadWholeFile(file_).starts_with("; kept\r\n"));
}

TEST_F(ProfileTest, FilesThatAreNotThere) {
  EXPECT_EQ(Get("One", "key"), "default");
  EXPECT_TRUE(Set("One", "key", "made"));
  EXPECT_EQ(Get("One", "key"), "made");
  std::string nowhere = test::TempFolder() + "\\nowhere\\a.ini";
  EXPECT_FALSE(WritePrivateProfileStringA("One", "key", "x", nowhere.c_str()));
}

TEST_F(ProfileTest, BareNameLiesInTheWindowsFolder) {
  EXPECT_TRUE(WritePrivateProfileStringA("One", "key", "x", "qv_platform_test.ini"));
  EXPECT_TRUE(test::Exists("C:\\windows\\qv_platform_test.ini"));
  EXPECT_TRUE(DeleteFileA("C:\\windows\\qv_platform_test.ini"));
}

}  // namespace
