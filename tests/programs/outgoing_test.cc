#include "programs/qvsend/outgoing.h"

#include <gtest/gtest.h>

#include "platform/native_files.h"
#include "programs/common/file_names.h"
#include "programs/qvsend/request_limits.h"
#include "tests/test_platform.h"

namespace qvsend {
namespace {

std::string Native(const std::string& name) {
  return platform::NativePath(program::Joined(test::TempFolder(), name));
}

TEST(AttachmentList, FindsFilesAndNames) {
  for (const char* name : {"a.txt", "b=c.txt", "b"}) {
    ASSERT_TRUE(test::WriteWholeFile(program::Joined(test::TempFolder(), name), "12345"));
  }
  const struct {
    const char* name;
    std::string argument, file, given_name;
    DWORD error;
  } kRows[] = {{"file", "a.txt", "a.txt", "a.txt", 0},
               {"file and name", "a.txt=Q3 r\xC3\xA9port.txt", "a.txt", "Q3 r\xC3\xA9port.txt", 0},
               {"file with \"=\"", "b=c.txt", "b=c.txt", "b=c.txt", 0},
               {"file with \"=\" and name", "b=c.txt=d", "b=c.txt", "d", 0},
               {"name with \"=\"", "a.txt=x=y", "a.txt", "x=y", 0},
               {"missing", "none.txt=x", "none.txt", "", ERROR_FILE_NOT_FOUND},
               {"no name behind \"=\"", "a.txt=", "a.txt", "", ERROR_FILE_NOT_FOUND}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    AttachmentFile file;
    EXPECT_EQ(FindAttachment(Native(row.argument), &file), row.error);
    EXPECT_EQ(file.shown, Native(row.file));
    EXPECT_EQ(file.name, row.given_name);
    EXPECT_EQ(file.size, row.error == 0 ? 5u : 0u);
  }
}

TEST(AttachmentList, MakesNamesDistinct) {
  std::vector<AttachmentFile> files;
  const char* kNames[][2] = {{"a.txt", "a.txt"},
                             {"A.TXT", "A (2).TXT"},
                             {"a (2).txt", "a (2) (2).txt"},
                             {"x/y", "x_y"},
                             {"x:y", "x_y (2)"},
                             {"\xC3\x84", "\xC3\x84"},
                             {"\xC3\xA4", "\xC3\xA4 (2)"},
                             {"nul", "_nul"}};
  for (auto& [name, distinct] : kNames) files.push_back({"", "", name, 0});
  MakeNamesDistinct(&files);
  for (size_t i = 0; i < files.size(); ++i) EXPECT_EQ(files[i].name, kNames[i][1]);
}

TEST(Outgoing, ConvertsAndWarns) {
  Letter letter{{"ann"},
                {"\xC5\x82@x"},
                {"bob"},
                "Gr\xC3\xBC\xC3\x9F"
                "e",
                "\xE2\x82\xAC",
                true,
                {}};
  letter.files = {{"shown", "C:\\a", "\xC5\x82.txt", 1}};
  Outgoing outgoing;
  std::vector<std::string> warnings;
  ASSERT_TRUE(ConvertLetter(letter, 1252, &outgoing, &warnings));
  EXPECT_EQ(outgoing.subject,
            "Gr\xFC\xDF"
            "e");
  EXPECT_EQ(outgoing.body, "\x80");
  ASSERT_EQ(outgoing.recipients.size(), 3u);
  EXPECT_EQ(outgoing.recipients[1].address, "?@x");
  EXPECT_EQ(outgoing.recipients[2].recipient_class, 3u);
  EXPECT_EQ(outgoing.files[0].name, "_.txt");
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_NE(warnings[0].find("the address \xC5\x82@x"), std::string::npos);
  EXPECT_NE(warnings[1].find("the attachment name \xC5\x82.txt"), std::string::npos);
  EXPECT_FALSE(ConvertLetter(letter, 12345, &outgoing, &warnings));
}

// Sizes from the rules: what the buffers take whole, and one byte more.
TEST(RequestLimits, SeesWhatWillBeCut) {
  const std::string umlaut = "\xE4";  // two bytes in UTF-8
  auto times = [](size_t count, const std::string& text) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
  };
  const struct {
    const char* name;
    std::string subject, body;
    uint32_t code_page;
    bool subject_cut, body_cut;
  } kRows[] = {
      {"short", "s", "b", 1252, false, false},
      {"letters to the limit", times(256, "x"), times(5000, "x"), 1252, false, false},
      {"one letter more", times(257, "x"), times(5001, "x"), 1252, true, true},
      {"two-byte letters to the limit", times(128, umlaut), times(2500, umlaut), 1252, false,
       false},
      {"one such more", times(129, umlaut), times(2501, umlaut), 1252, true, true},
      {"escapes to the limit", times(255, " "), times(1999, "("), 1252, false, false},
      {"one escape more", times(256, " "), times(2000, "("), 1252, true, true},
      {"line ends count twice, then fold", "a\nb", times(2500, "\n"), 1252, false, false},
      {"one more", times(129, "\n"), times(2501, "\n"), 1252, true, true},
      {"UTF-8 counts the terminator", times(255, "x"), times(4999, "x"), 65001, false, false},
      {"one letter more in UTF-8", times(256, "x"), times(5000, "x"), 65001, true, true}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Outgoing outgoing{row.subject, row.body, true, {}, {{"C:\\a", "a"}}};
    RequestFit fit = FitRequest(outgoing, row.code_page, "C:\\Temp\\Quorvantis");
    EXPECT_EQ(fit.subject_cut, row.subject_cut);
    EXPECT_EQ(fit.body_cut, row.body_cut);
    EXPECT_TRUE(fit.files_fit);
  }
}

TEST(RequestLimits, CountsAddressesAndFiles) {
  // 8 addresses of 249 bytes and their commas fill a list of 2000 with its terminator.
  Outgoing outgoing{"", "", false, {}, {}};
  for (int i = 0; i < 8; ++i) outgoing.recipients.push_back({1, std::string(249, 'x')});
  EXPECT_TRUE(FitRequest(outgoing, 1252, "C:\\T").addresses.empty());
  outgoing.recipients.push_back({2, "cc is another list"});
  outgoing.recipients.push_back({1, "y"});
  EXPECT_EQ(FitRequest(outgoing, 1252, "C:\\T").addresses, std::vector<std::string>{"y"});
  outgoing.recipients = {{3, std::string(256, 'x')}, {3, std::string(86, ' ')}};
  EXPECT_EQ(FitRequest(outgoing, 1252, "C:\\T").addresses.size(), 2u);

  outgoing.recipients.clear();
  // A piece of 250 bytes: "&deletefile=1&attach=", "C%3A\T\", the name.
  for (int i = 0; i < 87; ++i) outgoing.files.push_back({"", std::string(222, 'x')});
  EXPECT_TRUE(FitRequest(outgoing, 1252, "C:\\T").files_fit);
  outgoing.files.push_back({"", "x"});
  EXPECT_FALSE(FitRequest(outgoing, 1252, "C:\\T").files_fit);
}

}  // namespace
}  // namespace qvsend
