#include "tools/resource_tool/charset_tables.h"

#include <array>
#include <map>

namespace qvresource {
namespace {

constexpr uint32_t kBytes = 256;
constexpr uint32_t kFirstHighByte = 0x80;
constexpr uint32_t kRowValues = 16;
constexpr uint32_t kKindHighHalf = 0, kKindAllBytes = 2, kFromUnicode = 0x8000;

bool ReadByteMap(const std::vector<Line>& lines, size_t& at, ByteVector& map, Problem& problem) {
  const Line& head = lines[at++];
  if (head.fields[0].text != "map" || head.fields.size() != 3) {
    return problem.Set(head.place, "\"map SOURCE DESTINATION\" expected");
  }
  for (size_t i = 1; i <= 2; ++i) {
    uint32_t page = 0;
    if (!ParseDecimal(head.place, head.fields[i].text, 0xFFFF, page, problem)) return false;
    AppendBig(map, page, 2);
  }
  for (uint32_t code = 0; code < kBytes; code += kRowValues, ++at) {
    if (at == lines.size()) return problem.Set(head.place, "the map has too few rows");
    std::vector<uint32_t> row;
    if (!ParseRow(lines[at], code, 2, row, problem)) return false;
    for (uint32_t i = 0; i < kRowValues; ++i) {
      if (code < kFirstHighByte && row[i] != code + i) {
        return problem.Set(lines[at].place, "a byte below 80 does not map to itself");
      }
      AppendBig(map, row[i], 1);
    }
  }
  return true;
}

bool ReadPageValues(const Place& file, const std::vector<Line>& lines, uint32_t first,
                    std::vector<uint32_t>& values, Problem& problem) {
  const size_t rows = (kBytes - first) / kRowValues;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i == rows) return problem.Set(lines[i].place, "a row too many");
    const size_t start = values.size();
    const uint32_t code = first + static_cast<uint32_t>(i) * kRowValues;
    if (!ParseRow(lines[i], code, 4, values, problem)) return false;
    for (size_t at = start; at < values.size(); ++at) {
      if (values[at] >= 0xD800 && values[at] <= 0xDFFF) {
        return problem.Set(lines[i].place, "a surrogate is no character");
      }
    }
  }
  return lines.size() == rows || problem.Set(file, "rows are missing at the end");
}

// The byte of each character, by code / 16.
std::map<uint32_t, std::array<uint8_t, kRowValues>> Invert(const std::vector<uint32_t>& values,
                                                           uint32_t first) {
  std::map<uint32_t, std::array<uint8_t, kRowValues>> rows;
  for (uint32_t i = 0; i < values.size(); ++i) {
    const uint32_t code = values[i];
    // Where the lower half is ASCII, an upper byte never stands for an ASCII character.
    if (code == 0 || code < first) continue;
    uint8_t& entry = rows[code / kRowValues][code % kRowValues];
    if (entry == 0) entry = static_cast<uint8_t>(first + i);
  }
  return rows;
}

}  // namespace

bool EncodeByteMaps(const Place& file, const std::vector<Line>& lines, uint32_t count,
                    std::vector<ByteVector>& maps, Problem& problem) {
  for (size_t at = 0; at < lines.size();) {
    ByteVector map;
    if (!ReadByteMap(lines, at, map, problem)) return false;
    maps.push_back(map);
  }
  return maps.size() == count || problem.Set(file, "holds " + std::to_string(maps.size()) +
                                                       " maps, not " + std::to_string(count));
}

bool EncodeSingleBytePage(const Place& file, const std::vector<Line>& lines, uint32_t page,
                          PageTables& tables, Problem& problem) {
  const bool all = !lines.empty() && lines[0].fields[0].text == "00:";
  const uint32_t first = all ? 0 : kFirstHighByte;
  const uint32_t kind = all ? kKindAllBytes : kKindHighHalf;
  std::vector<uint32_t> values;
  if (!ReadPageValues(file, lines, first, values, problem)) return false;
  AppendBig(tables.to_unicode, kind, 2);
  AppendBig(tables.to_unicode, page, 2);
  for (uint32_t value : values) AppendBig(tables.to_unicode, value, 2);
  AppendBig(tables.from_unicode, kFromUnicode | kind, 2);
  AppendBig(tables.from_unicode, page, 2);
  for (const auto& [number, bytes] : Invert(values, first)) {
    AppendBig(tables.from_unicode, number, 2);
    tables.from_unicode.insert(tables.from_unicode.end(), bytes.begin(), bytes.end());
  }
  return true;
}

}  // namespace qvresource
