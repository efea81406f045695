#include "time/tz_symbols.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>

namespace qv {
namespace {

constexpr size_t kMostText = 255;

// --- classes of bytes ---

enum ByteClass : uint8_t { kSpace = 1, kLineEndByte = 2, kControl = 4, kDigit = 8, kLetter = 16 };
constexpr uint8_t kEndsWord = kSpace | kLineEndByte | kControl;
constexpr uint8_t kAlphanumeric = kDigit | kLetter;

constexpr uint8_t ClassOf(int c) {
  if (c == '\r' || c == '\n') return kLineEndByte;
  if (c == ' ' || c == '\t' || c == '\v' || c == '\f') return kSpace;
  if (c < ' ' || c == 0x7F) return kControl;
  if (c >= '0' && c <= '9') return kDigit;
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ? kLetter : 0;
}

constexpr auto kClasses = [] {
  std::array<uint8_t, 256> classes{};
  for (int c = 0; c < 256; ++c) classes[c] = ClassOf(c);
  return classes;
}();

bool Is(char c, uint8_t classes) { return (kClasses[static_cast<uint8_t>(c)] & classes) != 0; }

// --- keywords ---

struct Keyword {
  std::string_view text;
  SymbolType type;
  int32_t value = -1;  // -1: the symbol keeps its text
  bool inside_word = false;
};

// In the order in which they are tried.
constexpr Keyword kKeywords[] = {
    {"#", kCommentStart, -1, true},
    {"Rule", kRuleWord},
    {"Zone", kZoneWord},
    {":", kColon, -1, true},
    {"first", kFirst, -1, true},
    {"last", kLast, -1, true},
    {">=", kComparison, 0},
    {"<=", kComparison, 1},
    {">", kComparison, 2},
    {"<", kComparison, 3},
    {"Sunday", kWeekday, 0},
    {"Monday", kWeekday, 1},
    {"Tuesday", kWeekday, 2},
    {"Wednesday", kWeekday, 3},
    {"Thursday", kWeekday, 4},
    {"Friday", kWeekday, 5},
    {"Saturday", kWeekday, 6},
    {"Sun", kWeekday, 7},
    {"Mon", kWeekday, 8},
    {"Tue", kWeekday, 9},
    {"Wed", kWeekday, 10},
    {"Thu", kWeekday, 11},
    {"Fri", kWeekday, 12},
    {"Sat", kWeekday, 13},
    {"January", kMonth, 0},
    {"February", kMonth, 1},
    {"March", kMonth, 2},
    {"April", kMonth, 3},
    {"May", kMonth, 4},
    {"June", kMonth, 5},
    {"July", kMonth, 6},
    {"August", kMonth, 7},
    {"September", kMonth, 8},
    {"October", kMonth, 9},
    {"November", kMonth, 10},
    {"December", kMonth, 11},
    {"Jan", kMonth, 12},
    {"Feb", kMonth, 13},
    {"Mar", kMonth, 14},
    {"Apr", kMonth, 15},
    {"May", kMonth, 16},
    {"Jun", kMonth, 17},
    {"Jul", kMonth, 18},
    {"Aug", kMonth, 19},
    {"Sep", kMonth, 20},
    {"Oct", kMonth, 21},
    {"Nov", kMonth, 22},
    {"Dec", kMonth, 23},
    {"\r\n", kLineEnd, -1, true},
    {"\r", kLineEnd, -1, true},
    {"\n", kLineEnd, -1, true},
    {"Link", kLinkWord},
    {"only", kOnly},
    {"min", kMin},
    {"max", kMax},
};
static_assert(std::size(kKeywords) <= 64, "one bit each");

// By a symbol's first byte the keywords that it may be, the first of the table in bit 0.
constexpr auto kCandidates = [] {
  std::array<uint64_t, 256> candidates{};
  for (size_t i = 0; i < std::size(kKeywords); ++i) {
    candidates[static_cast<uint8_t>(kKeywords[i].text[0])] |= uint64_t{1} << i;
  }
  return candidates;
}();

bool Matches(const Keyword& keyword, std::string_view rest) {
  if (!rest.starts_with(keyword.text)) return false;
  if (keyword.inside_word || rest.size() == keyword.text.size()) return true;
  const char next = rest[keyword.text.size()];
  return Is(next, kSpace | kLineEndByte) ||
         Is(next, kAlphanumeric) != Is(keyword.text[0], kAlphanumeric);
}

bool ReadKeyword(std::string_view rest, Symbol& symbol) {
  uint64_t candidates = kCandidates[static_cast<uint8_t>(rest[0])];
  for (; candidates != 0; candidates &= candidates - 1) {
    const Keyword& keyword = kKeywords[std::countr_zero(candidates)];
    if (!Matches(keyword, rest)) continue;
    symbol.type = keyword.type;
    symbol.length = static_cast<uint32_t>(keyword.text.size());
    if (keyword.value < 0) {
      symbol.text = keyword.text;
    } else {
      symbol.value = keyword.value;
    }
    return true;
  }
  return false;
}

bool ReadNumber(std::string_view rest, Symbol& symbol) {
  const size_t sign = rest[0] == '-' ? 1 : 0;
  size_t at = sign;
  uint32_t value = 0;
  for (; at < rest.size() && Is(rest[at], kDigit); ++at) {
    value = value * 10 + static_cast<uint32_t>(rest[at] - '0');
  }
  if (at == sign) return false;
  symbol.type = kNumber;
  symbol.value = static_cast<int32_t>(sign != 0 ? 0 - value : value);
  symbol.length = static_cast<uint32_t>(at);
  return true;
}

void ReadWord(std::string_view rest, Symbol& symbol) {
  size_t length = 1;
  while (length < rest.size() && !Is(rest[length], kEndsWord)) ++length;
  symbol.type = kWord;
  symbol.text = rest.substr(0, std::min(length, kMostText));
  symbol.length = static_cast<uint32_t>(length);
}

}  // namespace

Symbol SymbolReader::Next() {
  while (at_ < text_.size() && Is(text_[at_], kSpace)) ++at_;
  Symbol symbol;
  symbol.position = static_cast<uint32_t>(at_);
  if (at_ == text_.size()) return symbol;
  const std::string_view rest = text_.substr(at_);
  if (!ReadKeyword(rest, symbol) && !ReadNumber(rest, symbol)) ReadWord(rest, symbol);
  at_ += symbol.length;
  return symbol;
}

void SymbolReader::SkipToLineEnd() {
  while (at_ < text_.size() && !Is(text_[at_], kLineEndByte)) ++at_;
}

}  // namespace qv
