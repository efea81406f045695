#include "text/pair_converters.h"

#include <gtest/gtest.h>

#include "tests/text/east_asian_text.h"
#include "tests/text/module_tables.h"

namespace qv {
namespace {

using namespace std::string_literals;
using test::Converted;

Converted Convert(const std::string& input, CodePage from, CodePage to, int mode,
                  uint32_t room = test::kAmple) {
  return test::ConvertGuarded(room, [&](char* output, uint32_t* written) {
    return PairConverter(from, to).Convert(input.data(), static_cast<uint32_t>(input.size()),
                                           output, written, mode);
  });
}

class PairConverters : public test::ModuleTables {};

TEST_F(PairConverters, ConvertTexts) {
  const std::string kana = "\x1B$B$\"\x1B(B", gb = "\x1B$)A\x0EG!\x0F";
  const struct {
    const char* name;
    CodePage from, to;
    std::string in;
    int mode;
    std::string out;
    uint32_t cut = 0;  // bytes that stay unconsumed
    uint32_t room = test::kAmple;
  } kRows[] = {
      {"JIS to Shift-JIS", 20002, 932, kana + "z", kKeep, "\x82\xA0z"},
      {"Shift-JIS to EUC, half-width katakana", 932, 20001, "\x82\xA0\xB1", kKeep,
       "\xA4\xA2\x8E\xB1"},
      {"NEC's row has its place in JIS", 932, 20002, "\x87@", kKeep, "\x1B$B-!\x1B(B"},
      {"and another one on the Macintosh", 932, 10001, "\x87@\xEE\xEF", kKeep, "\x85@\x85\xB3"},
      {"from there", 10001, 20001, "\x85@\x80", kKeep, "\xAD\xA1\\"},
      {"Macintosh sign and vertical form", 10001, 932, "\xFD\xEB\x41", kKeep, "\x1A\x1A"},
      {"selected kanji, not on the Macintosh", 20002, 10001, "\x1B$By!\x1B(B", kKeep, "\x1A"},
      {"bytes without a character", 932, 20001, "\x80\xA0\x81\x20", kKeep, "\x1A\x1A\x1A"},
      {"GBK to GB 2312", 20014, 10025, "\xB0\xA1\xB0\x40\x81\x40", kKeep, "\xB0\xA1\x1A\x1A"},
      {"936 is a part of GBK", 936, 20014, "\xB0\x40\x80\xB0\x20", kKeep, "\xB0\x40\x80\x1A"},
      {"what its lead bytes express", 20014, 936, "\x8E\x40\x81\x40", kKeep, "\x8E\x40\x1A"},
      {"949 to KS X 1001", 949, 20003, "\xC7\xA1\xB0\x41", kKeep, "\x1B$)C\x0EG!\x0F\x1A"},
      {"row FE, signs of the Macintosh", 949, 10003, "\xFD\xFE\xFE\xA1", kKeep, "\xFD\xFE\x1A"},
      {"an open end is closed", 936, 20004, "\xC7\xA1", kKeep, gb},
      {"native of the target: CR", 936, 10025, "\xB0\xA1\r\n\n", kNativeTo, "\xB0\xA1\r\r"},
      {"native of the source: CR LF", 936, 10025, "\xB0\xA1\r", kNativeFrom, "\xB0\xA1\r\n"},
      {"CR", 20004, 936, gb + "\r\n" + gb + "\n", kCr, "\xC7\xA1\r\xC7\xA1\r"},
      {"LF", 20002, 932, kana + "\r\r\n", kLf, "\x82\xA0\n\n"},
      {"CR LF", 20002, 932, kana + "\n\r", kCrLf, "\x82\xA0\r\n\r\n"},
      {"CR LF, never in a character set", 20001, 20002, "\xA4\xA2\n\xA4\xA2", kCrLf,
       kana + "\r\n" + kana},
      {"keep", 20001, 20002, "\xA4\xA2\r\n\r", kKeep, kana + "\r\n\r"},
      {"keep, too", 20001, 20002, "\xA4\xA2\r\n\r", kKeepToo, kana + "\r\n\r"},
      {"a sequence between CR and LF", 20002, 932, "\r\x1B(B\n", kCrLf, "\r\n\r\n"},
      {"a lead byte before a line end", 949, 10003, "\xB0\r\n", kCrLf, "\x1A\r\n"},
      {"equal: only line ends", 20002, 20002, "\x1B$@$\"\x1B(J\n", kCrLf, "\x1B$@$\"\x1B(J\r\n"},
      {"equal: whatever the bytes", 932, 932, "\x82\r\x80", kLf, "\x82\n\x80"},
      {"cut character", 932, 20001, "a\x82", kKeep, "a", 1},
      {"cut sequence", 20002, 932, "a\x1B$", kKeep, "a", 2},
      {"no room for half a character", 932, 20001, "a\x82\xA0", kKeep, "a", 2, 2},
      {"equal: no half of one either", 20002, 20002, "\x1B$B$\"", kKeep, "\x1B$B", 2, 4},
      {"equal: nor of a sequence", 20004, 20004, "\x1B$)A", kKeep, "", 4, 3},
      {"two families", 932, 949, "a", kKeep, "", 1},
      {"no family", 932, 1252, "a", kKeep, "", 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Convert(row.in, row.from, row.to, row.mode, row.room),
              (Converted{row.out, static_cast<uint32_t>(row.in.size()) - row.cut}));
  }
}

struct Direction {
  CodePage from, to;
  uint32_t codes;  // that have a counterpart and come back from it
};
constexpr uint32_t kSets = 94 * 94, kKana = 63;
constexpr uint32_t kSevenBits = 128, kNoSequences = 125;
constexpr uint32_t kCommon = 77 * 94 + 83;  // rows of JIS X 0208; signs, by the tables
constexpr uint32_t kSharedGbk = 128 + 1 + 94 * 190 + 190;  // A1 to FE and 8E, and the euro sign
const Direction kDirections[] = {
    {932, 10001, kSevenBits + kKana + kCommon},
    {932, 20002, kNoSequences + kKana + kSets},
    {932, 20001, kSevenBits + kKana + kSets},
    {10001, 932, kSevenBits + kKana + kCommon},
    {10001, 20002, kNoSequences + kKana + kCommon},
    {10001, 20001, kSevenBits + kKana + kCommon},
    {20001, 932, kSevenBits + kKana + kSets},
    {20001, 10001, kSevenBits + kKana + kCommon},
    {20001, 20002, kNoSequences + kKana + kSets},
    {20002, 932, kNoSequences + kKana + kSets},
    {20002, 10001, kNoSequences + kKana + kCommon},
    {20002, 20001, kNoSequences + kKana + kSets},
    {936, 10025, kSevenBits + 92 * 94},
    {936, 20004, kNoSequences + kSets},
    {936, 20014, kSharedGbk},
    {10025, 936, kSevenBits + 92 * 94},
    {10025, 20004, kNoSequences + 92 * 94},
    {10025, 20014, kSevenBits + 92 * 94},
    {20004, 936, kNoSequences + kSets},
    {20004, 10025, kNoSequences + 92 * 94},
    {20004, 20014, kNoSequences + kSets},
    {949, 10003, kSevenBits + 93 * 94},
    {949, 20003, kNoSequences + kSets},
    {10003, 949, kSevenBits + 93 * 94},
    {10003, 20003, kNoSequences + 93 * 94},
    {20003, 10003, kNoSequences + 93 * 94},
    {20003, 949, kNoSequences + kSets},
};

// Every code of the source: its counterpart is one whole character, and leads back to the code or,
// where one was folded onto another, to what has the same counterpart.
TEST_F(PairConverters, LeadThereAndBack) {
  for (const Direction& direction : kDirections) {
    uint32_t back = 0;
    for (uint32_t code = 0; code < 0x10000; ++code) {
      if (!test::HasCode(direction.from, code)) continue;
      const std::string text = test::WriteCodes(direction.from, {code});
      const std::string there = Convert(text, direction.from, direction.to, kKeep, 16).text;
      const std::string again = Convert(there, direction.to, direction.from, kKeep, 16).text;
      ASSERT_EQ(Convert(again, direction.from, direction.to, kKeep, 16).text, there) << code;
      back += again == text;
    }
    EXPECT_EQ(back, direction.codes) << direction.from << " to " << direction.to;
  }
}

// With any room: what was consumed is what the output stands for.
TEST_F(PairConverters, StopBetweenCharacters) {
  for (const Direction& direction : kDirections) {
    SCOPED_TRACE(testing::Message() << direction.from << " to " << direction.to);
    uint32_t pair = 0;
    for (uint32_t code : {0x82A0, 0xB0A1, 0x2422}) {
      if (test::HasCode(direction.from, code)) pair = code;
    }
    const std::string text =
        test::WriteCodes(direction.from, {'a', pair, pair, '\r', '\n', pair, '\n', 'b', pair});
    for (int mode : {kLf, kCrLf, kKeep}) {
      uint32_t consumed = 0;
      for (uint32_t room = 0; consumed < text.size(); ++room) {
        const Converted part = Convert(text, direction.from, direction.to, mode, room);
        ASSERT_EQ(Convert(text.substr(0, part.consumed), direction.from, direction.to, mode), part);
        ASSERT_GE(part.consumed, consumed);
        consumed = part.consumed;
      }
    }
  }
}

}  // namespace
}  // namespace qv
