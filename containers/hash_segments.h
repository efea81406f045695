// The memory of a hash table's groups: segments of about 8 KB, cut from blocks that grow with the
// table and go with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "containers/hash_group.h"

namespace qv {

// How the groups of one table lie in segments. Copied by who looks them up: it is on every way.
struct SegmentLayout {
  size_t group_size;  // bytes
  uint32_t shift;     // a segment has 1 << shift groups
  uint32_t mask = (uint32_t{1} << shift) - 1;

  size_t segment_size() const { return group_size << shift; }
  uint64_t SegmentOf(uint64_t index) const { return index >> shift; }
  HashGroup* InSegment(HashGroup* segment, uint64_t index) const {
    const size_t number = static_cast<uint32_t>(index) & mask;
    return reinterpret_cast<HashGroup*>(reinterpret_cast<char*>(segment) + number * group_size);
  }
};

class SegmentStore {
 public:
  explicit SegmentStore(size_t group_size);
  ~SegmentStore();
  SegmentStore(const SegmentStore&) = delete;
  SegmentStore& operator=(const SegmentStore&) = delete;

  const SegmentLayout& layout() const { return layout_; }

  // Empty groups, on a boundary of 64 bytes. Null when there is no memory.
  HashGroup* Take();

 private:
  struct Block {
    Block* next;
  };
  bool AddBlock();

  SegmentLayout layout_;
  Block* blocks_ = nullptr;
  char* fresh_ = nullptr;  // segments of the newest block that were never used
  size_t fresh_count_ = 0;
  size_t total_ = 0;  // segments of all blocks
};

// The groups that a table has besides its array, by numbers: half of what an address takes on a
// 64-bit machine.
class GroupPool {
 public:
  // The store must live longer.
  explicit GroupPool(SegmentStore& store) : store_(store), layout_(store.layout()) {}
  ~GroupPool();
  GroupPool(const GroupPool&) = delete;
  GroupPool& operator=(const GroupPool&) = delete;

  // Null for kNoGroup.
  HashGroup* Group(GroupNumber number) const {
    if (number == kNoGroup) return nullptr;
    const GroupNumber index = number - 1;
    return layout_.InSegment(segments_[layout_.SegmentOf(index)], index);
  }

  // An empty group. kNoGroup when there is no memory.
  GroupNumber Take();
  void Put(GroupNumber number);
  // Groups that were taken and are not back.
  uint64_t in_use() const { return in_use_; }

 private:
  bool AddSegment();
  bool MakeRoom();

  SegmentStore& store_;
  SegmentLayout layout_;
  HashGroup** segments_ = nullptr;
  uint32_t segment_count_ = 0;
  uint32_t segment_room_ = 0;
  GroupNumber free_ = kNoGroup;  // the first of those that came back, chained through `more`
  GroupNumber used_ = 0;         // the numbers from 1 to here were used
  uint64_t in_use_ = 0;
};

}  // namespace qv
