// Decomposition of characters into simpler ones: a letter and its accents, a compatibility
// character and what it stands for.
//
//   const Decomposer decomposer(Decomposition::kCanonical);
//   uint32_t parts[Decomposer::kMostParts];
//   const uint32_t count = decomposer.Decompose(0x1EA4, parts);  // 0041 0302 0301
//
// The data are those of the module's "CHUC" resources, big-endian, behind kind and code page:
//   kind F000, F002  the index: records of 8 bytes, ascending by character: character (4 bytes),
//                    place of its first part in the companion (2), number of parts (2)
//   kind F001, F003  the companion: parts of 4 bytes
// F000 and F001 hold the canonical decompositions, F002 and F003 the compatibility ones; each is a
// single step. Decompose is full: it takes the parts apart as long as there is a step, and Hangul
// syllables by their arithmetic. Combining characters are not put into canonical order.
//
// Threads: the data are put in before a second thread converts text, and then only read.
#pragma once

#include <cstdint>

#include "base/big_endian.h"

namespace qv {

enum class Decomposition : uint32_t {
  kNone = 0,
  kCanonical = 2,
  kCompatibility = 4,  // with the canonical one, which it includes
};

class Decomposer {
 public:
  // More than any character of Unicode has.
  static constexpr uint32_t kMostParts = 32;

  // Without the data of a form (for kCompatibility: of either) nothing of that form is decomposed.
  explicit Decomposer(Decomposition form);

  // False when nothing would ever be decomposed.
  bool active() const { return active_; }
  // Stores the parts of a character (itself when it has none) and returns their number, 1 to
  // kMostParts. A character whose data lead to more parts, or round in a circle, stays whole.
  uint32_t Decompose(uint32_t code, uint32_t parts[kMostParts]) const;

 private:
  bool Expand(uint32_t code, uint32_t depth, uint32_t parts[kMostParts], uint32_t& count) const;

  bool active_, compatibility_;
};

// Keeps a copy of the body of one of the four kinds; false when it breaks the rules of its kind.
// May throw std::bad_alloc.
bool SetDecompositionData(uint16_t kind, Bytes body);
// Drops an index whose companion is missing or too short. Call when all four may be in.
void CheckDecompositionData();
void ReleaseDecompositionData();

}  // namespace qv
