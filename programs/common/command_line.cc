#include "programs/common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "programs/common/text.h"

namespace program {
namespace {

std::optional<int> ReportUsage(const Reporter& reporter, const std::string& what) {
  reporter.Error(what + "; see --help");
  return kWrongUsage;
}

}  // namespace

void PrepareCommandLine(CLI::App& app, const std::string& example) {
  app.footer("Example:\n" + example);
  app.set_version_flag("--version", app.get_name() + " " QV_VERSION, "Print the version");
  app.set_help_flag("--help", "Print this help");
}

std::optional<int> ParseCommandLine(CLI::App& app, std::vector<std::string> arguments,
                                    const Reporter& reporter) {
  for (const std::string& argument : arguments) {
    if (!IsUtf8(argument)) return ReportUsage(reporter, "an argument is not UTF-8: " + argument);
  }
  // The parser takes them from the end.
  std::reverse(arguments.begin(), arguments.end());
  try {
    app.parse(arguments);
  } catch (const CLI::Success& wanted) {
    app.exit(wanted);
    std::cout.flush();
    return kDone;
  } catch (const CLI::ParseError& error) {
    return ReportUsage(reporter, error.what());
  }
  return std::nullopt;
}

}  // namespace program
