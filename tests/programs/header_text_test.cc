#include "programs/qvclient/header_text.h"

#include <gtest/gtest.h>

#include "programs/common/text.h"
#include "programs/qvclient/base64_text.h"

namespace qvclient {
namespace {

std::vector<std::string> Lines(const std::string& field) {
  EXPECT_TRUE(field.ends_with("\r\n"));
  std::vector<std::string> lines;
  for (size_t start = 0; start < field.size();) {
    size_t end = field.find("\r\n", start);
    lines.push_back(field.substr(start, end - start));
    start = end + 2;
  }
  return lines;
}

TEST(HeaderText, WritesTextFields) {
  const struct {
    const char* name;
    std::string text, field;
  } kRows[] = {{"plain", "Q3 report, 100%", "Subject: Q3 report, 100%\r\n"},
               {"empty", "", "Subject: \r\n"},
               {"non-ASCII",
                "Gr\xC3\xBC\xC3\x9F"
                "e",
                "Subject: =?UTF-8?B?R3LDvMOfZQ==?=\r\n"},
               {"line end begins no field", "a\r\nBcc: x", "Subject: a  Bcc: x\r\n"},
               {"other controls", std::string("a\0b\x7F", 4), "Subject: =?UTF-8?B?YSBiIA==?=\r\n"},
               {"looks encoded already", "=?x", "Subject: =?UTF-8?B?PT94?=\r\n"},
               {"blanks at the ends", " a", "Subject: =?UTF-8?B?IGE=?=\r\n"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(TextField("Subject", row.text), row.field);
  }
}

// The next run of whole characters that gives this encoded word; 0 bytes for none.
size_t WholeCharacters(std::string_view text, const std::string& word) {
  for (size_t end = 0; end < text.size();) {
    program::DecodeUtf8(text, &end);
    if (Base64(text.substr(0, end)) == word) return end;
  }
  return 0;
}

// RFC 2047: 76 characters a line, 75 a word, no character split over two words.
TEST(HeaderText, SplitsLongTextsAtCharacters) {
  for (std::string unit : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "x\xC3\xA4"}) {
    std::string text;
    for (int i = 0; i < 100; ++i) text += unit;
    std::string_view rest = text;
    for (const std::string& line : Lines(TextField("Subject", text))) {
      EXPECT_LE(line.size(), 76u);
      size_t start = line.find("=?UTF-8?B?");
      ASSERT_NE(start, std::string::npos);
      EXPECT_LE(line.size() - start, 75u);
      std::string word = line.substr(start + 10, line.size() - start - 12);
      size_t taken = WholeCharacters(rest, word);
      ASSERT_NE(taken, 0u) << line;
      rest.remove_prefix(taken);
    }
    EXPECT_EQ(rest, "");
  }
}

TEST(HeaderText, WritesAddresses) {
  const struct {
    const char* name;
    std::vector<std::string> addresses;
    std::string field;
  } kRows[] = {
      {"none", {}, ""},
      {"only blanks", {" ", "\r\n"}, ""},
      {"plain", {"ann@example.com", "bob"}, "To: ann@example.com,\r\n bob\r\n"},
      {"international", {"j\xC3\xB6rg@ex.de"}, "To: j\xC3\xB6rg@ex.de\r\n"},
      {"with a name", {"Ann <ann@ex.de>"}, "To: \"Ann\"\r\n <ann@ex.de>\r\n"},
      {"quoted name",
       {"\"Ann \\\"A\\\"\" <ann@ex.de>"},
       "To: \"Ann \\\"A\\\"\"\r\n <ann@ex.de>\r\n"},
      {"non-ASCII name", {"J\xC3\xB6rg <j@ex.de>"}, "To: =?UTF-8?B?SsO2cmc=?=\r\n <j@ex.de>\r\n"},
      {"only in brackets", {"<ann@ex.de>"}, "To: <ann@ex.de>\r\n"},
      {"comma", {"x,y@ex.de"}, "To: \"x,y\"@ex.de\r\n"},
      {"local part quoted already", {"\"x,y\"@ex.de"}, "To: \"x,y\"@ex.de\r\n"},
      {"blank and no domain", {"Fred Smith"}, "To: \"Fred Smith\"\r\n"},
      {"other address type", {"FAX:+49 1"}, "To: \"FAX:+49 1\"\r\n"},
      {"domain that is none", {"a@b, c@d"}, "To: \"a@b, c\"@d\r\n"},
      {"group that would swallow others", {"a:b;c"}, "To: \"a:b;c\"\r\n"},
      {"comment that would swallow others", {"a(b", "c"}, "To: \"a(b\",\r\n c\r\n"},
      {"domain literal", {"a@[10.0.0.1]"}, "To: a@[10.0.0.1]\r\n"},
      {"line end", {"a@b\r\nBcc: c@d"}, "To: \"a@b  Bcc: c\"@d\r\n"},
      {"line end in a name", {"x\nSubject: y <a@b>"}, "To: \"x Subject: y\"\r\n <a@b>\r\n"},
      {"lone quote", {"\""}, "To: \"\\\"\"\r\n"},
      {"backslash at the end", {"a\\"}, "To: \"a\\\\\"\r\n"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(AddressField("To", row.addresses), row.field);
  }
}

TEST(HeaderText, WritesFileNames) {
  const struct {
    const char* name;
    std::string file_name, parameter, plain;
  } kRows[] = {
      {"plain", "a b.txt", ";\r\n filename=\"a b.txt\"", ";\r\n name=\"a b.txt\""},
      {"quotes", "a\"b\\", ";\r\n filename=\"a\\\"b\\\\\"", ";\r\n name=\"a\\\"b\\\\\""},
      {"non-ASCII", "Gr\xC3\xBC\xC3\x9F (1).txt",
       ";\r\n filename*=UTF-8''Gr%C3%BC%C3%9F%20%281%29.txt", ";\r\n name=\"Gr__ (1).txt\""},
      {"line end", "a\r\nb", ";\r\n filename*=UTF-8''a%0D%0Ab", ";\r\n name=\"a__b\""},
      {"long", std::string(59, 'x') + ".text",
       ";\r\n filename*0*=UTF-8''" + std::string(50, 'x') +
           ";\r\n filename*1*=" + std::string(9, 'x') + ".text",
       ";\r\n name=\"" + std::string(55, 'x') + ".text\""},
      {"long, escape at the border", std::string(49, 'x') + "\xC3\xA4",
       ";\r\n filename*0*=UTF-8''" + std::string(49, 'x') + ";\r\n filename*1*=%C3%A4",
       ";\r\n name=\"" + std::string(49, 'x') + "_\""}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FileNameParameter(row.file_name), row.parameter);
    EXPECT_EQ(PlainNameParameter(row.file_name), row.plain);
  }
}

}  // namespace
}  // namespace qvclient
