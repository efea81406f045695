#include "containers/hash_table.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr uint64_t kDefaultBuckets = 101;
constexpr uint16_t kDefaultLoadLimit = 100;  // percent
constexpr uint64_t kEstimatePerBucket = 21;
constexpr uint64_t kEstimatePerTable = 128;

bool SameBytes(const void* a, const void* b, uint32_t size) {
  if (size != 8) return size == 0 || std::memcmp(a, b, size) == 0;
  uint64_t first, second;  // the usual size, without a call
  std::memcpy(&first, a, sizeof first);
  std::memcpy(&second, b, sizeof second);
  return first == second;
}

uint64_t WithByte(uint64_t hash, signed char byte) {
  hash += static_cast<uint64_t>(int64_t{byte});
  hash += hash << 10;
  return hash ^ hash >> 6;
}

bool IsGiven(const void* data, uint32_t size) { return data != nullptr || size == 0; }

}  // namespace

uint64_t HashBytes(const void* data, uint32_t size) {
  const auto* bytes = static_cast<const signed char*>(data);
  uint64_t hash = 0;
  // Entries are often of 8 bytes: for these no instruction goes into counting.
  for (; size >= 8; size -= 8, bytes += 8) {
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) hash = WithByte(hash, bytes[i]);
  }
  for (; size > 0; --size) hash = WithByte(hash, *bytes++);
  hash += hash << 3;
  hash ^= hash >> 11;
  hash += hash << 15;
  return hash;
}

HashTable::HashTable(uint32_t inline_size, uint64_t initial_buckets_less_1, uint16_t load_limit,
                     HashFunction hash, CompareFunction compare, uintptr_t context)
    : hash_(hash),
      compare_(compare),
      context_(context),
      shape_(inline_size),
      load_limit_(load_limit),
      initial_buckets_(initial_buckets_less_1 + 1),
      store_(shape_.group_size()),
      array_(store_),
      pool_(store_) {}

HashTable::HashTable(uint32_t inline_size, HashFunction hash, CompareFunction compare,
                     uintptr_t context)
    : HashTable(inline_size, kDefaultBuckets - 1, kDefaultLoadLimit, hash, compare, context) {}

HashTable::~HashTable() {
  while (iterators_ != nullptr) iterators_->End();
  if (has_copies_) ReleaseEntries();
}

void HashTable::ReleaseEntries() {
  for (uint64_t index = 0; index < array_.size(); ++index) {
    HashPlace place = FirstFrom(&index);
    for (; place.group != nullptr; place = FirstInChain(place.group, place.slot + 1)) {
      shape_.ReleaseEntry(place.group, place.slot);
    }
  }
}

// --- the functions, and what stands in for them ---

uint64_t HashTable::Hash(const void* data, uint32_t size, uint32_t mode) const {
  return hash_ != nullptr ? hash_(data, size, context_, mode) : HashBytes(data, size);
}

bool HashTable::Equal(const void* data, uint32_t size, const void* stored, uint32_t stored_size,
                      uint32_t mode) const {
  if (compare_ != nullptr) return compare_(data, size, stored, stored_size, context_, mode);
  return size == stored_size && SameBytes(data, stored, size);
}

// --- finding ---

// What is looked for, in a table whose functions are those above and are not replaced: no call is
// needed to compare.
struct HashTable::WantedBytes {
  const void* data;
  uint32_t size;

  bool operator==(const StoredEntry& stored) const {
    return size == stored.size && SameBytes(data, stored.data, size);
  }
};
// In any other.
struct HashTable::WantedEntry {
  const HashTable& table;
  const void* data;
  uint32_t size, mode;

  bool operator==(const StoredEntry& stored) const {
    return table.Equal(data, size, stored.data, stored.size, mode);
  }
};

