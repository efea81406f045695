// The link rules worked out ahead, for the bytes that most text is made of: one look-up gives the
// next state. What a rule decides by more than state, byte, quotes and the blanks mode, or does
// beyond collecting a token, is left to the rules themselves ("slow").
//
// It holds in silent mode, with no escape and no lead byte pending. Whatever ends as plain text
// simply goes; a token that may be a find ends slowly.
#pragma once

#include <array>
#include <cstdint>

#include "net/link_rules.h"

namespace qv::link_table {

// What a byte does: the next state in the low bits (kIdle: there is no token any more; any other:
// the byte belongs to it), and these.
enum : uint8_t {
  kNextState = 0x0F,
  kStartsToken = 0x10,  // the byte is the first of a token; one that was there was plain text
  kSetsCloser = 0x20,   // what closes the byte before is expected from here on
  kSlow = 0x40,
};

// --- classes: bytes that are in the same sets ---

constexpr uint32_t kMostClasses = 32;  // the last is that of bytes that may be lead bytes
constexpr uint8_t kLeadClass = kMostClasses - 1;

struct Classes {
  std::array<uint8_t, 256> of_byte = {};
  std::array<link_rules::Sets, kMostClasses> sets = {};
  uint8_t count = 0;
};

constexpr Classes MakeClasses(bool lead_bytes) {
  Classes classes;
  for (uint32_t byte = 0; byte < 256; ++byte) {
    const link_rules::Sets sets = link_rules::kSetsOf[byte];
    uint8_t& c = classes.of_byte[byte];
    while (c < classes.count && classes.sets[c] != sets) ++c;
    if (c == classes.count) classes.sets[classes.count++] = sets;
    if (lead_bytes && byte >= 0x80) c = kLeadClass;
  }
  return classes;
}

// Without and with lead bytes.
inline constexpr Classes kClasses[] = {MakeClasses(false), MakeClasses(true)};
static_assert(kClasses[0].count < kMostClasses, "the class of lead bytes is one of its own");

// --- the table ---

enum class Answer { kNo, kYes, kUnknown };

constexpr Answer Holds(link_rules::Conditions when, bool in_quotes, bool no_spaces) {
  using namespace link_rules;
  const Conditions known = kEscaped | kLeadPending | kIsLead | kInQuotes | kOutOfQuotes | kNoSpaces;
  const Conditions hold = (in_quotes ? Conditions{kInQuotes} : Conditions{kOutOfQuotes}) |
                          (no_spaces ? Conditions{kNoSpaces} : 0);
  if ((when & known & ~hold) != 0) return Answer::kNo;
  return (when & ~known) == 0 ? Answer::kYes : Answer::kUnknown;
}

constexpr bool MayBeFind(link_rules::State state) {
  using namespace link_rules;
  return state == kHost || state == kBody || state == kDomain || state == kLiteral;
}

constexpr uint8_t MakeEntry(link_rules::State state, link_rules::Sets sets, bool in_quotes,
                            bool no_spaces) {
  using namespace link_rules;
  for (const Rule* rule = kFirstRules[state];; ++rule) {
    const Answer answer = Holds(rule->when, in_quotes, no_spaces);
    if ((sets & rule->bytes) == 0 || answer == Answer::kNo) continue;
    if (answer == Answer::kUnknown) return kSlow;
    const auto closer = static_cast<uint8_t>(rule->actions & kSetCloser ? kSetsCloser : 0);
    if ((rule->actions & ~kSetCloser) == kEnd) {
      return MayBeFind(state) ? uint8_t{kSlow}
                              : MakeEntry(kIdle, sets, in_quotes, no_spaces) | closer;
    }
    // Nothing is handed out in silent mode, and nothing is full here.
    const Actions nothing = kEndWhenFull | (state == kIdle ? kEndBefore | kEcho : 0);
    if ((rule->actions & ~(kStore | kSetCloser | nothing)) != 0) return kSlow;
    const bool starts = state == kIdle && rule->next != kIdle;
    return static_cast<uint8_t>(rule->next | closer | (starts ? kStartsToken : 0));
  }
}

using Rows = std::array<std::array<uint8_t, kMostClasses>, link_rules::kStateCount>;

constexpr Rows MakeRows(bool in_quotes, bool no_spaces) {
  Rows rows = {};
  for (uint8_t state = 0; state < link_rules::kStateCount; ++state) {
    rows[state].fill(kSlow);
    for (uint8_t c = 0; c < kClasses[0].count; ++c) {
      rows[state][c] = MakeEntry(static_cast<link_rules::State>(state), kClasses[0].sets[c],
                                 in_quotes, no_spaces);
    }
  }
  return rows;
}

// By [no_spaces][in_quotes].
inline constexpr Rows kRows[2][2] = {{MakeRows(false, false), MakeRows(true, false)},
                                     {MakeRows(false, true), MakeRows(true, true)}};

}  // namespace qv::link_table
