// The array of groups of a hash table, in segments. It doubles where it stands: what it has stays,
// and as much again is added, empty.
//
// A large array would cost milliseconds to clear, all in the one insert that needs it. So a segment
// is taken when the first entry goes into it. One that is not there holds only empty groups.
#pragma once

#include <cstddef>
#include <cstdint>

#include "containers/hash_segments.h"

namespace qv {

class HashArray {
 public:
  // The store must live longer.
  explicit HashArray(SegmentStore& store) : store_(store), layout_(store.layout()) {}
  ~HashArray();
  HashArray(const HashArray&) = delete;
  HashArray& operator=(const HashArray&) = delete;

  uint64_t size() const { return size_; }
  // Empty groups. False when there is no memory; the array then is as before.
  bool ExtendTo(uint64_t groups);

  // Null when the group's segment is not there.
  HashGroup* Group(uint64_t index) const {
    HashGroup* segment = segments_[layout_.SegmentOf(index)];
    return segment == nullptr ? nullptr : layout_.InSegment(segment, index);
  }
  // Takes the segment when it is not there; null when there is no memory.
  HashGroup* MakeGroup(uint64_t index) {
    HashGroup*& segment = segments_[layout_.SegmentOf(index)];
    if (segment == nullptr) segment = store_.Take();
    return segment == nullptr ? nullptr : layout_.InSegment(segment, index);
  }
  // Where the next segment begins.
  uint64_t SegmentBehind(uint64_t index) const {
    return (layout_.SegmentOf(index) + 1) << layout_.shift;
  }

 private:
  SegmentStore& store_;
  SegmentLayout layout_;
  HashGroup** segments_ = nullptr;
  uint64_t size_ = 0;
};

}  // namespace qv
