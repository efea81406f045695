// What the fuzz targets share: a process with its own state and the library's tables, and input
// taken apart into the values that a target needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Stops with the place when a property does not hold; also in builds without assertions.
#define FUZZ_CHECK(condition)                                              \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (false)

namespace fuzz {

// Reads values from the front of an input; zeros when it is used up.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), left_(size) {}
  uint8_t Byte() { return left_ > 0 ? (--left_, *data_++) : uint8_t{0}; }
  uint16_t Word() { return static_cast<uint16_t>(Byte() << 8 | Byte()); }
  // The next NUL-terminated text, at most `most` bytes.
  std::string Text(size_t most = SIZE_MAX) {
    std::string text;
    while (left_ > 0 && text.size() < most) {
      char c = static_cast<char>(Byte());
      if (c == '\0') break;
      text += c;
    }
    return text;
  }
  std::string Rest() {
    std::string rest(reinterpret_cast<const char*>(data_), left_);
    left_ = 0;
    return rest;
  }

 private:
  const uint8_t* data_;
  size_t left_;
};

// A buffer with bytes behind it that must not change.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t size, char fill = '\x5A')
      : bytes_(size + kGuard, fill), size_(size) {}
  char* data() { return bytes_.data(); }
  size_t size() const { return size_; }
  bool Intact() const {
    for (size_t i = size_; i < bytes_.size(); ++i)
      if (bytes_[i] != '\x5A') return false;
    return true;
  }

 private:
  static constexpr size_t kGuard = 16;
  std::vector<char> bytes_;
  size_t size_;
};

}  // namespace fuzz
