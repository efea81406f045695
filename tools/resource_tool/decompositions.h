// Decompositions of characters: from lines of the Unicode data to the four "CHUC" resources of
// kinds F000 to F003, whose layout the library's text/decomposition.h explains.
#pragma once

#include <vector>

#include "tools/resource_tool/bytes.h"
#include "tools/resource_tool/source_text.h"

namespace qvresource {

// Lines "C CHARACTER PART ..." (canonical) and "K CHARACTER PART ..." (compatibility), each kind
// ascending; numbers have 4 to 6 digits.
bool EncodeDecompositions(const std::vector<Line>& lines, std::vector<ByteVector>& resources,
                          Problem& problem);

}  // namespace qvresource