template <typename Wanted>
[[gnu::always_inline]] inline HashPlace HashTable::FindInGroup(HashGroup* group, uint32_t tag,
                                                               const Wanted& wanted) const {
  for (uint32_t matches = group->Matches(MarkOf(tag)); matches != 0; matches &= matches - 1) {
    const auto slot = static_cast<uint32_t>(std::countr_zero(matches));
    if (wanted == StoredEntry{shape_.Entry(group, slot), shape_.Size(group, slot)}) {
      return {group, slot};
    }
  }
  return {};
}

// Nearly all entries stand in the first group of their chain: only that is looked at here.
template <typename Wanted>
[[gnu::always_inline]] inline HashPlace HashTable::Find(uint32_t tag, const Wanted& wanted) const {
  HashGroup* group = array_.Group(HomeOf(tag));
  if (group == nullptr) return {};
  const HashPlace place = FindInGroup(group, tag, wanted);
  if (place.group != nullptr || (group->more == kNoGroup && !growth_.is_dividing)) return place;
  return FindFurther(group, tag, wanted);
}

// In the chain behind a group, and where a chain that is being divided goes.
template <typename Wanted>
[[gnu::noinline]] HashPlace HashTable::FindFurther(HashGroup* group, uint32_t tag,
                                                   Wanted wanted) const {
  const auto find_from = [&](HashGroup* each) -> HashPlace {
    for (; each != nullptr; each = pool_.Group(each->more)) {
      const HashPlace place = FindInGroup(each, tag, wanted);
      if (place.group != nullptr) return place;
    }
    return {};
  };
  const HashPlace place = find_from(pool_.Group(group->more));
  if (place.group != nullptr || !growth_.is_dividing) return place;
  const uint32_t index = HomeOf(tag);
  if (index != growth_.cursor || (tag & growth_.groups) == 0) return {};
  return find_from(array_.Group(uint64_t{index} + growth_.groups));
}

inline uint32_t HashTable::TagFor(const void* data, uint32_t size, uint32_t mode) const {
  return TagOf(is_of_bytes_ ? HashBytes(data, size) : Hash(data, size, mode));
}

[[gnu::noinline]] HashPlace HashTable::FindByFunctions(uint32_t tag, const void* data,
                                                       uint32_t size, uint32_t mode) const {
  return entries_ > 0 ? Find(tag, WantedEntry{*this, data, size, mode}) : HashPlace{};
}

HashPlace HashTable::FindEqual(uint32_t tag, const void* data, uint32_t size, uint32_t mode) const {
  return is_of_bytes_ ? Find(tag, WantedBytes{data, size}) : FindByFunctions(tag, data, size, mode);
}

[[gnu::noinline]] HashPlace HashTable::FindKeyByFunctions(const void* key, uint32_t size) const {
  return FindByFunctions(TagOf(Hash(key, size, kHashLookup)), key, size, kHashLookup);
}

// With all calls out of the way, so that a look-up of bytes has no registers to save.
inline HashPlace HashTable::FindKey(const void* key, uint32_t size) const {
  if (!IsGiven(key, size)) return {};
  if (!is_of_bytes_) return FindKeyByFunctions(key, size);
  return Find(TagOf(HashBytes(key, size)), WantedBytes{key, size});
}

bool HashTable::Lookup(const void* key, uint32_t size, void* out, uint32_t out_size) const {
  const HashPlace place = FindKey(key, size);
  if (place.group == nullptr || shape_.Size(place.group, place.slot) != out_size) return false;
  if (out != nullptr && out_size > 0) {
    std::memcpy(out, shape_.Entry(place.group, place.slot), out_size);
  }
  return true;
}

bool HashTable::Lookup(const void* key, uint32_t size, void* out, uint32_t* out_size) const {
  const HashPlace place = FindKey(key, size);
  const bool found = place.group != nullptr;
  const uint32_t room = out_size != nullptr ? *out_size : 0;
  const uint32_t needed = found ? shape_.Size(place.group, place.slot) : 0;
  if (out_size != nullptr) *out_size = needed;
  if (!found || out == nullptr) return found;
  if (room < needed) return false;
  if (needed > 0) std::memcpy(out, shape_.Entry(place.group, place.slot), needed);
  return true;
}

