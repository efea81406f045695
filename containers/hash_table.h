// A hash table of entries of any size that grows a few entries at a time.
//
//   qv::HashTable table(sizeof(Block), HashBlock, CompareBlocks);  // null functions: whole bytes
//   table.Insert(&block, sizeof block);
//   if (table.Lookup(&key, sizeof key, &block, sizeof block)) Use(block);
//   table.Remove(&key, sizeof key);
//
//   qv::HashIterator each;
//   for (each.Begin(table); each.Next(&block, sizeof block);) table.Remove(&block, sizeof block);
//
// Growing doubles the bucket array. The full one becomes the previous generation, and every later
// insert and removal moves a few of its entries to the current one: no call pays for all of them.
//
// Cost: a constant number of steps on average. Insert and Remove move at most 10 entries and visit
//   no more than 128 buckets besides their own; the memory that one call clears or frees is bounded
//   too. Nothing shrinks: bucket arrays and pooled chain nodes stay for as long as the table.
// Threads: none of its own; the owner excludes other threads.
// Errors: without memory Insert answers false, and the table holds what it held. A table that
//   cannot grow goes on with longer chains.
// Lifetime: an address from an iterator is good until the entry is replaced or removed, or the
//   iterator ends. What is given to a call must not lie in the table, except that an entry may be
//   inserted over itself while an iterator is registered.
//
// Invariants (CheckInvariants):
//   - a key is live in one generation only, in the bucket that its hash says;
//   - each generation's count is the number of its live nodes;
//   - a bucket whose head is not live has no chain; no node of a chain is marked moved;
//   - the previous generation has no entry before its cursor, the current one's cursor is 0;
//   - the current generation exists whenever the previous one does;
//   - a registered iterator is in the table's list once and stands on a live node of the bucket and
//     generation it names, or on none;
//   - while an iterator is registered no entry changes its generation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "containers/hash_generation.h"
#include "containers/hash_node.h"

namespace qv {

class HashIterator;

// What a hash or compare function is asked for. Insert hashes and compares with kHashInsert, Lookup
// with kHashLookup; Remove hashes with kHashLookup and compares with kHashRemove, so what it is
// given must serve as a key and as an entry wherever a table tells them apart.
enum HashMode : uint32_t {
  kHashInsert = 0,  // the argument is an entry as stored
  kHashRemove = 1,  // likewise
  kHashLookup = 2,  // the argument is a key
};

// Equal entries, and the keys that find them, must hash equally.
using HashFunction = uint64_t (*)(const void* data, uint32_t size, uintptr_t context,
                                  uint32_t mode);
using CompareFunction = bool (*)(const void* data, uint32_t size, const void* stored,
                                 uint32_t stored_size, uintptr_t context, uint32_t mode);

// The hash of a table without a hash function: one-at-a-time in 64 bits, from 0, each byte added as
// a signed number.
uint64_t HashBytes(const void* data, uint32_t size);

class HashTable {
 public:
  // Entries of up to `inline_size` bytes are kept inside their nodes, larger ones in copies of
  // their own. The bucket count is given less 1, so that every value has a meaning; memory for it
  // is first taken by an insert, which fails when the count is beyond reason. `load_limit` is in
  // percent of the bucket count. `context` is passed to both functions.
  HashTable(uint32_t inline_size, uint64_t initial_buckets_less_1, uint16_t load_limit,
            HashFunction hash, CompareFunction compare, uintptr_t context);
  // With 101 buckets and a load limit of 100 percent. Without functions the key is the whole entry.
  explicit HashTable(uint32_t inline_size, HashFunction hash = nullptr,
                     CompareFunction compare = nullptr, uintptr_t context = 0);
  // Ends all iterators.
  virtual ~HashTable();
  HashTable(const HashTable&) = delete;
  HashTable& operator=(const HashTable&) = delete;

  // Stores a copy of the entry, in place of an equal one if there is one. False without memory, and
  // for a null entry that is not empty.
  bool Insert(const void* entry, uint32_t size);

