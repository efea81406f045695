// Time-zone data: from text to the three "ZRtz" resources that the library's time/time_zones.h
// explains, and zone lists.
#pragma once

#include <string>
#include <vector>

#include "tools/resource_tool/bytes.h"
#include "tools/resource_tool/source_text.h"

namespace qvresource {

// The entries of a zone list, one a line, as one text: fields parted by a blank, entries by ';'.
std::string JoinEntries(const std::vector<Line>& lines);

// The version record, the list of zones and the rules, in this order. The library's own parser has
// to read the rules to their end, and every zone of the list has to have rules.
bool EncodeTimeZones(const SourceLines& version, const SourceLines& list, const SourceLines& rules,
                     std::vector<ByteVector>& resources, Problem& problem);

}  // namespace qvresource
