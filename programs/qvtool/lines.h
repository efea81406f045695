// Lines out of a text that arrives in pieces, in constant memory.
//
//   LineSplitter lines(take);                 // take(line) for every line
//   while (more) lines.Add(piece);
//   lines.Finish();                           // the last line may have no end
//
// A line ends with LF or CR LF; a CR anywhere else is a byte of the line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "programs/qvtool/commands.h"

namespace qvtool {

constexpr size_t kLongestLine = 1 << 20;  // bytes, without the end

struct Line {
  std::string_view text;  // without the end; of a line that is too long, its beginning
  std::string_view end;   // "\n", "\r\n", or "" where the text ends without
  uint64_t number = 0;    // from 1 on
  bool too_long = false;  // more than kLongestLine bytes
};

class LineSplitter {
 public:
  // False ends the work: nothing is handed out any more.
  using Take = std::function<bool(const Line&)>;

  explicit LineSplitter(Take take) : take_(std::move(take)) {}

  // False after `take` said so.
  bool Add(std::string_view piece);
  bool Finish();

 private:
  void Keep(std::string_view bytes);
  bool HandOut(bool has_end);

  Take take_;
  std::string kept_;  // the line so far, a CR at its end among it
  uint64_t number_ = 0;
  bool too_long_ = false, going_on_ = true;
};

// Every line of the input.
void ForEachLine(program::StandardInput& input, const LineSplitter::Take& take);

// "line 7 has more than 1048576 bytes", "line 7 holds a zero byte"; nothing for a line that can be
// handed to a function which takes terminated text.
Trouble UnusableLine(const Line& line);

}  // namespace qvtool
