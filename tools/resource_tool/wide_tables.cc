#include "tools/resource_tool/wide_tables.h"

#include <set>

namespace qvresource {
namespace {

constexpr uint32_t kKindWide = 6, kKindBased = 0x0A, kFromUnicode = 0x8000;
constexpr uint32_t kRowValues = 16;
constexpr uint32_t kBlockCodes = 128;
constexpr uint32_t kSingles = 256;

using Mapping = std::map<uint32_t, uint32_t>;

bool IsSurrogate(uint32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

bool ReadRow(const Line& line, uint32_t& next_code, WidePage& page, Problem& problem) {
  uint32_t code = 0;
  std::vector<uint32_t> values;
  if (!ParseFreeRow(line, code, values, problem)) return false;
  if (code < next_code) return problem.Set(line.place, "rows do not ascend");
  next_code = code + kRowValues;
  for (uint32_t i = 0; i < kRowValues; ++i) {
    if (IsSurrogate(values[i])) return problem.Set(line.place, "a surrogate is no character");
    if (values[i] == 0) continue;
    page.to_unicode[code + i] = values[i];
    page.from_unicode.emplace(values[i], code + i);  // the lowest code stays
  }
  return true;
}

// CHARACTER CODE
bool ReadEntry(const Line& line, uint32_t& next_character, WidePage& page, Problem& problem) {
  uint32_t character = 0, code = 0;
  if (line.fields.size() != 2) return problem.Set(line.place, "\"CHARACTER CODE\" expected");
  if (!ParseHex(line.place, line.fields[0].text, 4, character, problem) ||
      !ParseHex(line.place, line.fields[1].text, 4, code, problem)) {
    return false;
  }
  if (character < next_character) return problem.Set(line.place, "characters do not ascend");
  next_character = character + 1;
  if (page.to_unicode.count(code) == 0) {
    return problem.Set(line.place, line.fields[1].text + " is no code of the page");
  }
  page.from_unicode[character] = code;
  return true;
}

// Of the two codes of a pair of JIS bytes only that in Shift-JIS; single bytes are the same there.
// 0 where there is none.
uint32_t ToShiftJis(uint32_t jis) {
  if (jis < kSingles) return jis;
  const uint32_t row = (jis >> 8) - 0x21, cell = (jis & 0xFF) - 0x21;
  if (row > 0x5D || cell > 0x5D) return 0;
  const uint32_t lead = row / 2 + (row / 2 < 0x1F ? 0x81 : 0xC1);
  return lead << 8 | (row % 2 == 1 ? cell + 0x9F : cell + 0x40 + (cell > 0x3E ? 1 : 0));
}

uint32_t ValueOf(const Mapping& mapping, uint32_t code) {
  const auto found = mapping.find(code);
  return found == mapping.end() ? 0 : found->second;
}

void AppendBlock(ByteVector& out, const Mapping& mapping, uint32_t block, int number_width,
                 int value_width) {
  AppendBig(out, block, number_width);
  for (uint32_t i = 0; i < kBlockCodes; ++i) {
    AppendBig(out, ValueOf(mapping, block * kBlockCodes + i), value_width);
  }
}

ByteVector EncodeWide(uint32_t kind, uint32_t page, const Mapping& mapping) {
  ByteVector out;
  AppendBig(out, kind, 2);
  AppendBig(out, page, 2);
  std::set<uint32_t> blocks;
  for (const auto& [code, value] : mapping) blocks.insert(code / kBlockCodes);
  for (uint32_t block : blocks) AppendBlock(out, mapping, block, 4, 4);
  return out;
}

ByteVector EncodeBased(uint32_t kind, uint32_t page, uint32_t base_page, const Mapping& mapping,
                       const Mapping& base) {
  ByteVector out;
  AppendBig(out, kind, 2);
  AppendBig(out, page, 2);
  AppendBig(out, base_page, 2);
  for (uint32_t code = 0; code < kSingles; ++code) AppendBig(out, ValueOf(mapping, code), 2);
  std::set<uint32_t> blocks;
  const auto compare = [&blocks](const Mapping& left, const Mapping& right) {
    for (const auto& [code, value] : left) {
      if (code >= kSingles && ValueOf(right, code) != value) blocks.insert(code / kBlockCodes);
    }
  };
  compare(mapping, base);
  compare(base, mapping);
  for (uint32_t block : blocks) AppendBlock(out, mapping, block, 2, 2);
  return out;
}

}  // namespace

bool ReadWidePage(const Place& file, const std::vector<Line>& rows,
                  const std::vector<Line>& entries, WidePage& page, Problem& problem) {
  uint32_t next_code = 0, next_character = 0;
  for (const Line& line : rows) {
    if (!ReadRow(line, next_code, page, problem)) return false;
  }
  for (const Line& line : entries) {
    if (!ReadEntry(line, next_character, page, problem)) return false;
  }
  return !page.to_unicode.empty() || problem.Set(file, "holds no character");
}

PageTables EncodeWidePage(const WidePage& page) {
  return {EncodeWide(kKindWide, page.number, page.to_unicode),
          EncodeWide(kFromUnicode | kKindWide, page.number, page.from_unicode)};
}

PageTables EncodeBasedPage(const WidePage& page, const WidePage& base) {
  Mapping to, from;
  for (const auto& [code, value] : base.to_unicode) to[ToShiftJis(code)] = value;
  for (const auto& [character, code] : base.from_unicode) from[character] = ToShiftJis(code);
  return {
      EncodeBased(kKindBased, page.number, base.number, page.to_unicode, to),
      EncodeBased(kFromUnicode | kKindBased, page.number, base.number, page.from_unicode, from)};
}

}  // namespace qvresource
