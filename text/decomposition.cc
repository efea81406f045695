#include "text/decomposition.h"

#include <vector>

namespace qv {
namespace {

constexpr uint16_t kFirstKind = 0xF000, kLastKind = 0xF003;
constexpr uint32_t kCanonicalIndex = 0, kCompatibilityIndex = 2;  // slots; companions follow
constexpr Field kCharacter{0, 4}, kFirstPart{4, 2}, kPartCount{6, 2};
constexpr uint32_t kRecordSize = 8, kPartSize = 4;
constexpr uint32_t kMostDepth = 8;  // steps behind each other; the deepest of Unicode are 4

// Hangul syllables: 19 initial consonants, 21 vowels, 28 final consonants (the first is none).
constexpr uint32_t kFirstSyllable = 0xAC00, kSyllables = 19 * 21 * 28, kFinals = 28, kVowels = 21;
constexpr uint32_t kInitialBase = 0x1100, kVowelBase = 0x1161, kFinalBase = 0x11A7;

struct DecompositionState {
  // Written while the registry of tables is built.
  std::vector<uint8_t> slots[kLastKind - kFirstKind + 1];
};

DecompositionState& State() {
  static DecompositionState state;
  return state;
}

bool IsAscending(Bytes index) {
  for (size_t at = kRecordSize; at < index.size(); at += kRecordSize) {
    const uint32_t before = ReadBigEndian(index, kCharacter, at - kRecordSize);
    if (ReadBigEndian(index, kCharacter, at) <= before) return false;
  }
  return true;
}

// Each record names parts that are there.
bool FitsCompanion(Bytes index, Bytes companion) {
  for (size_t at = 0; at < index.size(); at += kRecordSize) {
    const uint32_t count = ReadBigEndian(index, kPartCount, at);
    const uint32_t end = ReadBigEndian(index, kFirstPart, at) + count;
    if (count == 0 || end > companion.size() / kPartSize) return false;
  }
  return true;
}

// The parts of one character in an index; empty when it is not there.
Bytes FindParts(uint32_t slot, uint32_t code) {
  const Bytes index = State().slots[slot], companion = State().slots[slot + 1];
  size_t low = 0, high = index.size() / kRecordSize;
  while (low < high) {
    const size_t middle = low + (high - low) / 2, at = middle * kRecordSize;
    const uint32_t found = ReadBigEndian(index, kCharacter, at);
    if (found == code) {
      return companion.subspan(ReadBigEndian(index, kFirstPart, at) * size_t{kPartSize},
                               ReadBigEndian(index, kPartCount, at) * size_t{kPartSize});
    }
    (found < code ? low : high) = found < code ? middle + 1 : middle;
  }
  return {};
}

uint32_t DecomposeSyllable(uint32_t syllable, uint32_t* parts) {
  const uint32_t final = syllable % kFinals, vowel = syllable / kFinals % kVowels;
  parts[0] = kInitialBase + syllable / kFinals / kVowels;
  parts[1] = kVowelBase + vowel;
  parts[2] = kFinalBase + final;
  return final == 0 ? 2 : 3;
}

}  // namespace

Decomposer::Decomposer(Decomposition form)
    : active_(false), compatibility_(form == Decomposition::kCompatibility) {
  if (form == Decomposition::kNone) return;
  active_ = !State().slots[kCanonicalIndex].empty() ||
            (compatibility_ && !State().slots[kCompatibilityIndex].empty());
}

uint32_t Decomposer::Decompose(uint32_t code, uint32_t parts[kMostParts]) const {
  parts[0] = code;
  if (!active_) return 1;
  if (code - kFirstSyllable < kSyllables) return DecomposeSyllable(code - kFirstSyllable, parts);
  uint32_t count = 0;
  if (Expand(code, 0, parts, count)) return count;
  parts[0] = code;
  return 1;
}

bool Decomposer::Expand(uint32_t code, uint32_t depth, uint32_t parts[kMostParts],
                        uint32_t& count) const {
  Bytes step = FindParts(kCanonicalIndex, code);
  if (step.empty() && compatibility_) step = FindParts(kCompatibilityIndex, code);
  if (step.empty()) {
    if (count == kMostParts) return false;
    parts[count++] = code;
    return true;
  }
  if (depth == kMostDepth) return false;
  for (size_t at = 0; at < step.size(); at += kPartSize) {
    if (!Expand(ReadBigEndian(step, {0, kPartSize}, at), depth + 1, parts, count)) return false;
  }
  return true;
}

bool SetDecompositionData(uint16_t kind, Bytes body) {
  const bool index = (kind - kFirstKind) % 2 == 0;
  if (body.empty() || body.size() % (index ? kRecordSize : kPartSize) != 0) return false;
  if (index && !IsAscending(body)) return false;
  State().slots[kind - kFirstKind].assign(body.begin(), body.end());
  return true;
}

void CheckDecompositionData() {
  for (uint32_t slot : {kCanonicalIndex, kCompatibilityIndex}) {
    auto& slots = State().slots;
    if (!FitsCompanion(slots[slot], slots[slot + 1])) slots[slot].clear();
  }
}

void ReleaseDecompositionData() { State() = {}; }

}  // namespace qv
