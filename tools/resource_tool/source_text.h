// The text files that the tool reads: ASCII lines, '#' comments, fields separated by white space.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/resource_tool/problem.h"

namespace qvresource {

struct Field {
  std::string text;
  bool quoted = false;
};

// A line that holds something besides white space and comment.
struct Line {
  Place place;
  std::vector<Field> fields;
};

struct SourceLines {
  Place file;
  std::vector<Line> lines;
};

enum class Quotes {
  kPlain,   // a quotation mark is a character like any other (tables)
  kString,  // "text" is one field, white space and '#' included; "" inside stands for one mark, a
            // backslash for itself (descriptions)
};

// Reads files and remembers their names for the dependency file.
class SourceReader {
 public:
  bool Read(const std::string& path, Quotes quotes, std::vector<Line>& lines, Problem& problem);
  const std::vector<std::string>& files() const { return files_; }

 private:
  std::vector<std::string> files_;
};

// A decimal number up to `most`.
bool ParseDecimal(const Place& place, std::string_view text, uint32_t most, uint32_t& value,
                  Problem& problem);

// A hexadecimal number of exactly `digits` upper-case digits.
bool ParseHex(const Place& place, std::string_view text, size_t digits, uint32_t& value,
              Problem& problem);

// A table row "CODE: v v v ..." of 16 values; CODE has to be `code`. Codes have two digits, values
// `digits`.
bool ParseRow(const Line& line, uint32_t code, size_t digits, std::vector<uint32_t>& values,
              Problem& problem);

// A row that names its code itself, in four digits; values have four too.
bool ParseFreeRow(const Line& line, uint32_t& code, std::vector<uint32_t>& values,
                  Problem& problem);

}  // namespace qvresource
