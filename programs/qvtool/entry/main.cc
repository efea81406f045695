// qvtool: the framework's components at the command line.
#include "platform/native_files.h"
#include "programs/common/command_line.h"
#include "programs/common/program_settings.h"
#include "programs/qvtool/commands.h"

namespace qvtool {
namespace {

constexpr char kExample[] =
    "  qvtool convert --from windows-1252 --to UTF-8 --line-ends lf <notes.txt >notes.utf8\n"
    "Each command has its own help: qvtool convert --help";

int Run(const std::vector<std::string>& arguments) {
  const program::Reporter reporter("qvtool");
  const program::CommandLine line("qvtool", "The framework's components at the command line.",
                                  kExample);
  Work work;
  DescribeCommands(line.part(), &work);
  if (auto end = line.Parse(arguments, reporter)) return *end;
  if (!work) {
    reporter.Error("no command; see --help");
    return program::kWrongUsage;
  }
  program::UseProgramSettings();
  program::StandardInput input;
  program::StandardOutput output;
  Streams streams{reporter, input, output};
  Trouble trouble = work(streams);
  output.Flush();
  if (!trouble) trouble = program::FirstOf(input.trouble(), output.trouble());
  if (!trouble) return program::kDone;
  reporter.Error(*trouble);
  return program::kFailed;
}

}  // namespace
}  // namespace qvtool

int main(int argc, char** argv) {
  platform::UseBinaryStreams();
  platform::KeepStreamErrors();
  return qvtool::Run(platform::Utf8Arguments(argc, argv));
}
