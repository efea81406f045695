// The tables of code pages whose bytes are characters (kinds 0, 2, 8000 and 8002), with the
// look-ups that the engines put into their loops.
//
// Threads: loaded once, then only read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "text/unicode_table.h"

namespace qv {

constexpr uint16_t kKindHighHalf = 0;
constexpr uint16_t kKindAllBytes = 2;

class ByteToUnicodeTable final : public UnicodeTable {
 public:
  // A character in UTF-8: `length` bytes of the four are meant, all four may be stored.
  struct Utf8Text {
    uint8_t bytes[4];
    uint32_t length;
  };

  ByteToUnicodeTable(uint16_t kind, CodePage cp) : UnicodeTable(kind, cp) {}
  bool Load(Bytes body) override;
  uint32_t Map(uint32_t value) const override;

  // 0 for a byte without a character.
  uint32_t CodeOf(uint8_t byte) const { return codes_[byte]; }
  const Utf8Text& Utf8Of(uint8_t byte) const { return utf8_[byte]; }
  // True when the lower half is ASCII.
  bool is_ascii() const { return is_ascii_; }

 private:
  bool is_ascii_ = false;
  uint16_t codes_[256] = {};
  Utf8Text utf8_[256] = {};
};

class UnicodeToByteTable final : public UnicodeTable {
 public:
  UnicodeToByteTable(uint16_t kind, CodePage cp) : UnicodeTable(kind, cp) {}
  bool Load(Bytes body) override;
  uint32_t Map(uint32_t value) const override { return ByteOf(value); }

  uint8_t ByteOf(uint32_t code) const {
    const uint32_t block = std::min(code / kBlockCodes, last_);
    return bytes_[block_of_[block] * kBlockCodes + code % kBlockCodes];
  }
  // True when the codes below 80 are their own bytes.
  bool is_ascii() const { return is_ascii_; }

 private:
  static constexpr uint32_t kBlockCodes = 128;
  void AddRow(uint32_t row, Bytes entries);

  bool is_ascii_ = false;
  uint32_t last_ = 0;
  // Index of the block of each 128 codes; the last entry, for all codes above, and every gap name
  // block 0, which holds nothing but replacements.
  std::vector<uint16_t> block_of_;
  std::vector<uint8_t> bytes_;
};

}  // namespace qv
