#include <vector>

#include "net/addresses.h"
#include "programs/qvtool/commands.h"
#include "programs/qvtool/lines.h"

namespace qvtool {
namespace {

constexpr uint32_t kNameBytes = 256;

// "1 TAB address TAB display name", or "0"; a line that is no terminated text is no address.
std::string CleanedLine(const Line& line, std::vector<char>& address) {
  if (UnusableLine(line)) return "0\n";
  const std::string text(line.text);
  address.resize(text.size() + 1);
  char name[kNameBytes] = "";
  if (!ZRCleanAddress(text.c_str(), address.data(), static_cast<uint32_t>(address.size()), name,
                      sizeof name)) {
    return "0\n";
  }
  return "1\t" + program::OneLine(address.data()) + "\t" + program::OneLine(name) + "\n";
}

Trouble CleanAll(Streams& streams) {
  std::vector<char> address;
  ForEachLine(streams.input,
              [&](const Line& line) { return streams.output.Write(CleanedLine(line, address)); });
  return std::nullopt;
}

}  // namespace

Work DescribeAddress(const CommandPart&) { return CleanAll; }

}  // namespace qvtool
