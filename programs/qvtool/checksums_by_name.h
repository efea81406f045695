// Checksums and digests by the names that the command line gives them, over bytes that arrive in
// pieces.
//
//   auto sum = NewChecksum("crc:24", std::nullopt);
//   sum->Add("hello");
//   sum->Hex();                                     // "47f58a"
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qvtool {

class Checksum {
 public:
  virtual ~Checksum() = default;
  virtual void Add(std::string_view bytes) = 0;
  // Lower-case digits, as many as the sum has bits for. Call once.
  virtual std::string Hex() = 0;
};

// `name`: crc16, crc32, crc32raw, crc:WIDTH (1 to 64), sha1, md5, md4 or md2. With a key, HMAC over
// the digest. Null for any other name, and for a key with a sum that is no digest.
std::unique_ptr<Checksum> NewChecksum(const std::string& name,
                                      const std::optional<std::string>& key);

// The bytes that pairs of hexadecimal digits of either case stand for; nothing for another text.
std::optional<std::string> BytesOfHex(std::string_view digits);

}  // namespace qvtool
