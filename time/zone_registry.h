// The zones that are offered: their ids and names, and of each the offset changes once somebody
// asked for them.
//
//   registry.Add("Europe/Paris", 32769028, data);
//   registry.Finish();
//   if (qv::ZoneEntry* zone = registry.Find(32769028)) registry.ChangesOf(*zone, data);
//
// Filled by one thread, then looked up by any; the owner (time_zones.cc) sees to it that nobody
// looks up while it is filled. Changes are worked out once; an entry's state goes
//
//   kAbsent -> kBusy      ChangesOf, by the caller that works them out
//   kBusy -> kComputed    the same; from here on the changes stay as they are
//   kBusy -> kAbsent      the same, when there was no memory: the next caller tries again; and a
//                         caller that waits, when the task that worked has been killed
//
// Other callers yield while an entry is busy. Nothing throws.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "time/task_mark.h"
#include "time/tz_data.h"
#include "time/zone_changes.h"

namespace qv {

struct ZoneEntry {
  enum State : uint32_t { kAbsent, kBusy, kComputed };
  bool first = false;  // no earlier entry has the id
  uint32_t id = 0;
  NameRef name = 0;
  alignas(std::atomic_ref<uint32_t>::required_alignment) uint32_t state = kAbsent;  // atomic_ref
  TaskMark worker;  // while it is busy
  ZoneChanges changes;

  bool IsComputed() { return std::atomic_ref(state).load(std::memory_order_acquire) == kComputed; }
};

class ZoneRegistry {
 public:
  // False when there is no memory.
  bool Add(std::string_view name, uint32_t id, TimeZoneData& data);
  // Readies the look-up; nothing may be added behind it. False when there is no memory.
  bool Finish();
  void Clear();

  // The first entry with the id, or null. The four found last are tried first.
  ZoneEntry* Find(uint32_t id);
  // The first entry with the name, or null.
  const ZoneEntry* FindByName(std::string_view name, const TimeZoneData& data) const;

  // The entry's changes, worked out on first use. Null when there is no memory, and until they are
  // worked out for callers off the kernel's thread and for those that would have to wait and may
  // not give up the processor.
  static const ZoneChanges* ChangesOf(ZoneEntry& entry, const TimeZoneData& data);

  const std::vector<ZoneEntry>& entries() const { return entries_; }
  size_t bytes_held() const;

 private:
  struct Place {
    uint32_t id;
    uint32_t index;
  };
  static constexpr size_t kCached = 4;
  // A place in one word: the id in the upper half, in the lower the index and 1. 0: none.
  using CachedPlace = uint64_t;

  // 0 when there is none.
  CachedPlace FindPlace(uint32_t id) const;
  void PutInFront(size_t slot, CachedPlace place);

  std::vector<ZoneEntry> entries_;
  std::vector<Place> places_;  // of the first entries, by id
  // The last found first. Callers on several threads may spoil the order, not the places.
  std::atomic<CachedPlace> cache_[kCached] = {};
};

// True when the caller may wait for the work of another one: on the kernel's thread (which
// everybody is on as long as there is no kernel), and in a task only where it may be switched.
bool MayWaitForOthers();

}  // namespace qv