  // True when there is such an entry of exactly `out_size` bytes, which is then copied; otherwise
  // `out` stays as it was. A null `out` gets nothing, the answer is the same.
  bool Lookup(const void* key, uint32_t size, void* out, uint32_t out_size) const;
  // *out_size is the room in `out`, and becomes the entry's size, 0 when there is none. False, with
  // nothing copied, when the room is too small. Without `out` (*out_size is then only written, and
  // may be null) the answer is whether there is such an entry.
  bool Lookup(const void* key, uint32_t size, void* out, uint32_t* out_size) const;

  // False when there was no such entry. Iterators that stood on it go on to the next one.
  bool Remove(const void* key, uint32_t size);

  uint64_t Count() const { return previous_.entries + current_.entries; }
  // (inline size + 21) * (buckets of both generations) + 128 bytes. Chain nodes and separate copies
  // are not in it.
  uint64_t MemoryEstimate() const;

  // Walks everything; for tests.
  bool CheckInvariants() const;

 protected:
  // The three calls below may be replaced; with the destructor they keep this order.
  virtual uint64_t Hash(const void* data, uint32_t size, uint32_t mode) const;
  virtual bool Equal(const void* data, uint32_t size, const void* stored, uint32_t stored_size,
                     uint32_t mode) const;
  // Moves up to 10 entries, and frees buckets of a source that has none left. False, with every
  // entry still in its place, while an iterator is registered; false as well when memory ends on
  // the way.
  virtual bool Migrate(HashGeneration* source, HashGeneration* destination);

 private:
  friend class HashIterator;
  friend struct HashTableCheck;
  friend struct HashTableTestAccess;

  // Where an entry stands; `node` is null when it stands nowhere.
  struct Place {
    HashNode* node = nullptr;
    HashNode* before = nullptr;  // in the chain; null for a head
  };

  Place FindIn(const HashGeneration& generation, uint64_t hash, const void* data, uint32_t size,
               uint32_t mode) const;
  const HashNode* FindKey(const void* key, uint32_t size) const;
  HashNode* FindOrAdd(uint64_t hash, const void* entry, uint32_t size);
  HashNode* Add(HashGeneration* generation, uint64_t hash);
  static void PrefetchTargets(const HashGeneration& source, const HashGeneration& destination);
  bool CheckGrowth();
  void Grow();
  bool MoveOne(HashGeneration* source, HashNode* head, HashGeneration* destination);
  void Unlink(HashGeneration* generation, Place place);
  void MoveIterators(const HashNode* from, HashNode* to);
  void ReleaseEntries(const HashGeneration& generation);

  HashFunction hash_;
  CompareFunction compare_;
  uintptr_t context_;
  NodeShape shape_;
  uint16_t load_limit_;
  uint64_t initial_buckets_less_1_;
  HashGeneration current_;
  HashGeneration previous_;  // exists only while its entries are being moved
  HashIterator* iterators_ = nullptr;
  NodePool pool_;
};

// Visits every entry once, the previous generation's first. While one is registered, between Begin
// and End, the table may be changed in every way; entries that are added meanwhile may be visited
// or not. The table grows only once and moves nothing then, so End soon.
class HashIterator {
 public:
  HashIterator() = default;
  ~HashIterator() { End(); }
  HashIterator(const HashIterator&) = delete;
  HashIterator& operator=(const HashIterator&) = delete;

  // Registers, and goes to the first entry. An iterator that is registered ends first.
  void Begin(HashTable& table);
  // Goes on to the next entry. False at the end, and for an entry of another size, which counts as
  // visited and is not copied.
  bool Next(void* out, uint32_t size);
  // The entry's address and size (which may be null); null and 0 at the end.
  const void* Next(uint32_t* size);
  // Nothing happens to an iterator that is not registered.
  void End();

  // True at the end, and for one that is not registered. After a removal that took the last
  // entries it becomes true with the next call of Next.
  bool done() const { return done_; }

 private:
  friend class HashTable;
  friend struct HashTableCheck;
  friend struct HashTableTestAccess;

  HashNode* TakeNode();
  void Advance();
  void GoToLive();

  HashTable* table_ = nullptr;  // null: not registered
  HashIterator* next_ = nullptr;
  HashIterator* previous_ = nullptr;
  bool done_ = true;
  bool in_previous_ = false;  // walks the previous generation
  HashNode* node_ = nullptr;  // the entry that is next; null: the first one from bucket_ on
  uint64_t bucket_ = 0;
};

}  // namespace qv
