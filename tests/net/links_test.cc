#include "net/links.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using std::string;
using testing::ElementsAre;

constexpr uint32_t kSilent = 0, kEcho = ZRURLFinder::kEchoMode;

// Keeps everything that it is told.
struct Finder : ZRURLFinder {
  explicit Finder(uint32_t mode, bool no_spaces = false, CodePage cp = 10000)
      : ZRURLFinder(mode, no_spaces) {
    SetCodePage(cp);
  }
  void EchoChar(uint8_t byte) override {
    page += static_cast<char>(byte);
    text += static_cast<char>(byte);
  }
  void FoundURLRange(uint32_t position, uint32_t length) override { Range('U', position, length); }
  void FoundURL(const char* found) override { Found(found); }
  void FoundAddressRange(uint32_t position, uint32_t length) override {
    Range('M', position, length);
  }
  void FoundAddress(const char* found) override { Found(found); }
  void NoteState(uint32_t state) override { states += "0123456789abcd"[state]; }

  void Range(char kind, uint32_t position, uint32_t length) {
    ranges.push_back({position, length});
    finds.push_back(string(1, kind) + std::to_string(position) + " ");
  }
  void Found(const string& found) {
    EXPECT_EQ(found.size(), ranges.back().length);
    finds.back() += found;
    page += finds.back()[0] + ("{" + found + "}");
    text += found;
  }
  Finder& Take(const string& whole) {
    FeedText(whole.data(), whole.size());
    FeedText(nullptr, 0);
    return *this;
  }

  struct Place {
    uint32_t position, length;
  };
  string page;    // "plain U{link} plain M{address}"
  string text;    // without the marks
  string states;  // a digit each
  std::vector<string> finds;
  std::vector<Place> ranges;
};

const string a250(250, 'a'), b20(20, 'b'), many(1021, 'a'), quoted = '"' + string(1023, 'a');

struct Row {
  const char* name;
  string text, page;  // an empty page: nothing is found
  bool no_spaces = false;
  CodePage cp = 10000;
};

