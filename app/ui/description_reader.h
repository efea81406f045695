// Takes the description of a menu item or an accelerator apart, from left to right.
//
//   qv::DescriptionReader reader("1001w0B43\"C\"");
//   const std::optional<int32_t> command = reader.Number();   // 1001
//
// What cannot be read stays unread; `rest` shows it. The text may be any bytes up to its
// terminator, and must outlive the reader. Threads: no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace qv {

// Strings of one list, and of all the lists of one menu, that are looked at; what comes behind them
// is left out. Keeps a list that contains itself from being built without end.
constexpr int32_t kMostDescriptions = 4096;

class DescriptionReader {
 public:
  explicit DescriptionReader(const char* text) : at_(text) {}

  bool at_end() const { return *at_ == '\0'; }
  const char* rest() const { return at_; }
  char next() const { return *at_; }

  // Goes on by `count` bytes, at most to the end.
  void Skip(size_t count);
  // Goes past the character when it comes next.
  bool Take(char c);

  // A decimal number. None when no digit follows or the number is above `most`; then a line of
  // debug output says so.
  std::optional<int32_t> Number(int32_t most = INT32_MAX);
  // A number of exactly so many hexadecimal digits, in either case; none without them.
  std::optional<uint32_t> Hexadecimal(int digits);

  // A text between double quotes, in which a backslash takes the next character literally; one that
  // is never closed reaches to the end. Stores it with a terminator, unless `out` is null, and
  // returns its length; nothing and 0 when no quote follows.
  size_t Quoted(char* out);

 private:
  const char* at_;
};

}  // namespace qv
