#include "tools/resource_tool/source_text.h"

#include <fstream>

namespace qvresource {
namespace {

constexpr size_t kRowValues = 16;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string HexText(uint32_t value, size_t digits) {
  std::string text(digits, '0');
  for (size_t i = digits; i > 0 && value != 0; value >>= 4)
    text[--i] = "0123456789ABCDEF"[value & 15];
  return text;
}

// Reads the quoted field whose first mark stands at `at`, and moves behind its last one.
bool ReadQuoted(const Place& place, std::string_view text, size_t& at, Field& field,
                Problem& problem) {
  field.quoted = true;
  for (++at; at < text.size(); ++at) {
    if (text[at] == '"') {
      if (at + 1 >= text.size() || text[at + 1] != '"') {
        ++at;
        return true;
      }
      ++at;
    }
    field.text += text[at];
  }
  return problem.Set(place, "the string has no closing quotation mark");
}

void ReadPlain(std::string_view text, size_t& at, Field& field) {
  while (at < text.size() && !IsBlank(text[at]) && text[at] != '#') field.text += text[at++];
}

bool SplitLine(const Place& place, std::string_view text, Quotes quotes, Line& line,
               Problem& problem) {
  line.place = place;
  size_t at = 0;
  while (true) {
    while (at < text.size() && IsBlank(text[at])) ++at;
    if (at == text.size() || text[at] == '#') return true;
    Field field;
    if (quotes == Quotes::kString && text[at] == '"') {
      if (!ReadQuoted(place, text, at, field, problem)) return false;
    } else {
      ReadPlain(text, at, field);
    }
    line.fields.push_back(field);
  }
}

bool IsAscii(std::string_view text) {
  for (char c : text) {
    if ((c < ' ' && c != '\t') || c > '~') return false;
  }
  return true;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool SourceReader::Read(const std::string& path, Quotes quotes, std::vector<Line>& lines,
                        Problem& problem) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return problem.Set({path, 0}, "cannot be read");
  files_.push_back(path);
  Place place{path, 0};
  for (std::string text; std::getline(in, text);) {
    ++place.line;
    if (!text.empty() && text.back() == '\r') text.pop_back();
    if (!IsAscii(text)) return problem.Set(place, "a byte is not printable ASCII");
    Line line;
    if (!SplitLine(place, text, quotes, line, problem)) return false;
    if (!line.fields.empty()) lines.push_back(line);
  }
  return !in.bad() || problem.Set({path, 0}, "cannot be read to its end");
}

bool ParseDecimal(const Place& place, std::string_view text, uint32_t most, uint32_t& value,
                  Problem& problem) {
  uint64_t sum = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return problem.Set(place, "bad digit in " + std::string(text));
    sum = sum * 10 + static_cast<uint32_t>(c - '0');
    if (sum > most) return problem.Set(place, std::string(text) + " is out of range");
  }
  value = static_cast<uint32_t>(sum);
  return !text.empty() || problem.Set(place, "a number is missing");
}

bool ParseHex(const Place& place, std::string_view text, size_t digits, uint32_t& value,
              Problem& problem) {
  if (text.size() != digits) {
    return problem.Set(place,
                       std::string(text) + " does not have " + std::to_string(digits) + " digits");
  }
  value = 0;
  for (char c : text) {
    const int digit = HexDigit(c);
    if (digit < 0) return problem.Set(place, "bad digit in " + std::string(text));
    value = value << 4 | static_cast<uint32_t>(digit);
  }
  return true;
}

namespace {

bool ParseValues(const Line& line, size_t digits, std::vector<uint32_t>& values, Problem& problem) {
  if (line.fields.size() != 1 + kRowValues) {
    return problem.Set(line.place,
                       "the row has " + std::to_string(line.fields.size() - 1) + " values, not 16");
  }
  for (size_t i = 1; i <= kRowValues; ++i) {
    uint32_t value = 0;
    if (!ParseHex(line.place, line.fields[i].text, digits, value, problem)) return false;
    values.push_back(value);
  }
  return true;
}

}  // namespace

bool ParseRow(const Line& line, uint32_t code, size_t digits, std::vector<uint32_t>& values,
              Problem& problem) {
  const std::string label = HexText(code, 2) + ":";
  if (line.fields[0].text != label) {
    return problem.Set(line.place, "row " + label + " expected, not " + line.fields[0].text);
  }
  return ParseValues(line, digits, values, problem);
}

bool ParseFreeRow(const Line& line, uint32_t& code, std::vector<uint32_t>& values,
                  Problem& problem) {
  std::string_view label = line.fields[0].text;
  if (label.back() != ':') return problem.Set(line.place, "\"CODE:\" expected");
  label.remove_suffix(1);
  if (!ParseHex(line.place, label, 4, code, problem)) return false;
  if (code % kRowValues != 0) return problem.Set(line.place, "a row begins at a code ending in 0");
  return ParseValues(line, 4, values, problem);
}

}  // namespace qvresource
