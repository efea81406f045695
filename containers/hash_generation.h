// One bucket array of a hash table: an array of head nodes in segments of about 16 KB.
//
// A large array would cost milliseconds to clear or to free, all in the one insert that needs it.
// So a segment is made when the first entry goes into it, and an array that is being emptied gives
// its segments back one by one. A segment that is not there holds only empty buckets.
//
// Invariants: a head that is not live has no chain; no entry stands in a bucket before the cursor.
#pragma once

#include <cstddef>
#include <cstdint>

#include "containers/hash_node.h"

namespace qv {

// The remainder of 64-bit numbers by a divisor that stays the same: a multiplication in place of a
// division, which is slow, and on 32-bit machines a call of the compiler's library.
class Reciprocal {
 public:
  Reciprocal() = default;
  explicit Reciprocal(uint64_t divisor) : divisor_(divisor), inverse_(UINT64_MAX / divisor) {}
  // The quotient comes out right or 1 too small, since the inverse is less than 1 too small.
  uint64_t Remainder(uint64_t number) const {
    const uint64_t rest = number - HighProduct(number, inverse_) * divisor_;
    return rest >= divisor_ ? rest - divisor_ : rest;
  }

 private:
  static uint64_t HighProduct(uint64_t a, uint64_t b) {
    const uint64_t a_low = a & UINT32_MAX, a_high = a >> 32;
    const uint64_t b_low = b & UINT32_MAX, b_high = b >> 32;
    const uint64_t cross = a_high * b_low + (a_low * b_low >> 32);
    const uint64_t middle = a_low * b_high + (cross & UINT32_MAX);
    return a_high * b_high + (cross >> 32) + (middle >> 32);
  }

  uint64_t divisor_ = 1;
  uint64_t inverse_ = UINT64_MAX;
};

// Copied as a plain record when it changes its place; its owner frees it.
struct HashGeneration {
  uint64_t entries = 0;
  uint64_t buckets = 0;  // 0: there is none
  uint64_t cursor = 0;   // the bucket that migration empties next

  bool exists() const { return buckets != 0; }
  // Without segments. False when there is no memory, or for a count or a size that no table has.
  bool Create(size_t node_size_of_table, uint64_t bucket_count);
  // Frees all memory but that of chain nodes and separate copies.
  void Destroy();

  uint64_t BucketOf(uint64_t hash) const { return reciprocal.Remainder(hash); }
  // Null when the bucket's segment is not there.
  HashNode* Head(uint64_t bucket) const {
    char* segment = segments[bucket >> shift];
    return segment == nullptr ? nullptr : NodeIn(segment, bucket);
  }
  // Makes the segment when it is not there; null when there is no memory.
  HashNode* MakeHead(uint64_t bucket) {
    char* segment = segments[bucket >> shift];
    if (segment == nullptr) segment = MakeSegment(bucket >> shift);
    return segment == nullptr ? nullptr : NodeIn(segment, bucket);
  }
  // Begins to bring the head of a hash into the caches.
  void Prefetch(uint64_t hash) const {
    if (exists()) __builtin_prefetch(Head(BucketOf(hash)));
  }
  // The first live head at or behind *bucket, which is set to its bucket; null when there is none.
  HashNode* FirstLive(uint64_t* bucket) const;

  // Moves the cursor over the bucket it stands on, or over a whole segment that is not there.
  // Frees the segment that it leaves.
  void PassBucket();
  // Frees a few segments of an array without entries, the array itself with the last one.
  void ReleaseSome();

  // --- inner ---
  char* MakeSegment(uint64_t index);
  void ReleaseSegment(uint64_t index);
  uint64_t SegmentCount() const { return ((buckets - 1) >> shift) + 1; }
  HashNode* NodeIn(char* segment, uint64_t bucket) const {
    const auto index = static_cast<size_t>(bucket & ((uint64_t{1} << shift) - 1));
    return reinterpret_cast<HashNode*>(segment + index * node_size);
  }

  char** segments = nullptr;
  size_t node_size = 0;
  uint32_t shift = 0;  // a segment has 1 << shift nodes
  Reciprocal reciprocal;
};

}  // namespace qv
