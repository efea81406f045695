// The invariants of a hash table, each as a function.
#include <initializer_list>

#include "containers/hash_table.h"

namespace qv {

struct HashTableCheck {
  const HashTable& table;
  uint64_t chain_nodes = 0;

  bool NodeIsGood(const HashGeneration& generation, const HashNode* node, uint64_t bucket) const {
    return node->flags == HashNode::kLive && generation.BucketOf(node->hash) == bucket;
  }

  // One equal entry in all: the node itself.
  bool IsOnlyOne(const HashNode* node) const {
    const void* entry = table.shape_.Entry(node);
    for (const HashGeneration* generation : {&table.previous_, &table.current_}) {
      const HashNode* found =
          table.FindIn(*generation, node->hash, entry, node->size, kHashInsert).node;
      if (found != nullptr && found != node) return false;
    }
    return true;
  }

  bool ChainIsGood(const HashGeneration& generation, uint64_t bucket, uint64_t* live) {
    const HashNode* head = generation.Head(bucket);
    if (head == nullptr) return true;
    if (!head->IsLive()) return head->flags == 0 && head->next == nullptr;
    for (const HashNode* node = head; node != nullptr; node = node->next) {
      if (!NodeIsGood(generation, node, bucket) || !IsOnlyOne(node)) return false;
      if (node != head) ++chain_nodes;
      if (++*live > generation.entries) return false;  // also ends a chain that runs in a circle
    }
    return true;
  }

  bool GenerationIsGood(const HashGeneration& generation) {
    if (!generation.exists()) return generation.entries == 0;
    uint64_t live = 0;
    for (uint64_t bucket = 0; bucket < generation.buckets; ++bucket) {
      if (!ChainIsGood(generation, bucket, &live)) return false;
      if (bucket < generation.cursor && live > 0) return false;
    }
    return live == generation.entries;
  }

  bool IteratorIsGood(const HashIterator* iterator) const {
    if (iterator->table_ != &table) return false;
    if (iterator->done_) return iterator->node_ == nullptr;
    if (iterator->node_ == nullptr) return true;
    const HashGeneration& generation = iterator->in_previous_ ? table.previous_ : table.current_;
    const HashNode* node = generation.Head(iterator->bucket_);
    while (node != nullptr && node != iterator->node_) node = node->next;
    return node != nullptr && node->IsLive();
  }

  bool IteratorsAreGood() const {
    const HashIterator* before = nullptr;
    for (const HashIterator* each = table.iterators_; each != nullptr; each = each->next_) {
      if (each->previous_ != before || !IteratorIsGood(each)) return false;
      before = each;
    }
    return true;
  }

  bool AllIsGood() {
    if (table.previous_.exists() && !table.current_.exists()) return false;
    return table.current_.cursor == 0 && GenerationIsGood(table.previous_) &&
           GenerationIsGood(table.current_) && table.pool_.in_use() == chain_nodes &&
           IteratorsAreGood();
  }
};

bool HashTable::CheckInvariants() const { return HashTableCheck{*this}.AllIsGood(); }

}  // namespace qv
