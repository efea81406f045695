#include "programs/qvtool/commands.h"

#include <CLI/CLI.hpp>

namespace qvtool {
namespace {

struct Command {
  const char* name;
  const char* purpose;
  const char* example;
  Work (*describe)(CLI::App& command);
};

constexpr Command kCommands[] = {
    {"base64", "Encode standard input as Base64", "  qvtool base64 --separator lf <photo.jpg",
     DescribeBase64},
    {"charset", "Show the names of a code page", "  qvtool charset windows-1252", DescribeCharset},
    {"convert", "Convert standard input to another code page",
     "  qvtool convert --from shift_jis --to UTF-8 --line-ends lf <letter.txt", DescribeConvert},
};

}  // namespace

void DescribeCommands(CLI::App& app, Work* work) {
  for (const Command& command : kCommands) {
    CLI::App* part = app.add_subcommand(command.name, command.purpose);
    part->footer(std::string("Example:\n") + command.example);
    part->callback([work, run = command.describe(*part)] { *work = run; });
  }
}

}  // namespace qvtool
