// The look-up of a zone's change as a plain walk, whose answers the search has to give.
#pragma once

#include <cstdint>
#include <span>

#include "time/zone_changes.h"

namespace test {

// From the last change to the first: the first one that applies, else the first of all.
inline const qv::OffsetChange* WalkChanges(std::span<const qv::OffsetChange> changes, uint32_t time,
                                           qv::TimeKind kind) {
  for (size_t i = changes.size(); i-- > 0;) {
    const qv::OffsetChange& before = changes[i == 0 ? 0 : i - 1];
    const int64_t standard = kind == qv::TimeKind::kUniversal ? before.standard : 0;
    if (changes[i].instant - standard - before.saving <= time) return &changes[i];
  }
  return changes.empty() ? nullptr : &changes[0];
}

}  // namespace test
