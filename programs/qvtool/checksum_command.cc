#include <CLI/CLI.hpp>
#include <memory>

#include "programs/qvtool/checksums_by_name.h"
#include "programs/qvtool/commands.h"
#include "programs/qvtool/pieces.h"

namespace qvtool {
namespace {

struct Options {
  std::string name, key_digits;
  CLI::Option* key = nullptr;
};

std::string WrongName(const std::string& name) {
  if (NewChecksum(name, std::nullopt)) return "";
  return "unknown checksum \"" + name +
         "\": give crc16, crc32, crc32raw, crc:WIDTH (1 to 64), sha1, md5, md4 or md2";
}

std::string WrongKey(const std::string& digits) {
  return BytesOfHex(digits) ? "" : "a key is pairs of hexadecimal digits";
}

void RefuseKeyWithoutDigest(const Options& options) {
  if (options.key->empty() || NewChecksum(options.name, "")) return;
  throw CLI::ValidationError("--hmac", "goes with sha1, md5, md4 or md2, not with " + options.name);
}

Trouble Sum(const Options& options, Streams& streams) {
  std::optional<std::string> key;
  if (!options.key->empty()) key = BytesOfHex(options.key_digits);
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

Work DescribeChecksum(CLI::App& command) {
  auto options = std::make_shared<Options>();
  command
      .add_option("kind", options->name,
                  "crc16, crc32, crc32raw, crc:WIDTH (1 to 64 bits), sha1, md5, md4 or md2")
      ->required()
      ->type_name("KIND")
      ->check(WrongName);
  options->key = command
                     .add_option("--hmac", options->key_digits,
                                 "HMAC over the digest, with the key of these hexadecimal digits")
                     ->take_last()
                     ->type_name("HEXKEY")
                     ->check(WrongKey);
  command.parse_complete_callback([options] { RefuseKeyWithoutDigest(*options); });
  return [options](Streams& streams) { return Sum(*options, streams); };
}

}  // namespace qvtool
