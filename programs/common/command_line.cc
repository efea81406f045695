#include "programs/common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <utility>

#include "programs/common/text.h"

namespace program {
namespace {

std::optional<int> ReportUsage(const Reporter& reporter, const std::string& what) {
  reporter.Error(what + "; see --help");
  return kWrongUsage;
}

}  // namespace

// --- options ---

Option Option::Required() const { return Option(option_->required()); }

Option Option::TakeLast() const { return Option(option_->take_last()); }

Option Option::Type(const char* name) const { return Option(option_->type_name(name)); }

Option Option::Check(std::function<std::string(const std::string&)> what_is_wrong) const {
  return Option(option_->check(std::move(what_is_wrong)));
}

Option Option::OneOf(std::vector<std::string> words) const {
  return Option(option_->check(CLI::IsMember(std::move(words))));
}

Option Option::Range(int32_t least, int32_t most) const {
  return Option(option_->check(CLI::Range(least, most)));
}

Option Option::Range(uint32_t least, uint32_t most) const {
  return Option(option_->check(CLI::Range(least, most)));
}

Option Option::Excludes(const Option& other) const {
  return Option(option_->excludes(other.option_));
}

bool Option::IsGiven() const { return !option_->empty(); }

// --- programs and commands ---

Option CommandPart::Add(const char* name, std::string& value, const char* help) const {
  return Option(app_->add_option(name, value, help));
}

Option CommandPart::Add(const char* name, int32_t& value, const char* help) const {
  return Option(app_->add_option(name, value, help));
}

Option CommandPart::Add(const char* name, uint32_t& value, const char* help) const {
  return Option(app_->add_option(name, value, help));
}

Option CommandPart::Add(const char* name, uint64_t& value, const char* help) const {
  return Option(app_->add_option(name, value, help));
}

Option CommandPart::Add(const char* name, std::vector<std::string>& values,
                        const char* help) const {
  return Option(app_->add_option(name, values, help)->allow_extra_args(false));
}

Option CommandPart::AddFlag(const char* name, bool& value, const char* help) const {
  return Option(app_->add_flag(name, value, help));
}

CommandPart CommandPart::AddCommand(const char* name, const char* purpose) const {
  return CommandPart(app_->add_subcommand(name, purpose));
}

void CommandPart::RequireCommand() const { app_->require_subcommand(1); }

void CommandPart::Example(const std::string& example) const {
  app_->footer("Example:\n" + example);
}

void CommandPart::WhenGiven(std::function<void()> call) const { app_->callback(std::move(call)); }

void CommandPart::CheckTogether(std::function<std::string()> what_is_wrong) const {
  app_->parse_complete_callback([what_is_wrong = std::move(what_is_wrong)] {
    if (const std::string wrong = what_is_wrong(); !wrong.empty()) {
      throw CLI::ValidationError(wrong);
    }
  });
}

// --- the whole line ---

CommandLine::CommandLine(const char* program, const char* purpose, const std::string& example)
    : app_(std::make_unique<CLI::App>(purpose, program)) {
  part().Example(example);
  app_->set_version_flag("--version", std::string(program) + " " QV_VERSION, "Print the version");
  app_->set_help_flag("--help", "Print this help");
}

CommandLine::~CommandLine() = default;

std::optional<int> CommandLine::Parse(std::vector<std::string> arguments,
                                      const Reporter& reporter) const {
  for (const std::string& argument : arguments) {
    if (!IsUtf8(argument)) return ReportUsage(reporter, "an argument is not UTF-8: " + argument);
  }
  // The parser takes them from the end.
  std::reverse(arguments.begin(), arguments.end());
  try {
    app_->parse(arguments);
  } catch (const CLI::Success& wanted) {
    app_->exit(wanted);
    std::cout.flush();
    return kDone;
  } catch (const CLI::ParseError& error) {
    return ReportUsage(reporter, error.what());
  }
  return std::nullopt;
}

}  // namespace program
