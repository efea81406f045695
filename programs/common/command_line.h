// The common part of every program's command line: --help with an example, --version, and wrong
// usage reported in the programs' way.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "programs/common/reporter.h"

namespace CLI {
class App;
}

namespace program {

// Adds --version and the example that --help ends with.
void PrepareCommandLine(CLI::App& app, const std::string& example);

// Parses UTF-8 arguments (without the program's name). Returns the exit code when the program is to
// end: after --help or --version, or on wrong usage, which is reported.
std::optional<int> ParseCommandLine(CLI::App& app, std::vector<std::string> arguments,
                                    const Reporter& reporter);

}  // namespace program
