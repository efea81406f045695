#include "files/file_names.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(FileNamesTest, Sanitize) {
  const std::string long_name(80, 'n'), long_path = "C:\\" + std::string(280, 'p');
  const struct {
    const char* name;
    std::string text;
    bool whole_path;
    std::string expected;
  } kRows[] = {
      {"a plain name stays", "in.box", false, "in.box"},
      {"every character of the table goes", "a:/\\<>|\"*?b", false, "ab"},
      {"a path keeps three of them", "C:\\a/b<>|\"*?c", true, "C:\\a/bc"},
      {"control characters stay",
       "a\x01"
       "b",
       false,
       "a\x01"
       "b"},
      {"63 bytes", long_name, false, std::string(63, 'n')},
      {"255 bytes of a path", long_path, true, long_path.substr(0, 255)},
      {"nothing is left", "???", false, ""},
  };
  for (const auto& row : kRows) {
    std::string text = row.text;
    ZRSanitizeName(text.data(), row.whole_path);
    EXPECT_STREQ(text.c_str(), row.expected.c_str()) << row.name;
  }
  ZRSanitizeName(nullptr, false);
}

TEST(FileNamesTest, StripsBothForms) {
  const struct {
    const char* text;
    const char* expected;
  } kRows[] = {{"", ""},
               {"plain", "plain"},
               {"a<b", "ab"},
               {"a<>b", "a>b"},
               {"<>", ">"},
               {"a<>:b", "a>b"},
               {"a\x1F"
                "b",
                "ab"},
               {"a\x7F", "a\x7F"},
               {"x?", "x"},
               {"a*b*c", "abc"},
               {"\\/|", "/"}};
  for (const auto& row : kRows) {
    char text[32];
    std::strcpy(text, row.text);
    ZRStripName(text);
    EXPECT_STREQ(text, row.expected) << row.text;
    uint8_t counted[32];
    counted[0] = static_cast<uint8_t>(std::strlen(row.text));
    std::memcpy(counted + 1, row.text, counted[0]);
    ZRStripName(counted);
    EXPECT_EQ(std::string(counted + 1, counted + 1 + counted[0]), row.expected) << row.text;
  }
}

}  // namespace
