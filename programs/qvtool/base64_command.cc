#include <map>
#include <memory>
#include <vector>

#include "format/encodings/base64.h"
#include "programs/common/progress.h"
#include "programs/qvtool/commands.h"

namespace qvtool {
namespace {

// A piece is whole lines, so that pieces can be encoded one after the other.
constexpr size_t kLineBytes = 48;
constexpr size_t kPieceBytes = 1024 * kLineBytes;

const std::map<std::string, std::string>& Separators() {
  static const std::map<std::string, std::string> separators = {
      {"crlf", "\r\n"}, {"lf", "\n"}, {"none", ""}};
  return separators;
}

Trouble Encode(const std::string& separator, Streams& streams) {
  program::ByteProgress progress("encoding");
  std::vector<char> piece(kPieceBytes);
  std::string text(ZRBase64Encode(piece.data(), kPieceBytes, nullptr, separator.c_str()), '\0');
  bool first = true;
  while (const size_t size = streams.input.Read(piece.data(), kPieceBytes)) {
    if (!first) streams.output.Write(separator);
    first = false;
    const size_t written = ZRBase64Encode(piece.data(), size, text.data(), separator.c_str());
    if (!streams.output.Write({text.data(), written})) break;
    progress.Advance(size);
  }
  return std::nullopt;
}

}  // namespace

Work DescribeBase64(const CommandPart& command) {
  auto separator = std::make_shared<std::string>("crlf");
  command
      .Add("--separator", *separator,
           "What stands between lines of 64 characters: crlf (default), lf or none")
      .TakeLast()
      .Type("SEPARATOR")
      .OneOf({"crlf", "lf", "none"});
  return [separator](Streams& streams) { return Encode(Separators().at(*separator), streams); };
}

}  // namespace qvtool
