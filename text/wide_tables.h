// The tables of double-byte code pages (kinds 6, 8006, 0A and 800A), with the look-up that the
// engines put into their loops.
//
// Bodies by kind, big-endian, behind kind and code page:
//   6     records of 516 bytes: block (4 bytes: code / 128), then 128 Unicode values of 4 bytes
//   8006  the same, from Unicode: the codes of the page
//   0A    the base page (2 bytes); 256 values of 2 bytes, Unicode of the single bytes; then records
//         of 258 bytes: row (2 bytes: code / 128, from 2 on) and 128 values of 2 bytes
//   800A  the same, from Unicode: codes of U+0000 to U+00FF, then rows of code points
//
// Records ascend and lie below 2200 (code 110000). A row of kinds 0A and 800A stands for itself
// alone; a row that is not there is that of the base table, whose JIS codes Shift-JIS arithmetic
// turns into the page's. So the Shift-JIS pages carry only the rows in which they differ from
// JIS X 0208.
//
// Look-up: 0 gives 0. Where the value is 0, or there is none, a code below 128 gives itself, any
// other 26; a pair of bytes without a character is therefore read as 26.
//
// Codes of the Japanese pages: see east_asian_forms.h. The half-width katakana (U+FF61 to U+FF9F)
// are the codes 00A1 to 00DF in all of them, also in the table of 20002, from where the readers and
// writers of 20001 (8E and the byte) and of 20002 (a character set of their own) take them.
//
// Threads: loaded and linked once, then only read.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "text/unicode_table.h"

namespace qv {

constexpr uint16_t kKindWide = 6;
constexpr uint16_t kKindBased = 0x0A;

class WideTable final : public UnicodeTable {
 public:
  static constexpr uint8_t kLeastTrail = 0x20;  // a control byte never completes a pair

  WideTable(uint16_t kind, CodePage cp) : UnicodeTable(kind, cp) {}
  bool Load(Bytes body) override;
  uint32_t Map(uint32_t value) const override { return ValueOf(value); }

  // The page whose table completes this one, 0 for kinds 6 and 8006.
  CodePage base_page() const { return base_page_; }
  // Takes over the rows that the base has and this table has not. Once, after Load; the base has
  // the same direction and no base of its own. May throw std::bad_alloc.
  void Link(const WideTable& base);

  uint32_t ValueOf(uint32_t code) const {
    const uint32_t block = std::min(code / kBlockCodes, last_);
    return values_[block_of_[block] * kBlockCodes + code % kBlockCodes];
  }
  // True when the codes below 80 are themselves.
  bool is_ascii() const { return is_ascii_; }
  // True for the bytes that begin a pair in the page's text: those of CPIsLeadByte, and such as are
  // no character and have pairs in the table. Of the latter kind are FA to FC of 932, where Windows
  // writes characters of everyday names; they read as pairs although a walk by CPCharSize takes
  // each byte by itself.
  bool is_lead(uint8_t byte) const { return is_lead_[byte]; }

 private:
  static constexpr uint32_t kBlockCodes = 128;

  bool LoadBlocks(Bytes records, uint32_t number_size, uint32_t value_size, uint32_t lowest);
  void Reserve(uint32_t last_block);
  void AddBlock(uint32_t block);
  void Set(uint32_t code, uint32_t value);
  void SetSingles(Bytes values);
  void FindLeadBytes();
  void LinkToUnicode(const WideTable& base, const std::vector<bool>& own);
  void LinkFromUnicode(const WideTable& base, const std::vector<bool>& own);

  CodePage base_page_ = 0;
  bool is_ascii_ = true;
  std::array<bool, 256> is_lead_{};
  uint32_t last_ = 0;
  // Index of the block of each 128 codes; the last entry, for all codes above, and every gap name
  // block 0, which holds nothing but replacements.
  std::vector<uint16_t> block_of_;
  std::vector<uint32_t> values_;
};

}  // namespace qv
