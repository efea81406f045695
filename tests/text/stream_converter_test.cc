#include <gtest/gtest.h>

#include <random>

#include "tests/text/module_tables.h"
#include "text/unicode_engines.h"

namespace qv {
namespace {

using namespace std::string_literals;

class StreamConverterTest : public test::ModuleTables {};

// Feeds the text in pieces whose sizes `next_size` gives, into output rooms that it also gives.
template <class NextSize>
std::string ConvertInPieces(const std::string& text, CodePage from, CodePage to, int mode,
                            uint32_t flags, NextSize next_size, uint32_t* cut) {
  StreamConverter converter(from, to, {mode, flags});
  std::string all;
  const auto take = [&](auto run) {
    char room[40];
    const uint32_t size =
        std::min<uint32_t>(next_size() + StreamConverter::kLeastRoom - 1, sizeof room);
    const ConversionResult result = run(room, size);
    EXPECT_LE(result.written, size);
    all.append(room, result.written);
    return result;
  };
  for (size_t at = 0; at < text.size();) {
    size_t end = std::min<size_t>(text.size(), at + next_size());
    while (at < end) {
      at +=
          take([&](char* room, uint32_t size) {
            return converter.Convert(text.data() + at, static_cast<uint32_t>(end - at), room, size);
          }).consumed;
    }
  }
  while (take([&](char* room, uint32_t size) { return converter.Finish(room, size); }).written) {
  }
  *cut = converter.cut_bytes();
  return all;
}

TEST_F(StreamConverterTest, AnySplitGivesTheSameBytes) {
  const std::string kTexts[] = {
      "",
      "\r",
      "\n",
      "\r\n",
      "\r\r\n\n\r",
      "a\r",
      "caf\xC3\xA9\r\n\xE2\x82\xAC\r\xF0\x9F\x98\x80\nend \xC3",
      "\xFE\x80\x80\x80\x80\x80\x80\r\xFC\x80\x80\x80\x80!\x80\xFF\r\xC3\n",
      std::string(50, 'x') + "\r\n" + std::string(33, 'y') + "\xC3\xA9\r",
      "\xE6\x97\xA5\xE6\x9C\xAC\xEF\xBD\xB1 kana\xEF\xBD\xB2\r\n\xE3\x81\x8C+-\xE3\x81\x8C",
  };
  constexpr CodePage kPages[] = {kUtf8, kUtf16Little, kUtf16Big, kUtf32Big, kUtf7,
                                 1252,  37,           932,       20001,     20002};
  std::mt19937 random(7);
  for (const std::string& utf8 : kTexts) {
    for (CodePage from : kPages) {
      std::string text =
          from == kUtf8 ? utf8 : test::ConvertWithEngine(utf8, kUtf8, from, kKeep).text;
      for (int cut = from == kUtf16Big || from == kUtf32Big; cut >= 0; --cut) {
        if (cut && !text.empty()) text.pop_back();  // a unit without its last byte
        for (CodePage to : kPages) {
          for (int mode : {kCr, kLf, kCrLf, kKeep}) {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(text) << from << " to " << to
                                            << " mode " << mode);
            const auto whole =
                test::ConvertWithEngine(text, from, to, mode, test::kAmple, kConvertByteOrderMark);
            uint32_t cut_bytes = 0;
            for (uint32_t size : {1u, 2u, 3u, 5u, 17u}) {
              ASSERT_EQ(ConvertInPieces(
                            text, from, to, mode, kConvertByteOrderMark, [size] { return size; },
                            &cut_bytes),
                        whole.text);
              ASSERT_EQ(cut_bytes, text.size() - whole.consumed);
            }
            ASSERT_EQ(
                ConvertInPieces(
                    text, from, to, mode, kConvertByteOrderMark,
                    [&random] { return static_cast<uint32_t>(1 + random() % 20); }, &cut_bytes),
                whole.text);
          }
        }
      }
    }
  }
}

// Every code page with a table, as source and as target, over bytes that are often ill-formed.
// Whole texts go through the blocks, single bytes through the careful loop.
TEST_F(StreamConverterTest, HostileTextsDoNotDependOnTheSplit) {
  constexpr char kBytes[] =
      "aaaaaaaaaaaaaaaaaaaa\r\n\r\n\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF8\xFC\xFE\xFF\xED\xA0"
      "\x82\xA0\x8E\xB1\x8F+AOkA-+-\x1B$B\x1B(B\x1B(I\x0E\x0F";
  std::vector<std::pair<CodePage, CodePage>> pairs;
  std::vector<CodePage> pages = {kUtf8, kUtf16Little, kUtf32Big, kUtf7, 20001};
  for (const auto& table : AllUnicodeTables()) {
    if (table->from_unicode()) pages.push_back(table->code_page());
  }
  for (CodePage page : pages) {
    for (CodePage form : {kUtf8, kUtf16Little, kUtf32Big, kUtf7}) {
      pairs.emplace_back(page, form);
      pairs.emplace_back(form, page);
    }
  }
  std::mt19937 random(11);
  for (int round = 0; round < 8; ++round) {
    for (const auto& [from, to] : pairs) {
      std::string text(random() % 150, 'x');
      for (char& c : text) c = kBytes[random() % (sizeof kBytes - 1)];
      const int mode = 2 + static_cast<int>(random() % 4);
      SCOPED_TRACE(testing::Message()
                   << testing::PrintToString(text) << from << " to " << to << " mode " << mode);
      const auto whole = test::ConvertWithEngine(text, from, to, mode);
      for (uint32_t most : {1u, 30u}) {
        uint32_t cut_bytes = 0;
        const auto next_size = [&] { return static_cast<uint32_t>(1 + random() % most); };
        ASSERT_EQ(ConvertInPieces(text, from, to, mode, 0, next_size, &cut_bytes), whole.text);
        ASSERT_EQ(cut_bytes, text.size() - whole.consumed);
      }
    }
  }
}

TEST_F(StreamConverterTest, IsNotUsableWithoutATable) {
  for (CodePage to : {CodePage{936}, CodePage{0}, kDefaultCodePage}) {
    StreamConverter converter(kUtf8, to, {});
    EXPECT_FALSE(converter.usable());
    char room[8];
    EXPECT_EQ(converter.Convert("abc", 3, room, 8).consumed, 0u);
    EXPECT_EQ(converter.Finish(room, 8).written, 0u);
  }
  EXPECT_TRUE(StreamConverter(kUtf8, 1252, {}).usable());
}

}  // namespace
}  // namespace qv
