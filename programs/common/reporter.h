// What a program says to its user: results on standard output, trouble on standard error as one
// line "PROGRAM: what failed and what to do".
//
// Threads: any; each line is written whole.
#pragma once

#include <cstddef>
#include <string>

namespace program {

// Exit codes of every program.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

class Reporter {
 public:
  explicit Reporter(std::string program) : program_(std::move(program)) {}

  // One line of result, seen at once by a reader of a pipe.
  void Line(const std::string& text) const;
  // One line of trouble.
  void Error(const std::string& text) const;
  void Warn(const std::string& text) const { Error("warning: " + text); }

 private:
  std::string program_;
};

// "1 message", "3 messages".
std::string Count(size_t number, const std::string& thing);

// The text with control characters and line ends as \t, \n or \xNN, for one line of output.
std::string OneLine(const std::string& text);

}  // namespace program
