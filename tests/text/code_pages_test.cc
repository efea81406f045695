#include "text/code_pages.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "text/process_code_pages.h"

namespace qv {
namespace {

// The pages of the range 0 to 65535 for which `is` holds.
template <typename Predicate>
std::vector<int> PagesWhere(Predicate is) {
  std::vector<int> pages;
  for (int cp = 0; cp <= 0xFFFF; ++cp) {
    if (is(static_cast<CodePage>(cp))) pages.push_back(cp);
  }
  return pages;
}

TEST(CodePagesTest, Classes) {
  EXPECT_EQ(PagesWhere(IsUnicodeCodePage),
            (std::vector<int>{1200, 1201, 12000, 12001, 65000, 65001}));
  EXPECT_EQ(PagesWhere(IsCharacterWiseCodePage),
            (std::vector<int>{932, 936, 949, 950, 1200, 1201, 1361, 10001, 10002, 10003, 10025,
                              12000, 12001, 20001, 20002, 20003, 20004, 20014, 65001}));
  EXPECT_EQ(PagesWhere(IsDoubleByteCodePage),
            (std::vector<int>{932, 936, 949, 950, 10001, 10002, 10003, 10025, 20001, 20014}));
  EXPECT_EQ(PagesWhere([](CodePage cp) { return cp != 20000 && CPTermSize(cp) == 2; }),
            (std::vector<int>{1200, 1201}));
  EXPECT_EQ(PagesWhere([](CodePage cp) { return cp != 20000 && CPTermSize(cp) == 4; }),
            (std::vector<int>{12000, 12001}));
}

TEST(CodePagesTest, LeadBytes) {
  struct Range {
    int first, last;
  };
  const std::vector<Range> japanese = {{0x81, 0x9F}, {0xE0, 0xEF}};
  const std::vector<Range> euc = {{0x8E, 0x8E}, {0xA1, 0xFE}};
  const struct {
    std::vector<CodePage> pages;
    std::vector<Range> ranges;
  } kRows[] = {
      {{932, 10001}, japanese},
      {{936, 949, 10003, 10025, 20001}, euc},
      {{950, 10002}, {{0xA1, 0xFE}}},
      {{20014}, {{0x81, 0xFE}}},
      {{1252, 1361, 20002, 20004, 65001, 1200}, {}},
  };
  for (const auto& row : kRows) {
    for (CodePage cp : row.pages) {
      for (int byte = 0; byte < 256; ++byte) {
        bool expected = false;
        for (const Range& range : row.ranges) {
          expected |= byte >= range.first && byte <= range.last;
        }
        EXPECT_EQ(CPIsLeadByte(static_cast<uint8_t>(byte), cp), expected) << cp << " " << byte;
      }
    }
  }
}

TEST(CodePagesTest, NativeLineEnds) {
  for (CodePage cp :
       std::initializer_list<CodePage>{0, 932, 1252, 9999, 12000, 12001, 20001, 65001}) {
    EXPECT_EQ(NativeLineEnd(cp), kCrLf) << cp;
  }
  for (CodePage cp : std::initializer_list<CodePage>{10000, 10001, 10029, 11999, 12002, 20000}) {
    EXPECT_EQ(NativeLineEnd(cp), kCr) << cp;
  }
}

TEST(CodePagesTest, ScriptClasses) {
  EXPECT_EQ(
      PagesWhere([](CodePage cp) { return ScriptClass(cp) == 0; }),
      (std::vector<int>{932, 936, 950, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1361}));
  EXPECT_EQ(PagesWhere([](CodePage cp) { return ScriptClass(cp) == 1; }),
            PagesWhere(IsUnicodeCodePage));
  EXPECT_EQ(PagesWhere([](CodePage cp) { return ScriptClass(cp) == 2; }),
            (std::vector<int>{10000, 10001, 10002, 10003, 10004, 10005, 10006, 10007, 10021, 10025,
                              10029, 10079, 10081}));
  EXPECT_EQ(PagesWhere([](CodePage cp) { return ScriptClass(cp) == 4; }),
            (std::vector<int>{437, 708, 709, 710, 711, 720, 737, 775, 819, 850, 851, 852,
                              855, 857, 860, 861, 862, 863, 864, 865, 866, 869, 874, 949}));
  EXPECT_EQ(ScriptClass(1258), 3);
  EXPECT_EQ(ScriptClass(20005), 3);
}

// Every page that has one.
TEST(CodePagesTest, FontCharsets) {
  std::map<int, std::string> pages;
  for (int cp = 0; cp <= 0xFFFF; ++cp) {
    pages[FontCharset(static_cast<CodePage>(cp))] += " " + std::to_string(cp);
  }
  std::string all;
  for (const auto& [charset, cps] : pages) {
    if (charset != 1) all += std::to_string(charset) + ":" + cps + "; ";
  }
  EXPECT_EQ(all,
            "0: 437 819 850 852 863 1252; 77: 10000; 78: 10001; 79: 10002; 80: 10003; 81: 10004; "
            "82: 10005; 83: 10006; 84: 10007; 98: 10021; 102: 10025; 106: 10029; 128: 932; "
            "129: 949; 130: 1361; 134: 936; 136: 950; 156: 10079; 158: 10081; "
            "161: 737 851 869 1253; 162: 857 1254; 177: 862 1255; 178: 864 1256; "
            "186: 775 1257; 204: 855 1251; 222: 874; 238: 1250; ");
}

TEST(CodePagesTest, TwentyThousandStandsForTheDefault) {
  ResetCodePagesForTest();
  EXPECT_EQ(CPTermSize(20000), 1);
  EXPECT_EQ(SetDefaultCodePage(12001), 1252);
  EXPECT_EQ(SetDefaultCodePage(20000), 12001) << "20000 only asks";
  EXPECT_EQ(SetDefaultCodePage(20000), 12001);
  EXPECT_EQ(CPTermSize(20000), 4);
  EXPECT_EQ(SetDefaultCodePage(932), 12001);
  EXPECT_TRUE(CPIsLeadByte(0x81, 20000));
  ResetCodePagesForTest();
  EXPECT_FALSE(CPIsLeadByte(0x81, 20000));
  EXPECT_EQ(GetApplicationCodePage(), 1252);
  EXPECT_EQ(GetInterchangeCodePage(), 65001);
}

}  // namespace
}  // namespace qv
