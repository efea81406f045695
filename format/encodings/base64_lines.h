// The inner loops of Base64: whole lines of 48 bytes, 64 characters. Two of them give the same
// characters; base64.cc takes the faster one that the processor has.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace qv {

constexpr size_t kBase64LineBytes = 48;
constexpr size_t kBase64LineDigits = 64;

// What stands between two lines. Since a whole line follows, a short one may be stored as a block.
class Base64Separator {
 public:
  explicit Base64Separator(std::string_view text) : text_(text) {
    std::copy_n(text.begin(), std::min(text.size(), sizeof block_), block_);
  }
  char* Write(char* out) const {
    if (text_.size() <= sizeof block_) {
      std::memcpy(out, block_, sizeof block_);
    } else {
      std::memcpy(out, text_.data(), text_.size());
    }
    return out + text_.size();
  }

 private:
  std::string_view text_;
  char block_[16] = {};
};

// Writes `lines` lines, each but the first behind a separator; returns the end of the output.
char* WriteBase64LinesPortable(const uint8_t* in, size_t lines, char* out,
                               const Base64Separator& separator);
// Only where Base64LinesHaveSsse3().
char* WriteBase64LinesSsse3(const uint8_t* in, size_t lines, char* out,
                            const Base64Separator& separator);
bool Base64LinesHaveSsse3();

// Writes what is less than a line, padded; returns the end of the output.
char* WriteBase64Rest(const uint8_t* in, size_t bytes, char* out);

}  // namespace qv
