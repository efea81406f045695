// The invariants of a hash table, each as a function.
#include <bit>

#include "containers/hash_table.h"

namespace qv {

struct HashTableCheck {
  const HashTable& table;
  uint64_t live = 0, further_groups = 0;

  // Whether an entry with this tag may stand in a chain.
  bool BelongsTo(uint64_t index, uint32_t tag) const {
    const HashTable::Growth& growth = table.growth_;
    const uint64_t home = table.HomeOf(tag);
    if (index == home) return true;
    return growth.is_dividing && home == growth.cursor && (tag & growth.groups) != 0 &&
           index == home + growth.groups;
  }

  // In its chain, with its tag, and the only one of its kind.
  bool EntryIsGood(uint64_t index, const HashPlace& place) const {
    const void* entry = table.shape_.Entry(place.group, place.slot);
    const uint32_t size = table.shape_.Size(place.group, place.slot);
    const uint32_t tag = table.TagOf(table.Hash(entry, size, kHashInsert));
    return table.shape_.Tag(place.group, place.slot) == tag && BelongsTo(index, tag) &&
           table.FindEqual(tag, entry, size, kHashInsert) == place;
  }

  bool ChainIsGood(uint64_t index) {
    HashGroup* head = table.array_.Group(index);
    for (HashGroup* group = head; group != nullptr; group = table.pool_.Group(group->more)) {
      if ((group->live & ~HashGroup::kAllLive) != 0) return false;
      live += static_cast<uint64_t>(std::popcount(group->live));
      // The counts also end a chain that runs in a circle.
      if (group != head && ++further_groups > table.pool_.in_use()) return false;
      for (uint32_t slot = 0; slot < HashGroup::kSlots; ++slot) {
        if (group->IsLive(slot) && !EntryIsGood(index, {group, slot})) return false;
      }
    }
    return live <= table.entries_;
  }

  bool ChainsAreGood() {
    for (uint64_t index = 0; index < table.array_.size(); ++index) {
      if (!ChainIsGood(index)) return false;
    }
    return live == table.entries_ && further_groups == table.pool_.in_use();
  }

  bool GrowthIsGood() const {
    const HashTable::Growth& growth = table.growth_;
    if (table.array_.size() != growth.groups * (growth.is_growing ? uint64_t{2} : 1)) return false;
    return growth.is_growing ? growth.cursor < growth.groups
                             : growth.cursor == 0 && !growth.is_dividing;
  }

  bool IteratorIsGood(const HashIterator* iterator) const {
    if (iterator->table_ != &table) return false;
    const HashPlace& place = iterator->place_;
    if (place.group == nullptr) return true;
    if (iterator->done_ || !place.group->IsLive(place.slot)) return false;
    HashGroup* group = table.array_.Group(iterator->index_);
    while (group != nullptr && group != place.group) group = table.pool_.Group(group->more);
    return group != nullptr;
  }

  bool IteratorsAreGood() const {
    const HashIterator* before = nullptr;
    for (const HashIterator* each = table.iterators_; each != nullptr; each = each->next_) {
      if (each->previous_ != before || !IteratorIsGood(each)) return false;
      before = each;
    }
    return true;
  }
};

bool HashTable::CheckInvariants() const {
  HashTableCheck check{*this};
  return check.GrowthIsGood() && check.ChainsAreGood() && check.IteratorsAreGood();
}

}  // namespace qv