const Row kRows[] = {
    {"host prefix, full stop", "See www.example.com.", "See U{www.example.com}."},
    {"every prefix", "qv.a ftp.a WWW2.A www3.a news.a nntp.a",
     "U{qv.a} U{ftp.a} U{WWW2.A} U{www3.a} U{news.a} U{nntp.a}"},
    {"no prefix", "xwww.a www4.a www", ""},
    {"prefix and nothing", "www. a", ""},
    {"scheme", "to http://a/ now", "to U{http://a/} now"},
    {"any scheme", "x-y+z1://a/ x.y://a/", "U{x-y+z1://a/} x.y://a/"},
    {"parts of a scheme", "http: http:a http:/a.b http:// a", ""},
    {"in parentheses", "(http://a.b/c) x", "(U{http://a.b/c}) x"},
    {"host in parentheses", "(http://a) x", "(U{http://a}) x"},
    {"parentheses in brackets", "[http://a.b/(c)] x", "[U{http://a.b/(c)}] x"},
    {"braces are atoms", "{http://a.b/[c]}x", ""},
    {"bracket without one before", "http://a.b/(c) http://a(b)",
     "U{http://a.b/}(c) U{http://a}(b)"},
    {"body characters", "http://a/$-_.+!*',;/?:@&=%|\\^~`#z<",
     "U{http://a/$-_.+!*',;/?:@&=%|\\^~`#z}<"},
    {"not in a host", "http://a#b", "U{http://a}#b"},
    {"comma inside and behind", "http://a.b/c,d, x", "U{http://a.b/c,d}, x"},
    {"other punctuation", "http://a; http://a: http://a?",
     "U{http://a}; U{http://a}: U{http://a}?"},
    {"not trimmed", "http://a! http://a/' ", "U{http://a!} U{http://a/'} "},
    {"dot, then comma", "http://a.b,. x", "U{http://a.b},. x"},
    {"comma, then dot", "http://a.b., x", "U{http://a.b.}, x"},
    {"only dot of a link with slashes", "http://a. x", "U{http://a}. x"},
    {"two dots", "www.a..b http://a..b x", "U{www.a}..b U{http://a}..b x"},
    {"mailto with a dot", "mailto:ann@ex.com x", "U{mailto:ann@ex.com} x"},
    {"mailto without", "mailto:ann mailto:ann. x", ""},
    {"mailto after slashes", "http://a.b mailto:x y", "U{http://a.b} mailto:x y"},
    {"mailto and a quote", "MAILTO:\"a b\"@c.d x", "MAILTO:M{\"a b\"@c.d} x"},
    {"mailto, a quote and a scheme", "mailto:\"a\"://b.c x", ""},
    {"news", "news:a.b news:a_b.c", "U{news:a.b} U{news:a_b.c}"},
    {"news of a host only", "news:_a.b", ""},
    {"address", "to ann@example.com.", "to M{ann@example.com}."},
    {"without blanks", "to ann@ex-a_1.com, x", "to M{ann@ex-a_1.com}, x", true},
    {"local part", "<a.b!#$%&'*+/=?^_`{|}~-z@c.d>", "<M{a.b!#$%&'*+/=?^_`{|}~-z@c.d}>"},
    {"mark in the first word", "a!b@c.d", "M{a!b@c.d}"},
    {"blanks around the sign", "ann  @  ex.com x", "M{ann  @  ex.com} x"},
    {"not without spaces", "ann @ex.com a.b @c.d a@ c.d", "", true},
    {"domain without a dot", "ann@ex ann@ex. x", ""},
    {"two dots in a domain", "ann@a.b..c", "M{ann@a.b}..c"},
    {"four numbers", "a@[1.2.3.4] x", "M{a@[1.2.3.4]} x"},
    {"other literals", "a@[1.2.3] a@[1.2.3.4 a@[1.2.3.4.5] a@[1..2.3] ", ""},
    {"quoted local part", "\"a @ \\\" b\"@ex.com x", "M{\"a @ \\\" b\"@ex.com} x"},
    {"quoted behind a dot", ".\"x y\"@c.d", "M{.\"x y\"@c.d}"},
    {"quoted, then a blank", "\"x y\" z@c.d", "\"x y\" M{z@c.d}", true},
    {"behind the closing quote", "\"a\".b@c.d \"a\"://b.c", "M{\"a\".b@c.d} U{\"a\"://b.c}"},
    {"words behind it", "\"a\" b!@c.d", "M{\"a\" b!@c.d}"},
    {"quote behind a brace", "{\"a\"://b.c/(d x", "{U{\"a\"://b.c/}(d x"},
    {"open quote", "\"http://a.b\r http://c.d", "\"http://a.b\r U{http://c.d}"},
    {"escape in a host", "\"\rhttp://a\\\"b x", "\"\rU{http://a\\\"b} x"},
    {"escape in a body", "\"\rhttp://a/\\\"b x", "\"\rU{http://a/\\\"b} x"},
    {"escaped dot", "\"\rmailto:a\\.b\r", "\"\rU{mailto:a\\.b}\r"},
    {"escape in a local part", "\"\ra!\\\"b\"@c.d", "\"\rM{a!\\\"b\"@c.d}"},
    {"sign in the quotes of one", "\"\ra(@b\"@c.d", "\"\rM{a(@b\"@c.d}"},
    {"trail byte '@' in a word", "\x83@a.b x\x83@a.b", "", false, 932},
    {"in a local part", "x.y\x83@z@a.b", "M{x.y\x83@z@a.b}", false, 932},
    {"in blanks", "x.y \x83@a.b", "", false, 932},
    {"a sign behind it", "x \x83@ @a.b", "M{x \x83@ @a.b}", false, 932},
    {"control character in place of a trail byte", "\x83\rwww.a.b", "\x83\rU{www.a.b}", false, 932},
    {"not in another code page", "x.y\x83@z@a.b", "x.y\x83@M{z@a.b}"},
    {"1024 bytes in quotes", quoted + "http://a.b", quoted + "U{http://a.b}"},
    {"address of 1025 bytes", many + "@b.c", "M{" + many.substr(0, 256) + "}"},
    {"address cut at 1025 bytes", many + "a@b.c", "M{" + many.substr(0, 256) + "}c"},
    {"cut before its domain", many + "aaa@b.c", ""},
    {"over-long without a dot", a250 + "@" + b20, ""},
    {"over-long with its only dot at the end", a250 + "@" + b20 + ". x", "M{" + a250 + "@bbbbb} x"},
    {"256 bytes", a250 + "@b.cc.", "M{" + a250 + "@b.cc}."},
    {"an open quote counts in a host prefix", "\"\rxwww.a www.b", "\"\rU{xwww.a} www.b"},
    {"a zero byte ends", string("www.a\0www.b", 11), string("U{www.a}\0U{www.b}", 17)},
};

TEST(Links, AreFoundByTheRules) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    const Finder echo = Finder(kEcho, row.no_spaces, row.cp).Take(row.text);
    EXPECT_EQ(echo.page, row.page.empty() ? row.text : row.page);
    EXPECT_EQ(Finder(kSilent, row.no_spaces, row.cp).Take(row.text).finds, echo.finds);
  }
}

TEST(Links, TellTheStatesOnTheWay) {
  const struct {
    string text, states;
    bool no_spaces = false;
  } kWalks[] = {
      {"hi", "020"},
      {"-. /", "028900"},
      {"http://a.b/c ", "0222234566677"},
      {"www.x", "0222d"},
      {"www.x,", "0222d70"},
      {"mailto:x.y", "0222222377"},
      {"a.b@c.d", "0288abb"},
      {"a @[1.2.3.4]", "029acccccccc"},
      {"\"a\"@b.c", "0111abb"},
      {"a b", "02000", true},
  };
  for (const auto& walk : kWalks) {
    SCOPED_TRACE(walk.text);
    EXPECT_EQ(Finder(kEcho, walk.no_spaces).Take(walk.text).states, walk.states);
  }
}

