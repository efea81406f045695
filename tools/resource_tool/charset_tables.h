// The character set tables: from the text of data/codepages to the bodies of the module's "CHST"
// and "CHUC" resources. All numbers in them are big-endian.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/resource_tool/bytes.h"
#include "tools/resource_tool/source_text.h"

namespace qvresource {

// "map SOURCE DESTINATION" followed by rows 00: to F0: of bytes, `count` times; each map becomes
// {source, destination, 256 bytes}. Bytes below 80 have to map to themselves.
bool EncodeByteMaps(const Place& file, const std::vector<Line>& lines, uint32_t count,
                    std::vector<ByteVector>& maps, Problem& problem);

struct PageTables {
  ByteVector to_unicode;    // {kind 0 or 2, page, values}
  ByteVector from_unicode;  // {kind 8000 or 8002, page, rows of {code / 16, 16 bytes}}
};

// Rows 80: to F0: (lower bytes are ASCII) or 00: to F0:. The reverse table is derived: of two bytes
// with one character the lowest wins.
bool EncodeSingleBytePage(const Place& file, const std::vector<Line>& lines, uint32_t page,
                          PageTables& tables, Problem& problem);

}  // namespace qvresource
