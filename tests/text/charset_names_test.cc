#include "text/charset_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

// A null name as text.
std::string Shown(const char* name) { return name == nullptr ? "(none)" : name; }

TEST(CharsetNamesTest, NamesAndCodePages) {
  const struct {
    const char* name;
    CodePage cp;       // what the name means
    const char* back;  // what that code page is called
  } kRows[] = {
      {"US-ASCII", 20005, "US-ASCII"},
      {"ISO-8859-1", 1252, "ISO-8859-1"},
      {"windows-1252", 1252, "ISO-8859-1"},
      {"X-cp1252", 1252, "ISO-8859-1"},
      {"iso-8859-9", 1254, "ISO-8859-9"},
      {"ISO-8859-16", 28606, "ISO-8859-16"},
      {"ISO-8859-8-e", 28598, "ISO-8859-8"},
      {"utf-8", 65001, "UTF-8"},
      {"UTF-16", 1201, "UTF-16"},
      {"UCS-2LE", 1200, "UTF-16LE"},
      {"UCS-4", 12001, "UTF-32"},
      {"UTF-32LE", 12000, "UTF-32LE"},
      {"utf-1", 65000, "UTF-7"},
      {"shift_jis", 932, "SHIFT_JIS"},
      {"X-SJIS", 932, "SHIFT_JIS"},
      {"X-EUC-JP", 20001, "EUC-JP"},
      {"GB2312", 936, "GB2312"},
      {"iso-2022-gb", 20004, "ISO-2022-CN"},
      {"KSC5601", 949, "ksc5601"},
      {"big5", 950, "BIG5"},
      {"KOI8-U", 878, "KOI-8"},
      {"x-mac-ce", 10029, "x-mac-ce"},
      {"X-MAC-ROMANIAN", 10029, "x-mac-ce"},
      {"HZ-GB-2312", 20006, "HZ-GB-2312"},
      {"latin1", 20000, "(none)"},
      {"UTF-", 20000, "(none)"},
      {"UTF-8 ", 20000, "(none)"},
      {"", 20000, "(none)"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(CharsetCodePage(row.name), row.cp) << row.name;
    EXPECT_EQ(Shown(CharsetName(row.cp)), row.back) << row.name;
  }
  EXPECT_EQ(CharsetCodePage(nullptr), 20000);
  EXPECT_EQ(Shown(CharsetName(28591)), "ISO-8859-1") << "a name that another page owns";
  EXPECT_EQ(Shown(CharsetName(10001)), "SHIFT_JIS");
  EXPECT_EQ(Shown(CharsetName(437)), "(none)");
}

// Sums over all code pages find an entry that is missing, misspelt or moved.
TEST(CharsetNamesTest, TableAsAWhole) {
  int named = 0, mutual = 0;
  for (int cp = 0; cp <= 0xFFFF; ++cp) {
    const char* name = CharsetName(static_cast<CodePage>(cp));
    if (name == nullptr) continue;
    ++named;
    if (CharsetCodePage(name) == cp) {
      ++mutual;
    } else {
      SCOPED_TRACE(name);
      EXPECT_TRUE(cp == 28591 || cp == 10001 || cp == 10002 || cp == 10003 || cp == 10025) << cp;
    }
  }
  EXPECT_EQ(named, 71);
  EXPECT_EQ(mutual, 66);
}

TEST(CharsetNamesTest, Families) {
  const struct {
    const char* name;
    CodePage back;  // the code page of the name
    std::vector<CodePage> pages;
  } kRows[] = {
      {"Shift-JIS", 932, {932, 10001}},
      {"GB2312", 936, {936, 10025}},
      {"GBK", 20014, {20014}},
      {"eucKR", 1361, {949, 1361}},
      {"Big5", 950, {950, 10002}},
      {"CP1250", 1250, {1250}},
      {"CP1251", 1251, {1251, 855}},
      {"CP1253", 1253, {1253, 737, 851, 869}},
      {"CP1254", 1254, {1254, 857}},
      {"CP1255", 1255, {1255, 862}},
      {"CP1256", 1256, {1256, 864}},
      {"CP1257", 1257, {1257, 775}},
      {"TIS-620", 874, {874}},
      {"Apple Roman", 10000, {10000}},
      {"CP1252", 1252, {1252, 0, 437, 1258, 20000, 20002, 65001}},
  };
  for (const auto& row : kRows) {
    for (CodePage cp : row.pages) EXPECT_STREQ(CharsetFamilyName(cp), row.name) << cp;
    EXPECT_EQ(CharsetFamilyCodePage(row.name), row.back) << row.name;
  }
  for (const char* name : {"shift-jis", "CP1258", "GB231", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(CharsetFamilyCodePage(name), 20000) << Shown(name);
  }
}

// A page that a font character set gives has that set itself; the sets of no page give none.
TEST(CharsetNamesTest, FontCharsets) {
  std::string known;
  for (uint32_t charset = 0; charset <= 0x200; ++charset) {
    const CodePage cp = FontCharsetToCodePage(charset);
    if (cp == 20000) continue;
    EXPECT_EQ(qv::FontCharset(cp), charset);
    known += std::to_string(cp) + " ";
  }
  EXPECT_EQ(known,
            "1252 10000 10001 10002 10003 10004 10005 10006 10007 10021 10025 10029 932 949 1361 "
            "936 950 10079 10081 1253 1254 1255 1256 1257 1251 874 1250 ");
}

TEST(CharsetNamesTest, MacScripts) {
  const struct {
    int16_t script;
    CodePage page;
  } kPages[] = {{0, 10000}, {1, 10001}, {29, 10029}, {-1, 10000}, {-32768, 10000}, {32767, 42767}};
  for (const auto& row : kPages) EXPECT_EQ(MacScriptToCodePage(row.script), row.page);
  const struct {
    CodePage page;
    int16_t script;
  } kScripts[] = {{10000, 0}, {10007, 7},    {10029, 29}, {932, 1},  {950, 2}, {1361, 3},
                  {936, 25},  {19999, 9999}, {20000, 0},  {9999, 0}, {949, 0}, {1252, 0}};
  for (const auto& row : kScripts) EXPECT_EQ(CodePageToMacScript(row.page), row.script) << row.page;
}

TEST(CharsetNamesTest, LocaleNames) {
  const struct {
    CodePage cp;
    const char* name;
  } kRows[] = {
      {1250, ".1250"},
      {932, "japanese.SHIFT_JIS"},
      {28595, "russian.ISO8859-5"},
      {437, "english"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.cp);
    const std::string whole = row.name;
    for (uint32_t size = 0; size <= 32; ++size) {
      char buffer[40];
      std::fill_n(buffer, sizeof buffer, '\x5A');
      LocaleName(row.cp, buffer, size);
      const std::string cut = size == 0 ? "" : whole.substr(0, size - 1) + '\0';
      EXPECT_EQ(std::string(buffer, sizeof buffer),
                cut + std::string(sizeof buffer - cut.size(), '\x5A'));
    }
  }
  LocaleName(1252, nullptr, 10);
}

// Every page whose language is not English.
TEST(CharsetNamesTest, LocaleLanguages) {
  std::map<std::string, std::string> pages;
  for (int cp = 0; cp <= 0xFFFF; ++cp) {
    char locale[64];
    LocaleName(static_cast<CodePage>(cp), locale, sizeof locale);
    pages[std::strtok(locale, ".")] += " " + std::to_string(cp);
  }
  std::string all;
  for (const auto& [language, cps] : pages)
    all += language == "english" ? "" : language + cps + "; ";
  EXPECT_EQ(all,
            "1250 1250; 1251 1251; 1252 1252; 1253 1253; 1254 1254; 1255 1255; 1256 1256; "
            "1257 1257; 1258 1258; chinese 936 10025 20004 20012 20013 20014; greek 28597; "
            "hebrew 28598; hungarian 28592; japanese 932 10001 20001 20002 20007 20008; "
            "korean 20003 20009; lithuanian 28594; russian 878 28595; taiwan 950 10002; ");
}

TEST(CharsetNamesTest, JapaneseFonts) {
  const struct {
    const char* name;
    CodePage cp;
    const char* language;
    const char* face;
  } kRows[] = {
      {"the page tells", 932, nullptr, "Osaka"},
      {"whatever the language", 10001, "en", "Osaka"},
      {"EUC", 20001, nullptr, "Osaka"},
      {"ISO-2022", 20002, nullptr, "Osaka"},
      {"a Chinese page is not Japanese", 936, "ja", "(none)"},
      {"nor a Korean one", 20003, "ja", "(none)"},
      {"nor Johab", 1361, "ja", "(none)"},
      {"the language tells", 65001, "ja", "Osaka"},
      {"with a country", 1200, "JA-jp", "Osaka"},
      {"single bytes", 1252, "ja", "Osaka"},
      {"another language", 65001, "jv", "(none)"},
      {"a shorter one", 65001, "j", "(none)"},
      {"no language", 65001, nullptr, "(none)"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Shown(JapaneseFontFace(row.cp, row.language)), row.face) << row.name;
  }
}

}  // namespace
