#include "programs/qvtool/unit_counter.h"

#include <cstring>

#include "text/unicode_table.h"

namespace qvtool {
namespace {

// Rare bytes, so a search is faster than a comparison of each.
uint64_t CountOf(std::string_view bytes, char wanted) {
  uint64_t count = 0;
  const char* end = bytes.data() + bytes.size();
  for (const char* at = bytes.data();; ++at, ++count) {
    at = static_cast<const char*>(std::memchr(at, wanted, static_cast<size_t>(end - at)));
    if (at == nullptr) return count;
  }
}

// In UTF-7 they stand inside of runs; in the pages of IBM's large machines 1A is another control.
bool MeansSubstitute(CodePage cp) {
  if (cp == kUtf7) return false;
  const qv::UnicodeTable* table = qv::IsUnicodeCodePage(cp) ? nullptr : FindUnicodeTable(cp, false);
  return table == nullptr || table->Map(kReplacement) == kReplacement;
}

}  // namespace

UnitCounter::UnitCounter(CodePage cp)
    : meaningful_(MeansSubstitute(cp)),
      big_endian_(cp == kUtf16Big || cp == kUtf32Big),
      width_(static_cast<uint32_t>(CPTermSize(cp))) {}

void UnitCounter::Add(std::string_view bytes) {
  if (!meaningful_ || bytes.empty()) return;
  if (width_ == 1) {
    substitutes_ += CountOf(bytes, static_cast<char>(kReplacement));
    zeros_ += CountOf(bytes, '\0');
    return;
  }
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    unit_ = big_endian_ ? unit_ << 8 | byte : unit_ | uint32_t{byte} << 8 * unit_bytes_;
    if (++unit_bytes_ == width_) AddUnit(unit_);
  }
}

void UnitCounter::AddUnit(uint32_t value) {
  substitutes_ += value == kReplacement;
  zeros_ += value == 0;
  unit_ = unit_bytes_ = 0;
}

}  // namespace qvtool
