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
  done_ = false;
  in_previous_ = true;
  bucket_ = 0;
  GoToLive();
}

void HashIterator::End() {
  if (table_ == nullptr) return;
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : table_->iterators_) = next_;
  table_ = nullptr;
  next_ = previous_ = nullptr;
  node_ = nullptr;
  done_ = true;
}

// Goes to the first live node from bucket_ on, if need be in the current generation.
void HashIterator::GoToLive() {
  if (in_previous_) {
    node_ = table_->previous_.FirstLive(&bucket_);
    if (node_ != nullptr) return;
    in_previous_ = false;
    bucket_ = 0;
  }
  node_ = table_->current_.FirstLive(&bucket_);
  done_ = node_ == nullptr;
}

void HashIterator::Advance() {
  node_ = node_->next;
  if (node_ != nullptr) return;
  ++bucket_;
  GoToLive();
}

// The node to be answered now; null at the end.
HashNode* HashIterator::TakeNode() {
  if (done_) return nullptr;
  if (node_ == nullptr) {
    GoToLive();
  } else if (!node_->IsLive()) {
    GlobalHooks().write_debug_text("\n\n!!! NO BOOM !!! GetNextHashSlot() - Stale data\n\n");
    Advance();
  }
  HashNode* node = node_;
  if (node != nullptr) Advance();
  return node;
}

bool HashIterator::Next(void* out, uint32_t size) {
  HashNode* node = TakeNode();
  if (node == nullptr || node->size != size) return false;
  if (out != nullptr && size > 0) std::memcpy(out, table_->shape_.Entry(node), size);
  return true;
}

const void* HashIterator::Next(uint32_t* size) {
  HashNode* node = TakeNode();
  if (size != nullptr) *size = node != nullptr ? node->size : 0;
  return node != nullptr ? table_->shape_.Entry(node) : nullptr;
}

}  // namespace qv
