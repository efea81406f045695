#include "programs/qvtool/text_conversion.h"

#include <gtest/gtest.h>

#include "programs/qvtool/code_page_argument.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"

namespace qvtool {
namespace {

using namespace std::string_literals;

class TextConversionTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ZRInitModuleResources(GetModuleHandleA(nullptr));
    ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  }
  static void TearDownTestSuite() { ReleaseCharsetTables(); }
};

struct Result {
  std::string text;
  uint32_t cut_bytes;
  uint64_t lost;
  bool operator==(const Result&) const = default;
};

// In pieces of `piece` bytes.
Result ConvertInPieces(std::string_view text, CodePage from, CodePage to, int line_ends,
                       size_t piece) {
  std::string out;
  TextConversion conversion(from, to, line_ends, [&out](std::string_view bytes) {
    out += bytes;
    return true;
  });
  for (size_t at = 0; at < text.size(); at += piece) {
    EXPECT_TRUE(conversion.Convert(text.substr(at, piece)));
  }
  conversion.Finish();
  EXPECT_EQ(conversion.trouble(), std::nullopt);
  return {out, conversion.cut_bytes(), conversion.lost()};
}

// "Nihon" in the Japanese forms, and as UTF-8.
constexpr char kSjis[] = "\x93\xFA\x96\x7B", kEuc[] = "\xC6\xFC\xCB\xDC",
               kJis[] = "\x1B$BF|K\\\x1B(B", kUtf8Text[] = "\xE6\x97\xA5\xE6\x9C\xAC";

TEST_F(TextConversionTest, AnyPiecesGiveTheSame) {
  const std::string sjis = kSjis, euc = kEuc, jis = kJis, utf8 = kUtf8Text;
  const struct {
    const char* name;
    CodePage from, to;
    int line_ends;
    std::string in;
    Result out;
  } kRows[] = {
      {"to UTF-8", 1252, kUtf8, qv::kKeep, "caf\xE9\r\n\r", {"caf\xC3\xA9\r\n\r", 0, 0}},
      {"line ends", 1252, kUtf8, qv::kLf, "a\r\nb\rc\n\r\r\n", {"a\nb\nc\n\n\n", 0, 0}},
      {"a cut character", kUtf8, 1252, qv::kKeep, "a\xC3", {"a", 1, 0}},
      {"half a unit", kUtf16Little, kUtf8, qv::kKeep, "a\0b"s, {"a", 1, 0}},
      {"through a byte map", 10000, 1252, qv::kCrLf, "\x80\r\r\n\n", {"\xC4\r\n\r\n\r\n", 0, 0}},
      {"through two tables", 1252, 850, qv::kCrLf, "\xE9\n\r", {"\x82\r\n\r\n", 0, 0}},
      {"without a converter", 1252, 932, qv::kKeep, "a\xD7", {"a\x81\x7E", 0, 0}},
      {"the same page", 1252, 1252, qv::kCr, "a\r\nb\x81\n\r", {"a\rb\x81\r\r", 0, 0}},
      {"two bytes a character",
       932,
       20001,
       qv::kLf,
       sjis + "\r\n" + sjis,
       {euc + "\n" + euc, 0, 0}},
      {"its last one cut", 932, 20001, qv::kLf, sjis + "\x93", {euc, 1, 0}},
      {"escape sequences written",
       932,
       20002,
       qv::kCrLf,
       sjis + "\r" + sjis + "a\n",
       {jis + "\r\n" + jis + "a\r\n", 0, 0}},
      {"and read", 20002, 932, qv::kLf, "x" + jis + "\r\n" + jis, {"x" + sjis + "\n" + sjis, 0, 0}},
      {"through Unicode", 20002, kUtf8, qv::kKeep, jis + "\r" + jis, {utf8 + "\r" + utf8, 0, 0}},
      {"lost in a target", kUtf8, 1252, qv::kKeep, utf8 + "\x1A\0"s, {"\x1A\x1A\x1A\0"s, 0, 2}},
      {"no character for a byte", 1252, kUtf16Big, qv::kKeep, "\x81z", {"\0\0\0z"s, 0, 1}},
      {"malformed", kUtf8, kUtf8, qv::kKeep, "a\xC3z\x80", {"a\x1Az\x1A", 0, 2}},
      {"bytes of zero in wide text are no loss",
       kUtf16Big,
       kUtf8,
       qv::kKeep,
       "\0\x1A\x1A\0"s,
       {"\x1A\xE1\xA8\x80", 0, 0}},
      {"another control in the source", 37, 1252, qv::kKeep, "\x3F\xC1", {"\x1A\x41", 0, 0}},
  };
  for (const auto& row : kRows) {
    for (const size_t piece : {size_t{1}, size_t{2}, size_t{3}, size_t{1000}}) {
      SCOPED_TRACE(testing::Message() << row.name << ", pieces of " << piece);
      const Result result = ConvertInPieces(row.in, row.from, row.to, row.line_ends, piece);
      EXPECT_EQ(testing::PrintToString(result.text), testing::PrintToString(row.out.text));
      EXPECT_EQ(result.cut_bytes, row.out.cut_bytes);
      EXPECT_EQ(result.lost, row.out.lost);
    }
  }
}

TEST_F(TextConversionTest, StopsWhereItCannotGoOn) {
  const auto take_all = [](std::string_view) { return true; };
  const std::string line(kLongestLine + 1, 'x');
  const struct {
    const char* name;
    CodePage from, to;
    Sink sink;
    std::string trouble;
  } kRows[] = {
      {"no table", 20009, kUtf8, take_all,
       "there is no table to convert 20009 (EUC-KR) to 65001 (UTF-8)"},
      {"no such page", 1252, 9999, take_all,
       "there is no table to convert 1252 (ISO-8859-1) to 9999"},
      {"a line that ISO-2022 would lose track of", 932, 20002, take_all,
       "a line has more than 1048576 bytes, too many to be converted between 932 (SHIFT_JIS) and "
       "20002 (ISO-2022-JP)"},
      {"a writer that fails", 932, 20001, [](std::string_view) { return false; }, "(none)"},
      {"the same through Unicode", 1252, kUtf8, [](std::string_view) { return false; }, "(none)"},
  };
  for (const auto& row : kRows) {
    TextConversion conversion(row.from, row.to, qv::kKeep, row.sink);
    EXPECT_FALSE(conversion.Convert(line)) << row.name;
    EXPECT_EQ(conversion.trouble().value_or("(none)"), row.trouble) << row.name;
  }
}

TEST(CodePageArgumentTest, IsANameOrANumber) {
  const struct {
    const char* argument;
    int cp;  // -1: refused
  } kRows[] = {
      {"932", 932},   {"Shift_JIS", 932}, {"utf-8", 65001}, {"65535", 65535},       {"65536", -1},
      {"0", -1},      {"20000", -1},      {"-1", -1},       {"1252x", -1},          {" 1252", -1},
      {"latin1", -1}, {"", -1},           {"eucKR", 1361},  {"Apple Roman", 10000}, {"EUCkr", -1}};
  for (const auto& row : kRows) {
    const auto cp = CodePageOf(row.argument);
    EXPECT_EQ(cp ? int{*cp} : -1, row.cp) << row.argument;
    EXPECT_EQ(WrongCodePage(row.argument).empty(), row.cp >= 0) << row.argument;
  }
}

}  // namespace
}  // namespace qvtool
