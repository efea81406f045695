#include "text/east_asian_forms.h"

#include <gtest/gtest.h>

#include "tests/text/east_asian_text.h"
#include "text/characters.h"

namespace qv {
namespace {

using Codes = std::vector<uint32_t>;
constexpr uint32_t kSub = kReplacement;

TEST(EastAsianForms, AreRead) {
  const struct {
    const char* name;
    CodePage cp;
    std::string in;
    Codes codes;
    size_t cut;
  } kRows[] = {
      {"Shift-JIS: byte, kana, pair with a backslash", 932, "a\xB1\x95\\", {'a', 0xB1, 0x955C}, 0},
      {"a lead byte before a control", 932, "\x82\r", {kSub, '\r'}, 0},
      {"a lead byte at the end", 949, "a\xB0", {'a'}, 1},
      {"Macintosh signs", 10025, "\xFD\xFE\xFF", {0xFD, 0xFE, 0xFF}, 0},
      {"Johab", 1361, "\x88\x61", {0x8861}, 0},
      {"EUC-JP: JIS, kana", 20001, "\xA4\xA2\x8E\xB1", {0x2422, 0xB1}, 0},
      {"JIS X 0212 is one character", 20001, "\x8F\xB0\xA1z", {kSub, 'z'}, 0},
      {"cut after two bytes", 20001, "\x8F\xB0", {}, 2},
      {"8F before ASCII", 20001, "\x8Fz", {kSub, 'z'}, 0},
      {"pairs that are no characters", 20001, "\xA4z\x8Ez\x90", {kSub, kSub, kSub}, 0},
      {"JIS: both editions, back", 20002, "\x1B$@$\"\x1B$B$\"\x1B(Ba", {0x2422, 0x2422, 'a'}, 0},
      {"four-byte sequence", 20002, "\x1B$(B$\"", {0x2422}, 0},
      {"announced edition", 20002, "\x1B&@\x1B$B$\"", {0x2422}, 0},
      {"Roman", 20002, "\x1B(J\\~", {'\\', '~'}, 0},
      {"katakana: set, SO, eight bits",
       20002,
       "\x1B(I1`\x1B(B\x0EQ\x0FQ\xB1",
       {0xB1, kSub, 0xD1, 'Q', 0xB1},
       0},
      {"a set without codes", 20002, "\x1B$(D0!\x1B(Ba", {kSub, 'a'}, 0},
      {"controls and spaces inside",
       20002,
       "\x1B$B$\" $\x7F$\"",
       {0x2422, ' ', kSub, 0x7F, 0x2422},
       0},
      {"a line end returns to ASCII", 20002, "\x1B$B$\"\r\n$\"", {0x2422, '\r', '\n', '$', '"'}, 0},
      {"cut inside a sequence", 20002, "a\x1B$(", {'a'}, 3},
      {"cut inside a character", 20002, "\x1B$B$", {}, 1},
      {"an unknown sequence", 20002, "\x1B[1m", {0x1B, '[', '1', 'm'}, 0},
      {"another page's sequence", 20002, "\x1B$)C", {0x1B, '$', ')', 'C'}, 0},
      {"KR", 20003, "\x1B$)Ca\x0EG!\x0FG", {'a', 0xC7A1, 'G'}, 0},
      {"KR: no designation, eight bits", 20003, "\x0EG!\xB0\xA1", {0xC7A1, kSub, kSub}, 0},
      {"CN: SO, a line end, another set",
       20004,
       "\x1B$)A\x0EG!\nG!\x1B$)G\x0EG!\n\x0EG!",
       {0xC7A1, '\n', 'G', '!', kSub, '\n', 0xC7A1},
       0},
      {"CN: single shift", 20004, "\x1B$*H\x1BN!!a\x1BN\n", {kSub, 'a', kSub, '\n'}, 0},
      {"CN: cut single shift", 20004, "\x1BN!", {}, 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    size_t cut = 99;
    EXPECT_EQ(test::ReadCodes(row.cp, row.in, &cut), row.codes);
    EXPECT_EQ(cut, row.cut);
  }
}

TEST(EastAsianForms, AreWritten) {
  const struct {
    const char* name;
    CodePage cp;
    Codes codes;
    std::string out;
  } kRows[] = {
      {"lead byte alone, foreign lead, low trail",
       932,
       {0x82, 0xF040, 0x8210, 0x18140},
       "\x1A\x1A\x1A\x1A"},
      {"Big5", 950, {'a', 0xA440}, "a\xA4@"},
      {"EUC-JP", 20001, {'a', 0xB1, 0x2422, 0xA4A2, 0x80}, "a\x8E\xB1\xA4\xA2\x1A\x1A"},
      {"JIS: each set", 20002, {'a', 0x2422, 0x2424, 0xB1, '\n'}, "a\x1B$B$\"$$\x1B(I1\x1B(B\n"},
      {"JIS: closed", 20002, {0x2422}, "\x1B$B$\"\x1B(B"},
      {"no sequences from characters", 20002, {0x1B, '$', 'B', 0x0E, 0x0F}, "\x1A$B\x1A\x1A"},
      {"KR", 20003, {'a', 0xC7A1, '\n', 0xC7A1, 0xB041}, "\x1B$)Ca\x0EG!\x0F\n\x0EG!\x0F\x1A"},
      {"CN: once per line",
       20004,
       {'a', 0xC7A1, 'z', 0xC7A1, '\r', '\n', 0xC7A1},
       "a\x1B$)A\x0EG!\x0Fz\x0EG!\x0F\r\n\x1B$)A\x0EG!\x0F"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(test::WriteCodes(row.cp, row.codes), row.out);
  }
}

// Every code of 17 bits: what a page expresses reads back, and nothing else than that or SUB.
TEST(EastAsianForms, ReadBackWhatTheyWrite) {
  constexpr uint32_t kTrails = 224, kRows = 94 * 94, kKatakana = 63, kSequenceBytes = 3;
  const auto bytes_and_pairs = [](uint32_t leads) { return 256 - leads + leads * kTrails; };
  const struct {
    CodePage cp;
    uint32_t codes;
  } kPages[] = {
      {932, bytes_and_pairs(47)},
      {10001, bytes_and_pairs(47)},
      {936, bytes_and_pairs(95)},
      {949, bytes_and_pairs(95)},
      {950, bytes_and_pairs(94)},
      {1361, bytes_and_pairs(113)},
      {20014, bytes_and_pairs(126)},
      {10002, bytes_and_pairs(92)},
      {10003, bytes_and_pairs(94)},
      {10025, bytes_and_pairs(93)},
      {20009, bytes_and_pairs(94)},
      {20013, bytes_and_pairs(94)},
      {20001, 128 + kKatakana + kRows},
      {20002, 128 - kSequenceBytes + kKatakana + kRows},
      {20003, 128 - kSequenceBytes + kRows},
      {20004, 128 - kSequenceBytes + kRows},
      {1252, 0},
  };
  for (const auto& page : kPages) {
    SCOPED_TRACE(page.cp);
    uint32_t own = 0;
    for (uint32_t code = 0; code < 0x20000; ++code) {
      size_t cut = 0;
      const Codes back = test::ReadCodes(page.cp, test::WriteCodes(page.cp, {code}), &cut);
      own += back == Codes{code};
      ASSERT_TRUE(page.codes == 0 || back == Codes{code} || back == Codes{kSub}) << code;
    }
    EXPECT_EQ(own, page.codes);
  }
}

// A refused character leaves no trace, and Close finds its room.
TEST(EastAsianForms, RefuseWhatDoesNotFit) {
  const Codes codes = {'a', 0x2422, 0xB0A1, 0xB1, 0x88A1, '\r', '\n', 0xB0A1, 0x2422, 0xB0A2};
  for (const CodePage cp : std::initializer_list<CodePage>{932, 950, 20001, 20002, 20003, 20004}) {
    SCOPED_TRACE(cp);
    std::string text;
    VisitEastAsianWriter(cp, [&](auto writer) {
      for (uint32_t code : codes) {
        uint8_t out[16] = {};
        size_t room = 0;
        int size = kNoRoom;
        while ((size = writer.Write(code, out, room)) == kNoRoom) {
          ASSERT_EQ(out[0], 0) << "refused and written";
          ++room;
        }
        text.append(out, out + size);
        auto closed = writer;  // with what is left of the least room
        EXPECT_EQ(closed.Close(out + size, room - size), static_cast<int>(room) - size);
        EXPECT_EQ(closed.Close(out, 0), 0) << "closed already";
      }
      uint8_t out[4];
      if (writer.Close(out, 0) == kNoRoom) text.append(out, out + writer.Close(out, sizeof out));
    });
    EXPECT_EQ(text, test::WriteCodes(cp, codes));
  }
}

// Text falls into the pieces that the walk over strings sees, but for the listed bytes.
TEST(EastAsianForms, FallIntoThePiecesOfTheWalk) {
  const struct {
    CodePage cp;
    std::string others;
  } kPages[] = {{932, ""},       {10001, ""},        {936, ""},       {949, ""},
                {950, ""},       {20014, ""},        {20001, "\x8F"}, {10002, "\xFD\xFE"},
                {10003, "\xFE"}, {10025, "\xFD\xFE"}};
  for (const auto& page : kPages) {
    std::string others;
    for (int first = 0; first < 256; ++first) {
      bool agrees = true;
      for (int second = 0; second < 256; ++second) {
        const uint8_t text[] = {static_cast<uint8_t>(first), static_cast<uint8_t>(second), 0xA1};
        const auto* walked = reinterpret_cast<const char*>(text);
        VisitEastAsianReader(page.cp, [&](auto reader) {
          agrees &= reader.Read(text, text + 3).size == CPCharSizeOrOne(walked, page.cp, 3) &&
                    reader.Read(text, text + 1).size == (CPIsLeadByte(text[0], page.cp) ? 0u : 1u);
        });
      }
      if (!agrees) others += static_cast<char>(first);
    }
    EXPECT_EQ(others, page.others) << page.cp;
  }
}

}  // namespace
}  // namespace qv
