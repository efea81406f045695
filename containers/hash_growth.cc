// How a hash table grows.
#include <bit>
#include <typeinfo>

#include "containers/hash_table.h"

namespace qv {
namespace {

// What one step may do: enough to be done long before the table is full again, few enough to go
// unnoticed. Low load limits make for many empty buckets.
constexpr uint32_t kMostMoved = 10;
constexpr uint32_t kMostVisited = 128 / HashTable::kBucketsPerGroup;  // groups
// Far beyond what memory holds, and small enough for tags of 32 bits.
constexpr uint64_t kMostBuckets = uint64_t{1} << 33;

}  // namespace

// False when there are no buckets and no memory for them.
bool HashTable::CheckGrowth() {
  if (array_.size() == 0) return MakeArray();
  if (growth_.is_growing) {
    // Growing again waits: to finish first would have no bound.
    Migrate();
  } else if (entries_ * 100 > growth_.buckets * load_limit_) {
    Grow();
  }
  return true;
}

bool HashTable::MakeArray() {
  if (shape_.group_size() == 0 || initial_buckets_ == 0 || initial_buckets_ > kMostBuckets) {
    return false;
  }
  const uint64_t groups = std::bit_ceil((initial_buckets_ - 1) / kBucketsPerGroup + 1);
  if (!array_.ExtendTo(groups)) return false;
  growth_.buckets = initial_buckets_;
  growth_.groups = static_cast<uint32_t>(groups);
  is_of_bytes_ = hash_ == nullptr && compare_ == nullptr && typeid(*this) == typeid(HashTable);
  return true;
}

void HashTable::Grow() {
  const bool is_largest = growth_.buckets > kMostBuckets / 2;
  if (!is_largest && array_.ExtendTo(uint64_t{growth_.groups} * 2)) growth_.is_growing = true;
}

bool HashTable::Migrate() {
  if (iterators_ != nullptr) return false;
  uint32_t moved = 0;
  for (uint32_t visited = 0; visited < kMostVisited && growth_.is_growing; ++visited) {
    if (moved >= kMostMoved) return true;
    HashGroup* head = array_.Group(growth_.cursor);
    if (head == nullptr) {
      growth_.cursor = static_cast<uint32_t>(array_.SegmentBehind(growth_.cursor));
    } else {
      growth_.is_dividing = true;
      if (!DivideChain(head, &moved)) return moved >= kMostMoved;
      growth_.is_dividing = false;
      ++growth_.cursor;
    }
    if (growth_.cursor >= growth_.groups) EndGrowth();
  }
  return true;
}

// Moves what belongs into the new half. False when `moved` has come to its limit or memory has
// ended before all was moved.
bool HashTable::DivideChain(HashGroup* head, uint32_t* moved) {
  for (HashGroup* group = head; group != nullptr; group = pool_.Group(group->more)) {
    for (uint32_t left = group->live; left != 0; left &= left - 1) {
      const auto slot = static_cast<uint32_t>(std::countr_zero(left));
      if ((shape_.Tag(group, slot) & growth_.groups) == 0) continue;
      if (*moved >= kMostMoved) return false;
      const HashPlace target = FindFree(growth_.cursor + growth_.groups);
      if (target.group == nullptr) return false;
      shape_.Move(group, slot, target.group, target.slot);
      ++*moved;
    }
  }
  if (head->more != kNoGroup) CloseGaps(head, moved);
  return true;
}

// Fills the places that have become free with entries from the chain's end, and gives groups back
// that are empty then. Stops where `moved` comes to its limit, since nothing depends on it.
void HashTable::CloseGaps(HashGroup* head, uint32_t* moved) {
  HashGroup* before = head;
  while (before->more != kNoGroup) {
    const GroupNumber number = before->more;
    HashGroup* group = pool_.Group(number);
    for (; group->live != 0 && *moved < kMostMoved; ++*moved) {
      HashGroup* target = head;
      while (target != group && target->live == HashGroup::kAllLive) {
        target = pool_.Group(target->more);
      }
      if (target == group) break;
      shape_.Move(group, static_cast<uint32_t>(std::countr_zero(group->live)), target,
                  static_cast<uint32_t>(std::countr_one(target->live)));
    }
    if (group->live != 0) {
      before = group;
    } else {
      before->more = group->more;
      pool_.Put(number);
    }
  }
}

void HashTable::EndGrowth() {
  growth_ = {.buckets = growth_.buckets * 2, .groups = growth_.groups * 2};
}

}  // namespace qv
