#include <memory>

#include "programs/qvtool/checksums_by_name.h"
#include "programs/qvtool/commands.h"
#include "programs/qvtool/pieces.h"

namespace qvtool {
namespace {

struct Options {
  std::string name, key_digits;
  std::optional<program::Option> key;
};

std::string WrongName(const std::string& name) {
  if (NewChecksum(name, std::nullopt)) return "";
  return "unknown checksum \"" + name +
         "\": give crc16, crc32, crc32raw, crc:WIDTH (1 to 64), sha1, md5, md4 or md2";
}

std::string WrongKey(const std::string& digits) {
  return BytesOfHex(digits) ? "" : "a key is pairs of hexadecimal digits";
}

std::string WrongWithKey(const Options& options) {
  if (!options.key->IsGiven() || NewChecksum(options.name, "")) return "";
  return "--hmac: goes with sha1, md5, md4 or md2, not with " + options.name;
}

Trouble Sum(const Options& options, Streams& streams) {
  std::optional<std::string> key;
  if (options.key->IsGiven()) key = BytesOfHex(options.key_digits);
  const auto sum = NewChecksum(options.name, key);
  const bool whole = ForEachPiece(streams.input, "summing", [&](std::string_view piece) {
    sum->Add(piece);
    return true;
  });
  // The sum of a part would look like one of the whole.
  if (whole) streams.output.Write(sum->Hex() + "\n");
  return std::nullopt;
}

}  // namespace

Work DescribeChecksum(const CommandPart& command) {
  auto options = std::make_shared<Options>();
  command
      .Add("kind", options->name,
           "crc16, crc32, crc32raw, crc:WIDTH (1 to 64 bits), sha1, md5, md4 or md2")
      .Required()
      .Type("KIND")
      .Check(WrongName);
  options->key = command
                     .Add("--hmac", options->key_digits,
                          "HMAC over the digest, with the key of these hexadecimal digits")
                     .TakeLast()
                     .Type("HEXKEY")
                     .Check(WrongKey);
  command.CheckTogether([options] { return WrongWithKey(*options); });
  return [options](Streams& streams) { return Sum(*options, streams); };
}

}  // namespace qvtool
