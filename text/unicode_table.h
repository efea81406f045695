// Tables between one code page and Unicode, and the registry of them.
//
// The bodies are those of the module's "CHUC" resources (big-endian):
//   kind 0       128 entries of 2 bytes: Unicode of the bytes 0x80 to 0xFF; lower bytes are ASCII
//   kind 2       256 entries of 2 bytes: Unicode of every byte
//   kind 0x8000  rows of 18 bytes: code point / 16, then 16 bytes of the code page; ascending,
//                none below row 8
//   kind 0x8002  the same, from row 0
//   kinds 6, 0x8006, 0x0A and 0x800A: double-byte pages, see wide_tables.h
//   kinds 0xF000 to 0xF003: decompositions, see decomposition.h
// A kind with the top bit maps from Unicode. An entry of 0 means "no character", except that byte 0
// and U+0000 belong together.
// Registry: built before a second thread converts text, then only read.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "base/big_endian.h"
#include "text/code_pages.h"

namespace qv {

constexpr uint16_t kFromUnicodeBit = 0x8000;

class UnicodeTable {
 public:
  virtual ~UnicodeTable() = default;
  UnicodeTable(const UnicodeTable&) = delete;
  UnicodeTable& operator=(const UnicodeTable&) = delete;

  // Takes the body behind the 4-byte header. False when it breaks its kind's rules: the table is
  // then unusable and must be dropped. May throw std::bad_alloc.
  virtual bool Load(Bytes body) = 0;
  // The mapped value; 26 outside the table and, from Unicode, without an entry; to Unicode 0 for a
  // byte that has no character. Double-byte tables give codes below 128 without an entry unchanged,
  // others as 26, in both directions.
  virtual uint32_t Map(uint32_t value) const = 0;

  CodePage code_page() const { return code_page_; }
  bool from_unicode() const { return (kind_ & kFromUnicodeBit) != 0; }
  uint16_t kind() const { return kind_; }

 protected:
  UnicodeTable(uint16_t kind, CodePage cp) : kind_(kind), code_page_(cp) {}

 private:
  uint16_t kind_;
  CodePage code_page_;
};

// A table object of that kind, not loaded; null for an unknown kind or without memory.
std::unique_ptr<UnicodeTable> NewUnicodeTable(uint16_t kind, CodePage cp);

// Builds the registry from whole "CHUC" resources (header and body) and the two built-in tables of
// 20005; a table that fails to load, whose base is missing, or whose kind is not for the form of
// its page (single bytes, or one of east_asian_forms.h) is left out. The decomposition data go to
// their own place. False without memory (the registry is then empty). The spans are not needed
// afterwards.
bool BuildUnicodeTables(std::span<const Bytes> resources);
void ReleaseUnicodeTables();

// Every table, those to Unicode first, each direction by code page.
std::span<const std::unique_ptr<UnicodeTable>> AllUnicodeTables();

}  // namespace qv

// The table of cp in the wanted direction, or null; 20001 is looked up as 20002, 20014 as 936.
// Valid until ReleaseUnicodeTables.
const qv::UnicodeTable* FindUnicodeTable(CodePage cp, bool from_unicode);
