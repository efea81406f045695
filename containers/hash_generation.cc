#include "containers/hash_generation.h"

#include <cstring>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr size_t kSegmentBytes = 16384;  // at most, unless a single node is larger
constexpr uint32_t kSegmentsPerStep = 8;
// Far beyond what memory holds, and small enough for the load check's product.
constexpr uint64_t kMostBuckets = uint64_t{1} << 40;

// The largest power of two of nodes that a segment holds.
uint32_t ShiftFor(size_t node_size) {
  uint32_t shift = 0;
  while ((node_size << (shift + 1)) <= kSegmentBytes) ++shift;
  return shift;
}

}  // namespace

bool HashGeneration::Create(size_t node_size_of_table, uint64_t bucket_count) {
  if (node_size_of_table == 0 || bucket_count == 0 || bucket_count > kMostBuckets) return false;
  HashGeneration made;
  made.buckets = bucket_count;
  made.node_size = node_size_of_table;
  made.shift = ShiftFor(node_size_of_table);
  made.reciprocal = Reciprocal(bucket_count);
  const uint64_t count = made.SegmentCount();
  if (count > SIZE_MAX / sizeof(char*)) return false;
  const size_t bytes = static_cast<size_t>(count) * sizeof(char*);
  made.segments = static_cast<char**>(GlobalHooks().allocate(bytes));
  if (made.segments == nullptr) return false;
  std::memset(made.segments, 0, bytes);
  *this = made;
  return true;
}

void HashGeneration::Destroy() {
  if (!exists()) return;
  for (uint64_t index = 0; index < SegmentCount(); ++index) ReleaseSegment(index);
  GlobalHooks().release(segments);
  *this = {};
}

char* HashGeneration::MakeSegment(uint64_t index) {
  const size_t bytes = node_size << shift;
  auto* segment = static_cast<char*>(GlobalHooks().allocate(bytes));
  if (segment == nullptr) return nullptr;
  for (size_t at = 0; at < bytes; at += node_size) std::memset(segment + at, 0, sizeof(HashNode));
  segments[index] = segment;
  return segment;
}

void HashGeneration::ReleaseSegment(uint64_t index) {
  GlobalHooks().release(segments[index]);
  segments[index] = nullptr;
}

HashNode* HashGeneration::FirstLive(uint64_t* bucket) const {
  while (*bucket < buckets) {
    HashNode* head = Head(*bucket);
    if (head == nullptr) {
      *bucket = ((*bucket >> shift) + 1) << shift;
    } else if (head->IsLive()) {
      return head;
    } else {
      ++*bucket;
    }
  }
  return nullptr;
}

void HashGeneration::PassBucket() {
  const uint64_t index = cursor >> shift;
  if (segments[index] == nullptr) {
    cursor = (index + 1) << shift;
    return;
  }
  ++cursor;
  if ((cursor >> shift) != index) ReleaseSegment(index);
}

// Uses the cursor to remember how far it came.
void HashGeneration::ReleaseSome() {
  uint64_t index = cursor >> shift;
  for (uint32_t freed = 0; freed < kSegmentsPerStep && index < SegmentCount(); ++freed, ++index) {
    ReleaseSegment(index);
  }
  cursor = index << shift;
  if (index >= SegmentCount()) Destroy();
}

}  // namespace qv
