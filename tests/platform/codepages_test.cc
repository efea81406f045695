#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace {

// Hex of UTF-16 units, so that both platforms' wide characters print alike.
template <typename Wide>
std::string Units(const Wide* wide, int count) {
  std::string text;
  char hex[8];
  for (int i = 0; i < count; ++i) {
    std::snprintf(hex, sizeof hex, i ? " %04X" : "%04X", static_cast<unsigned>(wide[i]));
    text += hex;
  }
  return text;
}

std::string Decode(UINT code_page, const std::string& bytes, DWORD flags = 0) {
  WCHAR wide[64];
  int count =
      MultiByteToWideChar(code_page, flags, bytes.data(), static_cast<int>(bytes.size()), wide, 64);
  return count ? Units(wide, count) : "error " + std::to_string(GetLastError());
}

std::string Encode(UINT code_page, const std::vector<WCHAR>& wide, DWORD flags = 0) {
  char text[64];
  int count = WideCharToMultiByte(code_page, flags, wide.data(), static_cast<int>(wide.size()),
                                  text, sizeof text, nullptr, nullptr);
  return count ? std::string(text, count) : "error " + std::to_string(GetLastError());
}

TEST(CodePagesTest, BytesToCharacters) {
  const struct {
    UINT code_page;
    std::string bytes, units;
  } kRows[] = {
      {1252, "a\x80\xE9", "0061 20AC 00E9"},
      {1252, "\x81\x9D", "0081 009D"},
      {1250, "\xF5", "0151"},
      {1251, "\xCF", "041F"},
      {437, "\x81", "00FC"},
      {28592, "\xE6", "0107"},
      {932, "\x83\x65\xB1", "30C6 FF71"},
      {936, "\xD6\xD0", "4E2D"},
      {949, "\xB0\xA1", "AC00"},
      {950, "\xA4\xA4", "4E2D"},
      {65001, "\xE2\x82\xAC", "20AC"},
      {65001, "\xF0\x9F\x98\x80", "D83D DE00"},
      {65001,
       "a\xFF"
       "b",
       "0061 FFFD 0062"},
      {65001, "\xE2\x82", "FFFD"},
      {CP_ACP, "\xE9", "00E9"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Decode(row.code_page, row.bytes), row.units) << row.code_page << " " << row.bytes;
  }
}

TEST(CodePagesTest, CharactersToBytes) {
  const struct {
    UINT code_page;
    std::vector<WCHAR> wide;
    std::string bytes;
  } kRows[] = {
      {1252, {0x61, 0x20AC}, "a\x80"},
      {1252, {0x3042}, "?"},
      {1252, {0x81}, "\x81"},
      {932, {0x30C6}, "\x83\x65"},
      {65001, {0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {65001, {0xD83D}, "\xEF\xBF\xBD"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Encode(row.code_page, row.wide), row.bytes) << row.code_page;
  }
}

TEST(CodePagesTest, StrictFlagsRefuseWhatIsMalformed) {
  EXPECT_EQ(Decode(65001, "\xFF", MB_ERR_INVALID_CHARS), "error 1113");
  EXPECT_EQ(Decode(65001, "ok", MB_ERR_INVALID_CHARS), "006F 006B");
  EXPECT_EQ(Encode(65001, {0xD83D}, WC_ERR_INVALID_CHARS), "error 1113");
  BOOL lost = FALSE;
  char text[8];
  WCHAR wide = 0x3042;
  EXPECT_EQ(WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, &wide, 1, text, 8, "!", &lost), 1);
  EXPECT_TRUE(lost);
  EXPECT_EQ(text[0], '!');
}

TEST(CodePagesTest, SizesAndLimits) {
  WCHAR wide[8];
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", -1, nullptr, 0), 4) << "with the terminator";
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, wide, 2), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 0, wide, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(MultiByteToWideChar(12345, 0, "abc", 3, wide, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

std::vector<UINT>& Seen() {
  static std::vector<UINT> seen;
  return seen;
}

BOOL CALLBACK Collect(LPSTR number) {
  Seen().push_back(static_cast<UINT>(std::stoul(number)));
  return TRUE;
}

BOOL CALLBACK TakeOne(LPSTR) {
  Seen().push_back(0);
  return FALSE;
}

TEST(CodePagesTest, SystemPages) {
  Seen().clear();
  ASSERT_TRUE(EnumSystemCodePagesA(Collect, CP_SUPPORTED));
  std::set<UINT> pages(Seen().begin(), Seen().end());
  EXPECT_EQ(pages.size(), Seen().size()) << "each one once";
  for (UINT page : {437u,  850u,  874u,  932u,  936u,  949u,  950u,   1250u,  1251u,  1252u,
                    1253u, 1254u, 1255u, 1256u, 1257u, 1258u, 10000u, 20127u, 20866u, 28591u}) {
    EXPECT_TRUE(pages.count(page)) << page;
    EXPECT_TRUE(IsValidCodePage(page)) << page;
  }
  // The real system lists these two as well, Wine does not.
  for (UINT page : {65000u, 65001u}) EXPECT_TRUE(IsValidCodePage(page)) << page;
  for (UINT page : {0u, 1u, 1200u, 1201u, 12000u, 20001u, 99999u}) {
    EXPECT_FALSE(IsValidCodePage(page)) << page;
  }
  Seen().clear();
  EXPECT_TRUE(EnumSystemCodePagesA(TakeOne, CP_SUPPORTED));
  EXPECT_EQ(Seen().size(), 1u) << "the callback ends it";
}

}  // namespace
