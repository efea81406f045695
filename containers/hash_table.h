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
// Growing doubles the array of buckets where it stands. Every later insert and removal then looks
// at a few buckets and moves those of their entries that belong into the new half: no call pays
// for all of them. So a growing table has two generations, the buckets that were not looked at yet
// and those that were; the cursor is where the one ends and the other begins.
//
// Up to seven buckets are kept as one group (hash_group.h), which has room for seven entries; the
// number of groups is a power of two. From a hash comes a tag of 32 bits, mixed so that all its
// bits count; the low bits of the tag give the group, the high byte is the entry's mark in it. The
// tag tells where each entry goes when the table doubles, without a call of the functions. The
// whole hash is not kept; where two entries agree in group and mark, the compare function decides.
//
// Cost: a constant number of steps on average. Insert and Remove move at most 10 entries and visit
//   no more than 128 buckets besides their own; the memory that one call clears is bounded too.
//   Nothing shrinks: memory for entries that are not separate stays for as long as the table.
// Threads: none of its own; the owner excludes other threads.
// Errors: without memory Insert answers false, and the table holds what it held. A table that
//   cannot grow goes on with longer chains.
// Lifetime: an address from an iterator is good until the entry is replaced or removed, or the
//   iterator ends. What is given to a call must not lie in the table, except that an entry may be
//   inserted over itself while an iterator is registered.
//
// Invariants (CheckInvariants):
//   - a key is live once, in the chain that its hash says, with its tag;
//   - the count is the number of live entries;
//   - every further group that is in use belongs to one chain;
//   - behind the cursor the new half is empty; without growth the cursor is 0. The one chain that
//     is being divided may have entries in both halves;
//   - a registered iterator is in the table's list once and stands on a live entry of the chain it
//     names, or on none;
//   - while an iterator is registered no entry moves.
#pragma once

#include <cstddef>
#include <cstdint>

#include "containers/hash_array.h"
#include "containers/hash_group.h"
#include "containers/hash_segments.h"

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

// Where an entry stands; without a group nowhere.
struct HashPlace {
  HashGroup* group = nullptr;
  uint32_t slot = 0;

  bool operator==(const HashPlace&) const = default;
};

class HashTable {
 public:
  static constexpr uint32_t kBucketsPerGroup = 7;  // at most

  // Entries of up to `inline_size` bytes are kept inside their groups, larger ones in copies of
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

  uint64_t Count() const { return entries_; }
  // (inline size + 21) * (buckets of both generations) + 128 bytes; what groups and separate copies
  // really take is not in it.
  uint64_t MemoryEstimate() const;

  // Walks everything; for tests.
  bool CheckInvariants() const;

 protected:
  // The three calls below may be replaced; with the destructor they keep this order.
  virtual uint64_t Hash(const void* data, uint32_t size, uint32_t mode) const;
  virtual bool Equal(const void* data, uint32_t size, const void* stored, uint32_t stored_size,
                     uint32_t mode) const;
  // A step of growing. False, with every entry still in its place, while an iterator is registered;
  // false as well when memory ends on the way.
  virtual bool Migrate();

 private:
  friend class HashIterator;
  friend struct HashTableCheck;
  friend struct HashTableTestAccess;

  // What the places of a growing table depend on.
  struct Growth {
    uint64_t buckets = 0;  // of the older generation, which is the only one when nothing grows
    uint32_t groups = 0;   // likewise, a power of two; the array has twice as many while it grows
    bool is_growing = false;
    bool is_dividing = false;  // the chain at the cursor is partly divided
    uint32_t cursor = 0;       // the next chain to be divided
  };

  // What is used of a hash: its halves together, multiplied by an odd number that spreads them over
  // the product's upper half. So every bit of the hash counts, also where few of them differ.
  static uint32_t TagOf(uint64_t hash) {
    return static_cast<uint32_t>((hash ^ hash >> 32) * 0x9E3779B97F4A7C15u >> 32);
  }
  // The chain where an entry is, or is to be.
  uint32_t HomeOf(uint32_t tag) const {
    const uint32_t index = tag & (growth_.groups - 1);
    return index < growth_.cursor ? tag & (growth_.groups * 2 - 1) : index;
  }

  struct StoredEntry {
    const void* data;
    uint32_t size;
  };
  struct WantedBytes;
  struct WantedEntry;
  template <typename Wanted>
  HashPlace FindInGroup(HashGroup* group, uint32_t tag, const Wanted& wanted) const;
  template <typename Wanted>
  HashPlace Find(uint32_t tag, const Wanted& wanted) const;
  template <typename Wanted>
  HashPlace FindFurther(HashGroup* group, uint32_t tag, Wanted wanted) const;
  uint32_t TagFor(const void* data, uint32_t size, uint32_t mode) const;
  HashPlace FindEqual(uint32_t tag, const void* data, uint32_t size, uint32_t mode) const;
  HashPlace FindByFunctions(uint32_t tag, const void* data, uint32_t size, uint32_t mode) const;
  HashPlace FindKeyByFunctions(const void* key, uint32_t size) const;
  HashPlace FindKey(const void* key, uint32_t size) const;
  HashPlace FindOrAdd(uint32_t tag, const void* entry, uint32_t size);
  HashPlace FindFree(uint64_t index);
  HashPlace FirstInChain(HashGroup* group, uint32_t slot) const;
  HashPlace FirstFrom(uint64_t* index) const;
  bool CheckGrowth();
  bool MakeArray();
  void Grow();
  bool DivideChain(HashGroup* head, uint32_t* moved);
  void CloseGaps(HashGroup* head, uint32_t* moved);
  void EndGrowth();
  void MoveIterators(HashPlace from);
  void ReleaseEntries();

  HashFunction hash_;
  CompareFunction compare_;
  uintptr_t context_;
  GroupShape shape_;
  uint16_t load_limit_;
  uint64_t initial_buckets_;
  Growth growth_;
  uint64_t entries_ = 0;
  HashIterator* iterators_ = nullptr;
  bool has_copies_ = false;  // an entry has been larger than inline ones are
  // There is an array, and neither a function nor a derived class replaces HashBytes and the
  // comparison of bytes.
  bool is_of_bytes_ = false;
  SegmentStore store_;
  HashArray array_;
  GroupPool pool_;  // of the groups behind those of the array
};

// Visits every entry once. While one is registered, between Begin and End, the table may be changed
// in every way; entries that are added meanwhile may be visited or not. The table grows only once
// and moves nothing then, so End soon.
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

  HashPlace Take();
  void Advance();
  void GoToLive();

  HashTable* table_ = nullptr;  // null: not registered
  HashIterator* next_ = nullptr;
  HashIterator* previous_ = nullptr;
  bool done_ = true;
  HashPlace place_;     // of the entry that is next; nowhere: the first from index_ on
  uint64_t index_ = 0;  // of the chain
};

}  // namespace qv
