#include "tools/resource_tool/line_break_lists.h"

namespace qvresource {
namespace {

constexpr uint32_t kMostNumber = 0xFFFF;
constexpr uint32_t kLeastLeadByte = 0x81, kLeastTrailByte = 0x40;

// The lines of a file, one after the other.
class LineBreakReader {
 public:
  LineBreakReader(const Place& file, const std::vector<Line>& lines, Problem& problem)
      : file_(file), lines_(lines), problem_(problem) {}

  bool AtEnd() const { return at_ == lines_.size(); }

  // "WORD NUMBER"
  bool ReadHead(const char* word, uint32_t& number) {
    if (AtEnd()) return problem_.Set(file_, std::string(word) + " is missing at the end");
    const Line& line = lines_[at_];
    if (line.fields.size() != 2 || line.fields[0].text != word) {
      return problem_.Set(line.place, std::string("\"") + word + " NUMBER\" expected");
    }
    ++at_;
    return ParseDecimal(line.place, line.fields[1].text, kMostNumber, number, problem_);
  }

  bool ReadList(const char* word, ByteVector& out) {
    uint32_t count = 0;
    if (!ReadHead(word, count)) return false;
    const Place head = lines_[at_ - 1].place;
    AppendBig(out, count, 2);
    uint32_t read = 0, last = 0;
    for (; !AtEnd() && !IsHead(lines_[at_].fields[0].text); ++at_) {
      for (const Field& field : lines_[at_].fields) {
        if (!ReadCode(lines_[at_].place, field.text, last)) return false;
        AppendBig(out, last, 2);
        ++read;
      }
    }
    return read == count || problem_.Set(head, "the list has " + std::to_string(read) +
                                                   " codes, not " + std::to_string(count));
  }

 private:
  static bool IsHead(const std::string& word) {
    return word == "page" || word == "first" || word == "second";
  }

  // The next code, above the last one.
  bool ReadCode(const Place& place, const std::string& text, uint32_t& last) {
    uint32_t code = 0;
    if (!ParseHex(place, text, 4, code, problem_)) return false;
    if (code <= last) return problem_.Set(place, text + " does not ascend");
    const uint32_t lead = code >> 8, trail = code & 0xFF;
    if (lead != 0 && (lead < kLeastLeadByte || trail < kLeastTrailByte)) {
      return problem_.Set(place, text + " is no code of a double-byte page");
    }
    last = code;
    return true;
  }

  const Place& file_;
  const std::vector<Line>& lines_;
  Problem& problem_;
  size_t at_ = 0;
};

}  // namespace

bool EncodeLineBreakLists(const Place& file, const std::vector<Line>& lines,
                          std::map<uint32_t, ByteVector>& pages, Problem& problem) {
  LineBreakReader reader(file, lines, problem);
  while (!reader.AtEnd()) {
    uint32_t page = 0;
    ByteVector body;
    if (!reader.ReadHead("page", page) || !reader.ReadList("first", body) ||
        !reader.ReadList("second", body)) {
      return false;
    }
    if (!pages.emplace(page, std::move(body)).second) {
      return problem.Set(file, "page " + std::to_string(page) + " stands twice");
    }
  }
  return true;
}

}  // namespace qvresource
