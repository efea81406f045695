// The tokenizer of the time-zone text.
//
//   qv::SymbolReader reader(text);
//   for (Symbol s = reader.Next(); s.type != qv::kEndOfText; s = reader.Next()) ...
//
//   "Sun>=8 2:00s" gives weekday 7, comparison 0, number 8, number 2, colon, number 0, word "s"
//
// White space parts symbols and is passed over, line ends are symbols. Keywords go before numbers,
// numbers before words. A keyword counts when a symbol ends behind it: at the end of the text,
// before white space, or where letters and digits meet other bytes; "#", ":", "first", "last" and
// line ends count before anything. Letter case matters. A word goes on to the next white space or
// control byte, and has one byte at least. Numbers are decimal with a '-' right before them, or
// not, and wrap at 32 bits.
//
// Any bytes make symbols: there are no errors here. Threads: any; the text has to stay.
#pragma once

#include <cstdint>
#include <string_view>

namespace qv {

enum SymbolType : uint32_t {
  kEndOfText = 0,
  kCommentStart = 1,
  kRuleWord = 2,
  kNumber = 3,
  kColon = 4,
  kWord = 5,
  kMonth = 6,    // value: place among "January" to "December", "Jan" to "Dec"
  kWeekday = 7,  // value: place among "Sunday" to "Saturday", "Sun" to "Sat"
  kFirst = 8,
  kLast = 9,
  kComparison = 10,  // value: 0 ">=", 1 "<=", 2 ">", 3 "<"
  kZoneWord = 11,
  kLinkWord = 12,
  kLineEnd = 13,
  kMin = 14,
  kMax = 15,
  kOnly = 16,
};

constexpr int32_t kAtLeast = 0;  // value of the comparison ">="

// The default is the end of the text, which reads as 0 and as an empty name.
struct Symbol {
  SymbolType type = kEndOfText;
  int32_t value = 0;
  std::string_view text;  // at most 255 bytes; empty where there is a value
  uint32_t position = 0;  // of its first byte in the input
  uint32_t length = 0;    // in the input
};

class SymbolReader {
 public:
  SymbolReader() = default;
  explicit SymbolReader(std::string_view text) : text_(text) {}

  Symbol Next();
  // Passes over what comes before the next line end.
  void SkipToLineEnd();
  // Bytes that are not read yet.
  size_t remaining() const { return text_.size() - at_; }

 private:
  std::string_view text_;
  size_t at_ = 0;
};

}  // namespace qv
