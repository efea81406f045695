// The line-break lists of the East Asian code pages: from data/linebreak.txt to the bodies of the
// "QVLB" resources, {count, codes, count, codes}, all of 2 bytes, big-endian.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "tools/resource_tool/bytes.h"
#include "tools/resource_tool/source_text.h"

namespace qvresource {

// Pages of the form "page CP", "first COUNT", rows of codes, "second COUNT", rows of codes: the
// characters that may not end a line, and those that may not begin one. A list has as many codes as
// it says, ascending; a code has four digits and is 00XX or a lead byte, 81 or above, and a trail
// byte.
bool EncodeLineBreakLists(const Place& file, const std::vector<Line>& lines,
                          std::map<uint32_t, ByteVector>& pages, Problem& problem);

}  // namespace qvresource
