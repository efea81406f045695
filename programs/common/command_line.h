// A program's command line: described, parsed, and with --help, --version and wrong usage in one
// way for all programs.
//
//   const CommandLine line("qvsend", "Sends a message through the mail library.", kExample);
//   std::string subject;
//   line.part().Add("--subject", subject, "The subject").TakeLast().Type("TEXT");
//   if (auto end = line.Parse(arguments, reporter)) return *end;
//
// CLI11 does the work. It takes ten seconds to compile, so that no other source includes it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "programs/common/reporter.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace program {

// A handle to an option or argument that has been added; it lives as long as the command line. Each
// call but IsGiven returns the handle itself.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  Option Required() const;
  // Given twice, the last one counts; otherwise it is wrong usage.
  Option TakeLast() const;
  // What --help calls the value.
  Option Type(const char* name) const;
  // Asked for each value; "" is a good one, else the text is reported.
  Option Check(std::function<std::string(const std::string&)> what_is_wrong) const;
  Option OneOf(std::vector<std::string> words) const;
  // Both ends included.
  Option Range(int32_t least, int32_t most) const;
  Option Range(uint32_t least, uint32_t most) const;
  Option Excludes(const Option& other) const;
  // After the parse.
  bool IsGiven() const;

 private:
  CLI::Option* option_;
};

// What a program or one of its commands takes. The values belong to the caller and are set by the
// parse. A name that begins with "--" is an option, another an argument.
class CommandPart {
 public:
  explicit CommandPart(CLI::App* app) : app_(app) {}

  Option Add(const char* name, std::string& value, const char* help) const;
  Option Add(const char* name, int32_t& value, const char* help) const;
  Option Add(const char* name, uint32_t& value, const char* help) const;
  Option Add(const char* name, uint64_t& value, const char* help) const;
  // May be given again and again, each time with one value.
  Option Add(const char* name, std::vector<std::string>& values, const char* help) const;
  Option AddFlag(const char* name, bool& value, const char* help) const;

  // A command with a line of its own in the help.
  CommandPart AddCommand(const char* name, const char* purpose) const;
  // One of the commands must be given.
  void RequireCommand() const;
  // What --help ends with.
  void Example(const std::string& example) const;
  // Called at the end of a parse that named this part.
  void WhenGiven(std::function<void()> call) const;
  // Called when the values of this part are set; a text is reported, "" is good.
  void CheckTogether(std::function<std::string()> what_is_wrong) const;

 private:
  CLI::App* app_;
};

class CommandLine {
 public:
  CommandLine(const char* program, const char* purpose, const std::string& example);
  ~CommandLine();

  // What the program itself takes; its commands are added to it.
  CommandPart part() const { return CommandPart(app_.get()); }

  // Parses UTF-8 arguments (without the program's name). Returns the exit code when the program is
  // to end: after --help or --version, or on wrong usage, which is reported.
  std::optional<int> Parse(std::vector<std::string> arguments, const Reporter& reporter) const;

 private:
  std::unique_ptr<CLI::App> app_;
};

}  // namespace program
