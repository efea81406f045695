// The arithmetic between the codes of JIS X 0208 (2121 to 7E7E) and Shift-JIS: a lead byte holds a
// pair of JIS rows, the odd one behind trail bytes 40 to 9E, the even one behind 9F to FC.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint32_t kFirstJis = 0x21, kLastJis = 0x7E;    // of either byte
constexpr uint32_t kOddTrail = 0x40, kEvenTrail = 0x9F;  // where a row begins; 7F is left out
constexpr uint32_t kJisRow = 94;

// The code in Shift-JIS; 0 for what is no double-byte JIS code.
constexpr uint32_t ShiftJisFromJis(uint32_t jis) {
  const uint32_t row = (jis >> 8) - kFirstJis, cell = (jis & 0xFF) - kFirstJis;
  if (row >= kJisRow || cell >= kJisRow) return 0;
  const uint32_t pair = row / 2;
  const uint32_t lead = pair + (pair < 0x1F ? 0x81 : 0xC1);
  const uint32_t odd_trail = cell + kOddTrail + (cell >= 0x3F ? 1 : 0);
  return lead << 8 | (row % 2 == 0 ? odd_trail : cell + kEvenTrail);
}

// The code in JIS; 0 for what has no place there (leads other than 81 to 9F and E0 to EF, trails
// other than 40 to 7E and 80 to FC).
constexpr uint32_t JisFromShiftJis(uint32_t code) {
  const uint32_t lead = code >> 8, trail = code & 0xFF;
  const bool low_lead = lead >= 0x81 && lead <= 0x9F;
  if (!low_lead && (lead < 0xE0 || lead > 0xEF)) return 0;
  if (trail < kOddTrail || trail == 0x7F || trail > 0xFC) return 0;
  const uint32_t pair = lead - (low_lead ? 0x81 : 0xC1);
  const bool even = trail >= kEvenTrail;
  const uint32_t cell = even ? trail - kEvenTrail : trail - kOddTrail - (trail > 0x7F ? 1 : 0);
  return (2 * pair + (even ? 1 : 0) + kFirstJis) << 8 | (cell + kFirstJis);
}

}  // namespace qv
