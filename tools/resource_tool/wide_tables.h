// The tables of double-byte code pages: from rows of codes and characters to the bodies of "CHUC"
// resources, whose layout the library's text/wide_tables.h explains.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "tools/resource_tool/charset_tables.h"

namespace qvresource {

struct WidePage {
  uint32_t number = 0;
  std::map<uint32_t, uint32_t> to_unicode;    // without the codes that have no character
  std::map<uint32_t, uint32_t> from_unicode;  // of two codes with one character the lowest
};

// Rows "CODE: v v ..." of 16 characters, ascending, 0000 for none; `entries` are lines "CHARACTER
// CODE", ascending, that come before the inverse of the rows and name codes with a character.
bool ReadWidePage(const Place& file, const std::vector<Line>& rows,
                  const std::vector<Line>& entries, WidePage& page, Problem& problem);

// Kinds 6 and 8006.
PageTables EncodeWidePage(const WidePage& page);

// Kinds 0A and 800A: the rows in which the page differs from what Shift-JIS arithmetic makes of the
// base, whose codes are those of JIS.
PageTables EncodeBasedPage(const WidePage& page, const WidePage& base);

}  // namespace qvresource
