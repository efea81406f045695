// The moments at which a zone's offset changes, from 1995 on, and the look-up in them.
//
//   qv::ZoneChanges changes;
//   if (!qv::FindZoneChanges(data, data.names.Find("Europe/Paris"), changes, yield)) ...
//   const qv::OffsetChange* now = changes.At(time, qv::TimeKind::kUniversal);
//   // now->standard 3600, now->saving 0 or 3600; null for a zone without lines
//
// The look-up answers as a walk from the last change to the first would, the first that applies
// being the answer: a change applies to a universal time from its instant less the offset before it
// on, to a local time from its instant less the saving before it on; the first change applies to
// all times before it. Offsets of foreign texts need not leave these moments in order. So each
// search key is the least moment of its change and of all later ones: keys ascend, and the last key
// that is not after the time belongs to the change that the walk would stop at.
//
// Threads: one fills it, any may then look up. Nothing throws.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "time/rule_times.h"
#include "time/tz_data.h"

namespace qv {

enum class TimeKind { kUniversal, kLocal };

struct OffsetChange {
  uint32_t instant;          // wall-clock framework time
  int32_t standard, saving;  // in effect from it on, seconds
  const ZoneLine* line;      // what made it
  const RuleRecord* rule;    // null for the start of a line
};

// Ascending keys of times, in one array behind a table: for each 388 days of the range the first
// key that is not before them, so that a search looks at the few keys of its own stretch only.
class TimeKeys {
 public:
  // Takes over keys that ascend. False when there is no memory.
  bool Fill(std::span<const uint32_t> keys);
  // How many keys are not after the time.
  uint32_t CountReached(uint32_t time) const;
  size_t bytes_held() const { return words_.capacity() * sizeof(uint32_t); }

 private:
  std::vector<uint32_t> words_;
};

class ZoneChanges {
 public:
  // Puts the change behind those that are not later, unless its offsets are those of the one before
  // it. False when there is no memory.
  bool Add(const OffsetChange& change);
  // Readies the look-up; nothing may be added behind it. False when there is no memory.
  bool Finish();

  // The change in effect; null when there are none.
  const OffsetChange* At(uint32_t time, TimeKind kind) const;

  std::span<const OffsetChange> all() const { return changes_; }
  size_t bytes_held() const;

 private:
  std::vector<OffsetChange> changes_;
  // Of each change; one that no time reaches has none, nor have those behind it.
  TimeKeys universal_keys_, local_keys_;
};

// Works out the changes of the zone into an empty list. Calls `yield` between zone lines; the data
// must stay. False when there is no memory.
//
// Taken here: a rule whose time in the next year is past too, which offsets can do to one around
// new year, is looked for in the years behind it, so that every step leads on.
bool FindZoneChanges(const TimeZoneData& data, NameRef zone, ZoneChanges& changes, void (*yield)());

}  // namespace qv
