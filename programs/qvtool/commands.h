// The commands of qvtool. Each stands in a file of its own: NAME_command.cc defines DescribeNAME,
// which adds the options to the command's own part of the command line and returns what runs it.
// A new command is that file, its declaration here and its line in commands.cc.
#pragma once

#include <functional>

#include "programs/common/reporter.h"
#include "programs/common/standard_streams.h"

namespace CLI {
class App;
}

namespace qvtool {

using program::Trouble;

struct Streams {
  const program::Reporter& reporter;  // warnings
  program::StandardInput& input;
  program::StandardOutput& output;
};

// What goes wrong with the streams themselves is reported by the caller.
using Work = std::function<Trouble(Streams&)>;

// Adds every command; *work becomes that of the one that the command line names.
void DescribeCommands(CLI::App& app, Work* work);

Work DescribeAddress(CLI::App& command);
Work DescribeBase64(CLI::App& command);
Work DescribeCharset(CLI::App& command);
Work DescribeChecksum(CLI::App& command);
Work DescribeClock(CLI::App& command);
Work DescribeConvert(CLI::App& command);
Work DescribeLinks(CLI::App& command);
Work DescribeNumber(CLI::App& command);
Work DescribeRez(CLI::App& command);
Work DescribeURL(CLI::App& command);
Work DescribeZone(CLI::App& command);

}  // namespace qvtool
