// Counts the units 1A and 00 in text that arrives in pieces, a unit being 1, 2 or 4 bytes.
#pragma once

#include <cstdint>
#include <string_view>

#include "text/code_pages.h"

namespace qvtool {

class UnitCounter {
 public:
  explicit UnitCounter(CodePage cp);

  // True when the units mean SUB and NUL in the code page, and stand for nothing else.
  bool meaningful() const { return meaningful_; }
  void Add(std::string_view bytes);
  uint64_t substitutes() const { return substitutes_; }
  uint64_t zeros() const { return zeros_; }

 private:
  void AddUnit(uint32_t value);

  bool meaningful_, big_endian_;
  uint32_t width_;
  uint32_t unit_ = 0, unit_bytes_ = 0;  // what has arrived of the current unit
  uint64_t substitutes_ = 0, zeros_ = 0;
};

}  // namespace qvtool
