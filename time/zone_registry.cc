#include "time/zone_registry.h"

#include <algorithm>

#include "base/hooks.h"
#include "time/growth.h"

namespace qv {

// --- filling ---

bool ZoneRegistry::Add(std::string_view name, uint32_t id, TimeZoneData& data) {
  ZoneEntry entry;
  entry.id = id;
  entry.first = std::none_of(entries_.begin(), entries_.end(),
                             [id](const ZoneEntry& other) { return other.id == id; });
  return data.names.Add(name, &entry.name) && Append(entries_, entry);
}

bool ZoneRegistry::Finish() {
  for (uint32_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].first && !Append(places_, {entries_[i].id, i})) return false;
  }
  std::sort(places_.begin(), places_.end(),
            [](const Place& a, const Place& b) { return a.id < b.id; });
  return true;
}

void ZoneRegistry::Clear() {
  for (auto& slot : cache_) slot.store(0, std::memory_order_relaxed);
  std::vector<ZoneEntry>().swap(entries_);
  std::vector<Place>().swap(places_);
}

// --- finding ---

ZoneEntry* ZoneRegistry::Find(uint32_t id) {
  size_t slot = 0;
  CachedPlace place = 0;
  for (; slot < kCached; ++slot) {
    place = cache_[slot].load(std::memory_order_relaxed);
    if (place != 0 && place >> 32 == id) break;
  }
  if (slot == kCached) {
    place = FindPlace(id);
    if (place == 0) return nullptr;
    --slot;
  }
  if (slot != 0) PutInFront(slot, place);
  return &entries_[static_cast<uint32_t>(place) - 1];
}

ZoneRegistry::CachedPlace ZoneRegistry::FindPlace(uint32_t id) const {
  const auto place = std::partition_point(places_.begin(), places_.end(),
                                          [id](const Place& p) { return p.id < id; });
  if (place == places_.end() || place->id != id) return 0;
  return CachedPlace{id} << 32 | (place->index + 1);
}

// The places before the slot move down by one.
void ZoneRegistry::PutInFront(size_t slot, CachedPlace place) {
  for (; slot > 0; --slot) {
    cache_[slot].store(cache_[slot - 1].load(std::memory_order_relaxed), std::memory_order_relaxed);
  }
  cache_[0].store(place, std::memory_order_relaxed);
}

const ZoneEntry* ZoneRegistry::FindByName(std::string_view name, const TimeZoneData& data) const {
  const NameRef ref = data.names.Find(name);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const ZoneEntry& entry) {
    return entry.name == ref && (ref != 0 || name.empty());
  });
  return found == entries_.end() ? nullptr : &*found;
}

// --- changes ---

bool MayWaitForOthers() {
  const Hooks& hooks = GlobalHooks();
  return hooks.on_kernel_thread() && (hooks.current_task() == 0 || hooks.switching_allowed());
}

namespace {

// Waits a while for the one that works the changes out. False when the caller cannot.
bool WaitForWorker(ZoneEntry& entry, std::atomic_ref<uint32_t> state) {
  if (entry.worker.IsGone()) {
    entry.changes = ZoneChanges();
    state.store(ZoneEntry::kAbsent, std::memory_order_release);
    return true;
  }
  if (!MayWaitForOthers()) return false;
  GlobalHooks().yield();
  return true;
}

}  // namespace

const ZoneChanges* ZoneRegistry::ChangesOf(ZoneEntry& entry, const TimeZoneData& data) {
  std::atomic_ref<uint32_t> state(entry.state);
  while (state.load(std::memory_order_acquire) != ZoneEntry::kComputed) {
    if (!GlobalHooks().on_kernel_thread()) return nullptr;
    uint32_t expected = ZoneEntry::kAbsent;
    if (!state.compare_exchange_strong(expected, ZoneEntry::kBusy)) {
      if (!WaitForWorker(entry, state)) return nullptr;
      continue;
    }
    entry.worker.Set();
    const bool done = FindZoneChanges(data, entry.name, entry.changes, GlobalHooks().yield);
    if (!done) entry.changes = ZoneChanges();
    state.store(done ? ZoneEntry::kComputed : ZoneEntry::kAbsent, std::memory_order_release);
    if (!done) return nullptr;
  }
  return &entry.changes;
}

size_t ZoneRegistry::bytes_held() const {
  size_t bytes = entries_.capacity() * sizeof(ZoneEntry) + places_.capacity() * sizeof(Place);
  for (const ZoneEntry& entry : entries_) {
    if (entry.state == ZoneEntry::kComputed) bytes += entry.changes.bytes_held();
  }
  return bytes;
}

}  // namespace qv
