// Test texts in blocks of their exact size, so that a read behind the terminator is a fault under
// AddressSanitizer, and at an odd address.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace test {

class GuardedText {
 public:
  // The bytes as they are; a literal passed with its terminators spells them out.
  explicit GuardedText(std::string_view bytes) : block_(new char[bytes.size() + 1]) {
    std::memcpy(block_.get() + 1, bytes.data(), bytes.size());
  }
  char* get() const { return block_.get() + 1; }

 private:
  std::unique_ptr<char[]> block_;
};

// ASCII text as bytes of a code page, with `terminators` of its terminators.
inline std::string Widened(std::string_view text, int unit, bool big_endian, int terminators = 1) {
  std::string bytes;
  for (char c : text) {
    std::string character(static_cast<size_t>(unit), '\0');
    character[big_endian ? character.size() - 1 : 0] = c;
    bytes += character;
  }
  return bytes + std::string(static_cast<size_t>(unit * terminators), '\0');
}

}  // namespace test
