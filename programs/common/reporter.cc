#include "programs/common/reporter.h"

#include <cstdio>

namespace program {
namespace {

void WriteWhole(FILE* stream, const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fflush(stream);
}

std::string Escaped(unsigned char byte) {
  if (byte == '\n') return "\\n";
  if (byte == '\r') return "\\r";
  if (byte == '\t') return "\\t";
  char text[8];
  std::snprintf(text, sizeof text, "\\x%02X", static_cast<unsigned>(byte));
  return text;
}

}  // namespace

void Reporter::Line(const std::string& text) const { WriteWhole(stdout, text + "\n"); }

void Reporter::Error(const std::string& text) const {
  WriteWhole(stderr, program_ + ": " + OneLine(text) + "\n");
}

std::string Count(size_t number, const std::string& thing) {
  return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

std::string OneLine(const std::string& text) {
  std::string line;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      line += Escaped(byte);
    } else {
      line += c;
    }
  }
  return line;
}

}  // namespace program
