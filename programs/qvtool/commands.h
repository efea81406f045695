// The commands of qvtool. Each stands in a file of its own: NAME_command.cc defines DescribeNAME,
// which adds the options to the command's own part of the command line and returns what runs it.
// A new command is that file, its declaration here and its line in commands.cc.
#pragma once

#include <functional>

#include "programs/common/command_line.h"
#include "programs/common/reporter.h"
#include "programs/common/standard_streams.h"

namespace qvtool {

using program::CommandPart;
using program::Trouble;

struct Streams {
  const program::Reporter& reporter;  // warnings
  program::StandardInput& input;
  program::StandardOutput& output;
};

// What goes wrong with the streams themselves is reported by the caller.
using Work = std::function<Trouble(Streams&)>;

// Adds every command; *work becomes that of the one that the command line names.
void DescribeCommands(const CommandPart& program, Work* work);

Work DescribeAddress(const CommandPart& command);
Work DescribeBase64(const CommandPart& command);
Work DescribeCharset(const CommandPart& command);
Work DescribeChecksum(const CommandPart& command);
Work DescribeClock(const CommandPart& command);
Work DescribeConvert(const CommandPart& command);
Work DescribeLinks(const CommandPart& command);
Work DescribeNumber(const CommandPart& command);
Work DescribeRez(const CommandPart& command);
Work DescribeURL(const CommandPart& command);
Work DescribeZone(const CommandPart& command);

}  // namespace qvtool
