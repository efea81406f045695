#include "programs/qvtool/lines.h"

#include "programs/qvtool/pieces.h"

namespace qvtool {
bool LineSplitter::Add(std::string_view piece) {
  while (going_on_ && !piece.empty()) {
    const size_t end = piece.find('\n');
    Keep(piece.substr(0, end));
    if (end == piece.npos) break;
    HandOut(true);
    piece.remove_prefix(end + 1);
  }
  return going_on_;
}

bool LineSplitter::Finish() {
  if (going_on_ && !kept_.empty()) HandOut(false);
  return going_on_;
}

// One byte more than a line may have, for the CR of its end.
void LineSplitter::Keep(std::string_view bytes) {
  const size_t room = kLongestLine + 1 - kept_.size();
  too_long_ = too_long_ || bytes.size() > room;
  kept_ += bytes.substr(0, room);
}

bool LineSplitter::HandOut(bool has_end) {
  const bool has_cr = has_end && !too_long_ && !kept_.empty() && kept_.back() == '\r';
  Line line;
  line.text = std::string_view(kept_).substr(0, kept_.size() - (has_cr ? 1 : 0));
  if (has_end) line.end = has_cr ? "\r\n" : "\n";
  line.number = ++number_;
  line.too_long = too_long_ || line.text.size() > kLongestLine;
  line.text = line.text.substr(0, kLongestLine);
  going_on_ = take_(line);
  kept_.clear();
  too_long_ = false;
  return going_on_;
}

void ForEachLine(program::StandardInput& input, const LineSplitter::Take& take) {
  LineSplitter lines(take);
  const bool whole = ForEachPiece(input, "reading lines",
                                  [&](std::string_view piece) { return lines.Add(piece); });
  // What a failing stream left behind is no line.
  if (whole) lines.Finish();
}

Trouble UnusableLine(const Line& line) {
  const std::string which = "line " + std::to_string(line.number);
  if (line.too_long) return which + " has more than " + std::to_string(kLongestLine) + " bytes";
  if (line.text.find('\0') != line.text.npos) return which + " holds a zero byte";
  return std::nullopt;
}

}  // namespace qvtool
