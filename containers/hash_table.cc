#include "containers/hash_table.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr uint64_t kDefaultBuckets = 101;
constexpr uint16_t kDefaultLoadLimit = 100;  // percent
// What one migration step may do: enough to be done long before the current generation is full,
// few enough to go unnoticed. Low load limits make for many empty buckets.
constexpr uint32_t kMostMoved = 10;
constexpr uint32_t kMostVisited = 128;

constexpr uint64_t kEstimatePerNode = 21;
constexpr uint64_t kEstimatePerTable = 128;

bool SameBytes(const void* a, const void* b, uint32_t size) {
  if (size != 8) return size == 0 || std::memcmp(a, b, size) == 0;
  uint64_t first, second;  // the usual size, without a call
  std::memcpy(&first, a, sizeof first);
  std::memcpy(&second, b, sizeof second);
  return first == second;
}

bool IsGiven(const void* data, uint32_t size) { return data != nullptr || size == 0; }

}  // namespace

uint64_t HashBytes(const void* data, uint32_t size) {
  const auto* bytes = static_cast<const signed char*>(data);
  uint64_t hash = 0;
  for (uint32_t i = 0; i < size; ++i) {
    // The byte is added and the sum taken 1025 times. What of that does not wait for the hash so
    // far stands apart: each byte is a step of a chain, whose length is what this costs.
    const uint64_t byte = static_cast<uint64_t>(int64_t{bytes[i]}) * 1025;
    hash = (hash + byte) + (hash << 10);
    hash ^= hash >> 6;
  }
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
      initial_buckets_less_1_(initial_buckets_less_1) {}

HashTable::HashTable(uint32_t inline_size, HashFunction hash, CompareFunction compare,
                     uintptr_t context)
    : HashTable(inline_size, kDefaultBuckets - 1, kDefaultLoadLimit, hash, compare, context) {}

HashTable::~HashTable() {
  while (iterators_ != nullptr) iterators_->End();
  for (HashGeneration* generation : {&previous_, &current_}) {
    ReleaseEntries(*generation);
    generation->Destroy();
  }
}

void HashTable::ReleaseEntries(const HashGeneration& generation) {
  uint64_t bucket = 0;
  while (HashNode* node = generation.FirstLive(&bucket)) {
    for (; node != nullptr; node = node->next) shape_.ReleaseEntry(node);
    ++bucket;
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

HashTable::Place HashTable::FindIn(const HashGeneration& generation, uint64_t hash,
                                   const void* data, uint32_t size, uint32_t mode) const {
  if (generation.entries == 0) return {};
  HashNode* node = generation.Head(generation.BucketOf(hash));
  if (node == nullptr || !node->IsLive()) return {};
  for (HashNode* before = nullptr; node != nullptr; before = node, node = node->next) {
    if (node->hash == hash && Equal(data, size, shape_.Entry(node), node->size, mode)) {
      return {node, before};
    }
  }
  return {};
}

const HashNode* HashTable::FindKey(const void* key, uint32_t size) const {
  if (!IsGiven(key, size)) return nullptr;
  const uint64_t hash = Hash(key, size, kHashLookup);
  const HashNode* node = FindIn(previous_, hash, key, size, kHashLookup).node;
  return node != nullptr ? node : FindIn(current_, hash, key, size, kHashLookup).node;
}

bool HashTable::Lookup(const void* key, uint32_t size, void* out, uint32_t out_size) const {
  const HashNode* node = FindKey(key, size);
  if (node == nullptr || node->size != out_size) return false;
  if (out != nullptr && out_size > 0) std::memcpy(out, shape_.Entry(node), out_size);
  return true;
}

bool HashTable::Lookup(const void* key, uint32_t size, void* out, uint32_t* out_size) const {
  const HashNode* node = FindKey(key, size);
  const uint32_t room = out_size != nullptr ? *out_size : 0;
  const uint32_t needed = node != nullptr ? node->size : 0;
  if (out_size != nullptr) *out_size = needed;
  if (node == nullptr) return false;
  if (out == nullptr) return true;
  if (room < needed) return false;
  if (needed > 0) std::memcpy(out, shape_.Entry(node), needed);
  return true;
}

// --- adding ---

bool HashTable::Insert(const void* entry, uint32_t size) {
  if (!IsGiven(entry, size)) return false;
  const uint64_t hash = Hash(entry, size, kHashInsert);
  // In a large table each head is a wait for memory; these begin before there is other work.
  previous_.Prefetch(hash);
  current_.Prefetch(hash);
  if (!CheckGrowth()) return false;
  void* copy = nullptr;
  if (!shape_.IsInline(size)) {
    copy = GlobalHooks().allocate(size);
    if (copy == nullptr) return false;
    std::memcpy(copy, entry, size);
  }
  HashNode* node = FindOrAdd(hash, entry, size);
  if (node == nullptr) {
    GlobalHooks().release(copy);
    return false;
  }
  shape_.ReleaseEntry(node);
  shape_.Store(node, entry, size, copy);
  return true;
}

HashNode* HashTable::FindOrAdd(uint64_t hash, const void* entry, uint32_t size) {
  HashNode* node = FindIn(previous_, hash, entry, size, kHashInsert).node;
  if (node == nullptr) node = FindIn(current_, hash, entry, size, kHashInsert).node;
  return node != nullptr ? node : Add(&current_, hash);
}

// A live node for a new entry, empty as yet. Null without memory.
HashNode* HashTable::Add(HashGeneration* generation, uint64_t hash) {
  HashNode* head = generation->MakeHead(generation->BucketOf(hash));
  if (head == nullptr) return nullptr;
  HashNode* node = head;
  if (head->IsLive()) {
    node = pool_.Take(shape_.node_size());
    if (node == nullptr) return nullptr;
    node->next = head->next;
    head->next = node;
  }
  node->hash = hash;
  node->size = 0;
  node->flags = HashNode::kLive;
  ++generation->entries;
  return node;
}

// --- growing ---

// False when there are no buckets and no memory for them.
bool HashTable::CheckGrowth() {
  if (previous_.exists()) Migrate(&previous_, &current_);
  if (!current_.exists()) {
    return current_.Create(shape_.node_size(), initial_buckets_less_1_ + 1);
  }
  const bool full = current_.entries * 100 > current_.buckets * load_limit_;
  // With the previous generation in the way growth waits: to finish it now would have no bound.
  if (full && !previous_.exists()) Grow();
  return true;
}

void HashTable::Grow() {
  HashGeneration larger;
  if (!larger.Create(shape_.node_size(), current_.buckets * 2)) return;
  previous_ = current_;
  current_ = larger;
  for (HashIterator* each = iterators_; each != nullptr; each = each->next_) {
    each->in_previous_ = true;
  }
}

bool HashTable::Migrate(HashGeneration* source, HashGeneration* destination) {
  if (iterators_ != nullptr) return false;
  uint32_t moved = 0;
  for (uint32_t visited = 0; visited < kMostVisited && source->entries > 0; ++visited) {
    HashNode* head = source->Head(source->cursor);
    for (; head != nullptr && head->IsLive(); ++moved) {
      if (moved == kMostMoved) {
        PrefetchTargets(*source, *destination);
        return true;
      }
      if (!MoveOne(source, head, destination)) return false;
    }
    source->PassBucket();
  }
  if (source->entries == 0) {
    source->ReleaseSome();
  } else {
    PrefetchTargets(*source, *destination);
  }
  return true;
}

// Where the next step is going to put what it moves.
void HashTable::PrefetchTargets(const HashGeneration& source, const HashGeneration& destination) {
  const uint64_t end = std::min(source.cursor + kMostMoved, source.buckets);
  for (uint64_t bucket = source.cursor; bucket < end; ++bucket) {
    const HashNode* head = source.Head(bucket);
    if (head == nullptr || !head->IsLive()) continue;
    destination.Prefetch(head->hash);
    __builtin_prefetch(head->next);
  }
}

// Moves one entry of a chain. From the back of the head, since those nodes move as they are when
// their new bucket has a head. False without memory, and nothing is changed.
bool HashTable::MoveOne(HashGeneration* source, HashNode* head, HashGeneration* destination) {
  HashNode* node = head->next != nullptr ? head->next : head;
  HashNode* target = destination->MakeHead(destination->BucketOf(node->hash));
  if (target == nullptr) return false;
  if (target->IsLive() && node != head) {
    head->next = node->next;
    node->next = target->next;
    target->next = node;
    --source->entries;
    ++destination->entries;
    return true;
  }
  HashNode* added = Add(destination, node->hash);
  if (added == nullptr) return false;
  shape_.HandOver(node, added);
  Unlink(source, {node, node != head ? head : nullptr});
  return true;
}

// --- removing ---

bool HashTable::Remove(const void* key, uint32_t size) {
  if (!IsGiven(key, size)) return false;
  if (previous_.exists()) Migrate(&previous_, &current_);
  const uint64_t hash = Hash(key, size, kHashLookup);
  for (HashGeneration* generation : {&previous_, &current_}) {
    const Place place = FindIn(*generation, hash, key, size, kHashRemove);
    if (place.node == nullptr) continue;
    Unlink(generation, place);
    return true;
  }
  return false;
}

// Takes an entry out. A head stays where it is, so the entry behind it moves into it.
void HashTable::Unlink(HashGeneration* generation, Place place) {
  HashNode* node = place.node;
  HashNode* successor = node->next;
  shape_.ReleaseEntry(node);
  --generation->entries;
  if (place.before != nullptr) {
    MoveIterators(node, successor);
    place.before->next = successor;
    pool_.Put(node);
  } else if (successor != nullptr) {
    // Iterators on the head stay: it now holds what comes next.
    MoveIterators(successor, node);
    std::memcpy(node, successor, shape_.node_size());
    pool_.Put(successor);
  } else {
    MoveIterators(node, nullptr);
    *node = {};
  }
}

// Without a node to stand on an iterator goes on with the next bucket.
void HashTable::MoveIterators(const HashNode* from, HashNode* to) {
  for (HashIterator* each = iterators_; each != nullptr; each = each->next_) {
    if (each->node_ != from) continue;
    each->node_ = to;
    if (to == nullptr) ++each->bucket_;
  }
}

uint64_t HashTable::MemoryEstimate() const {
  const uint64_t buckets = previous_.buckets + current_.buckets;
  return (shape_.inline_size() + kEstimatePerNode) * buckets + kEstimatePerTable;
}

}  // namespace qv