// The first entry of a chain from a place of one of its groups on.
HashPlace HashTable::FirstInChain(HashGroup* group, uint32_t slot) const {
  for (; group != nullptr; group = pool_.Group(group->more), slot = 0) {
    const uint32_t live = group->LiveFrom(slot);
    if (live != 0) return {group, static_cast<uint32_t>(std::countr_zero(live))};
  }
  return {};
}

// The first entry of the chains from *index on, which is set to that of its chain.
HashPlace HashTable::FirstFrom(uint64_t* index) const {
  while (*index < array_.size()) {
    HashGroup* group = array_.Group(*index);
    if (group == nullptr) {
      *index = array_.SegmentBehind(*index);
      continue;
    }
    const HashPlace place = FirstInChain(group, 0);
    if (place.group != nullptr) return place;
    ++*index;
  }
  return {};
}

// --- adding ---

bool HashTable::Insert(const void* entry, uint32_t size) {
  if (!IsGiven(entry, size)) return false;
  const uint32_t tag = TagFor(entry, size, kHashInsert);
  // In a large table each line of a group is a wait for memory; it begins before the other work.
  if (growth_.is_growing) {
    if (const HashGroup* group = array_.Group(HomeOf(tag))) shape_.Prefetch(group);
  }
  if (!CheckGrowth()) return false;
  void* copy = nullptr;
  if (!shape_.IsInline(size)) {
    copy = GlobalHooks().allocate(size);
    if (copy == nullptr) return false;
    std::memcpy(copy, entry, size);
    has_copies_ = true;
  }
  const HashPlace place = FindOrAdd(tag, entry, size);
  if (place.group == nullptr) {
    GlobalHooks().release(copy);
    return false;
  }
  shape_.ReleaseEntry(place.group, place.slot);
  shape_.Store(place.group, place.slot, entry, size, copy);
  return true;
}

// A new entry is empty as yet. Nowhere without memory.
HashPlace HashTable::FindOrAdd(uint32_t tag, const void* entry, uint32_t size) {
  HashPlace place = FindEqual(tag, entry, size, kHashInsert);
  if (place.group != nullptr) return place;
  place = FindFree(HomeOf(tag));
  if (place.group == nullptr) return {};
  shape_.Occupy(place.group, place.slot, tag);
  ++entries_;
  return place;
}

// A free place of a chain, if need be in a further group. Nowhere without memory.
HashPlace HashTable::FindFree(uint64_t index) {
  HashGroup* group = array_.MakeGroup(index);
  while (group != nullptr && group->live == HashGroup::kAllLive) {
    if (group->more == kNoGroup) group->more = pool_.Take();
    group = pool_.Group(group->more);
  }
  if (group == nullptr) return {};
  return {group, static_cast<uint32_t>(std::countr_one(group->live))};
}

// --- removing ---

bool HashTable::Remove(const void* key, uint32_t size) {
  if (!IsGiven(key, size)) return false;
  if (growth_.is_growing) Migrate();
  const HashPlace place = FindEqual(TagFor(key, size, kHashLookup), key, size, kHashRemove);
  if (place.group == nullptr) return false;
  shape_.ReleaseEntry(place.group, place.slot);
  place.group->SetFree(place.slot);
  --entries_;
  MoveIterators(place);
  return true;
}

// From a place that is free now to the next entry of the chain. Without one an iterator goes on
// with the next chain.
void HashTable::MoveIterators(HashPlace from) {
  for (HashIterator* each = iterators_; each != nullptr; each = each->next_) {
    if (each->place_ != from) continue;
    each->place_ = FirstInChain(from.group, from.slot);
    if (each->place_.group == nullptr) ++each->index_;
  }
}

uint64_t HashTable::MemoryEstimate() const {
  const uint64_t buckets = growth_.is_growing ? growth_.buckets * 3 : growth_.buckets;
  return (shape_.inline_size() + kEstimatePerBucket) * buckets + kEstimatePerTable;
}

}  // namespace qv
