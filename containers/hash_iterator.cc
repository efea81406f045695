#include <cstring>

#include "base/hooks.h"
#include "containers/hash_table.h"

namespace qv {

void HashIterator::Begin(HashTable& table) {
  End();
  table_ = &table;
  next_ = table.iterators_;
  if (next_ != nullptr) next_->previous_ = this;
  table.iterators_ = this;
  index_ = 0;
  GoToLive();
}

void HashIterator::End() {
  if (table_ == nullptr) return;
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : table_->iterators_) = next_;
  table_ = nullptr;
  next_ = previous_ = nullptr;
  place_ = {};
  done_ = true;
}

// Goes to the first entry from the group index_ on.
void HashIterator::GoToLive() {
  place_ = table_->FirstFrom(&index_);
  done_ = place_.group == nullptr;
}

void HashIterator::Advance() {
  place_ = table_->FirstInChain(place_.group, place_.slot + 1);
  if (place_.group != nullptr) return;
  ++index_;
  GoToLive();
}

// The place of the entry to be answered now; none at the end.
HashPlace HashIterator::Take() {
  if (done_) return {};
  if (place_.group == nullptr) {
    GoToLive();
  } else if (!place_.group->IsLive(place_.slot)) {
    GlobalHooks().write_debug_text("\n\n!!! NO BOOM !!! GetNextHashSlot() - Stale data\n\n");
    Advance();
  }
  const HashPlace place = place_;
  if (place.group != nullptr) Advance();
  return place;
}

bool HashIterator::Next(void* out, uint32_t size) {
  const HashPlace place = Take();
  if (place.group == nullptr || table_->shape_.Size(place.group, place.slot) != size) return false;
  if (out != nullptr && size > 0) {
    std::memcpy(out, table_->shape_.Entry(place.group, place.slot), size);
  }
  return true;
}

const void* HashIterator::Next(uint32_t* size) {
  const HashPlace place = Take();
  if (size != nullptr)
    *size = place.group != nullptr ? table_->shape_.Size(place.group, place.slot) : 0;
  return place.group != nullptr ? table_->shape_.Entry(place.group, place.slot) : nullptr;
}

}  // namespace qv