TEST(Links, KnowLeadBytes) {
  const struct {
    std::vector<CodePage> pages;
    string leads, others;
  } kPages[] = {
      {{932, 10001}, "\x81\x9F\xE0\xEF", "\x80\xA0\xDF\xF0"},
      {{950, 10002}, "\xA1\xFE", "\x8E\xA0\xFF"},
      {{936, 949, 10003, 10025, 20001}, "\x8E\xA1\xFE", "\x8D\x8F\xA0\xFF"},
      {{20014}, "\x81\xFE", "\x80\xFF"},
      {{1252, 10000, kUtf8}, "", "\x80\x8E\xA1\xFE\xFF"},
  };
  for (const auto& row : kPages) {
    for (const CodePage cp : row.pages) {
      // The second byte of a character does not begin a host prefix.
      const auto is_lead = [cp](char c) {
        return Finder(kSilent, true, cp).Take(string(1, c) + "www.a.b").finds.empty();
      };
      for (const char c : row.leads) EXPECT_TRUE(is_lead(c)) << cp << " " << int(c);
      for (const char c : row.others) EXPECT_FALSE(is_lead(c)) << cp << " " << int(c);
    }
  }
}

TEST(Links, QuotesThatWait) {
  // In echo mode the quote goes out; otherwise it begins the next token.
  EXPECT_EQ(Finder(kEcho).Take("\"\r\" http://a.b").page, "\"\r\" U{http://a.b}");
  EXPECT_THAT(Finder(kSilent).Take("\"\r\" http://a.b").finds, ElementsAre("U2 \"http://a.b"));
  EXPECT_THAT(Finder(kSilent, false, 932).Take("\"\r\"\xB1http://a.b").finds,
              ElementsAre("U2 \"http://a.b"));
  EXPECT_EQ(Finder(kEcho, false, 932)
                .Take("\"\r\"\x83"
                      "A ")
                .page,
            "\"\r\x83"
            "A\" ");
}

TEST(Links, PositionsCountFromTheLastEnd) {
  Finder finder(kSilent);
  finder.Take("x http://a.b").Take("http://c.d");
  EXPECT_THAT(finder.finds, ElementsAre("U2 http://a.b", "U0 http://c.d"));
}

// Text of pieces that matter, in a random order.
string RandomText(std::mt19937& random, bool quotes) {
  static constexpr const char* kPieces[] = {
      "www", "http", "mailto", "news", "a",  "bc",   "1",    ".",        ".", "@",
      ":",   "/",    "//",     "://",  " ",  " ",    "(",    ")",        "[", "]",
      ",",   "<",    "-",      "\r\n", "\\", "\x83", "\xE9", "[1.2.3.4]"};
  string text;
  for (auto count = random() % 14; count > 0; --count) {
    text += random() % 29 == 0 ? string(300, 'w') : kPieces[random() % std::size(kPieces)];
    if (quotes && random() % 8 == 0) text += '"';
  }
  return text;
}

// Every byte once and in order; a find stands where it says; and with one quote at the most silent
// finders, which look bytes up in a table, find the same as those that follow the rules.
TEST(Links, EchoGivesTheTextBack) {
  std::mt19937 random(5);
  size_t found = 0;
  for (int round = 0; round < 60000; ++round) {
    const bool quotes = round % 2 == 0, no_spaces = round % 3 == 0;
    const CodePage cp = round % 5 == 0 && !quotes ? 932 : 10000;
    const string text = RandomText(random, quotes);
    const Finder echo = Finder(kEcho, no_spaces, cp).Take(text);
    bool cut = false;
    for (size_t i = 0; i < echo.finds.size(); ++i) {
      const auto [position, length] = echo.ranges[i];
      EXPECT_EQ(echo.finds[i].substr(1),
                std::to_string(position) + " " + text.substr(position, length));
      cut |= length == 256;
    }
    EXPECT_EQ(cut || echo.text == text, true) << text;
    if (std::count(text.begin(), text.end(), '"') < 2) {
      EXPECT_EQ(Finder(kSilent, no_spaces, cp).Take(text).finds, echo.finds) << text;
    }
    found += echo.finds.size();
  }
  EXPECT_GT(found, 1000u);
}

TEST(Links, AnySplitFindsTheSame) {
  std::mt19937 random(6);
  for (int round = 0; round < 20000; ++round) {
    string text;
    for (int i = 0; i < 3; ++i) text += RandomText(random, true);
    const bool no_spaces = round % 3 == 0;
    const Finder whole = Finder(kSilent, no_spaces).Take(text);
    Finder pieces(kSilent, no_spaces), bytes(kSilent, no_spaces);
    for (size_t at = 0; at < text.size();) {
      const size_t length = std::min<size_t>(random() % 40, text.size() - at);
      pieces.FeedText(text.substr(at, length).data(), length);  // not beside the piece before
      at += length;
    }
    for (const char c : text) bytes.Feed(static_cast<uint8_t>(c));
    EXPECT_EQ(pieces.Take("").finds, whole.finds) << text;
    EXPECT_EQ(bytes.Take("").finds, whole.finds) << text;
  }
}

}  // namespace
