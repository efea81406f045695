#include "containers/hash_segments.h"

#include <algorithm>
#include <cstring>

#include "base/hooks.h"
#include "platform/large_pages.h"

namespace qv {
namespace {

constexpr size_t kSegmentBytes = 8192;         // at most, unless a single group is larger
constexpr size_t kMostBlockBytes = 32u << 20;  // likewise
constexpr size_t kLargePage = 2u << 20;
constexpr size_t kAlignment = 64;
constexpr size_t kBlockGrowth = 2;  // a block is half of those before it
constexpr uint32_t kFirstRoom = 8;  // segments of a pool

// The largest power of two of groups that a segment holds.
uint32_t ShiftFor(size_t group_size) {
  uint32_t shift = 0;
  while (group_size != 0 && (group_size << (shift + 1)) <= kSegmentBytes) ++shift;
  return shift;
}

}  // namespace

SegmentStore::SegmentStore(size_t group_size) : layout_{group_size, ShiftFor(group_size)} {}

SegmentStore::~SegmentStore() {
  while (blocks_ != nullptr) {
    Block* block = blocks_;
    blocks_ = block->next;
    GlobalHooks().release(block);
  }
}

bool SegmentStore::AddBlock() {
  if (layout_.group_size == 0) return false;
  const size_t segment_size = layout_.segment_size();
  const size_t most = std::max<size_t>(kMostBlockBytes / segment_size, 1);
  const size_t count = std::clamp<size_t>(total_ / kBlockGrowth, 1, most);
  if (count > (SIZE_MAX - 2 * kAlignment) / segment_size) return false;
  const size_t bytes = count * segment_size + 2 * kAlignment;
  void* memory = GlobalHooks().allocate(bytes);
  if (memory == nullptr) return false;
  if (bytes >= kLargePage) platform::PreferLargePages(memory, bytes);
  auto* block = static_cast<Block*>(memory);
  block->next = blocks_;
  blocks_ = block;
  const auto behind = reinterpret_cast<uintptr_t>(block + 1);
  fresh_ = reinterpret_cast<char*>(block + 1) + (kAlignment - behind % kAlignment) % kAlignment;
  fresh_count_ = count;
  total_ += count;
  return true;
}

HashGroup* SegmentStore::Take() {
  if (fresh_count_ == 0 && !AddBlock()) return nullptr;
  char* segment = fresh_;
  for (uint32_t i = 0; i < 1u << layout_.shift; ++i) {
    std::memset(segment + i * layout_.group_size, 0, sizeof(HashGroup));
  }
  fresh_ += layout_.segment_size();
  --fresh_count_;
  return reinterpret_cast<HashGroup*>(segment);
}

// --- the pool ---

GroupPool::~GroupPool() { GlobalHooks().release(segments_); }

bool GroupPool::MakeRoom() {
  if (segment_count_ < segment_room_) return true;
  const uint32_t room = std::max(segment_room_ * 2, kFirstRoom);
  auto* larger = static_cast<HashGroup**>(GlobalHooks().allocate(room * sizeof(HashGroup*)));
  if (larger == nullptr) return false;
  std::copy_n(segments_, segment_count_, larger);
  GlobalHooks().release(segments_);
  segments_ = larger;
  segment_room_ = room;
  return true;
}

bool GroupPool::AddSegment() {
  if (used_ > UINT32_MAX - (GroupNumber{1} << layout_.shift) || !MakeRoom()) return false;
  HashGroup* segment = store_.Take();
  if (segment == nullptr) return false;
  segments_[segment_count_++] = segment;
  return true;
}

GroupNumber GroupPool::Take() {
  GroupNumber number = free_;
  if (number != kNoGroup) {
    HashGroup* group = Group(number);
    free_ = group->more;
    group->more = kNoGroup;
  } else {
    if (layout_.SegmentOf(used_) == segment_count_ && !AddSegment()) return kNoGroup;
    number = ++used_;
  }
  ++in_use_;
  return number;
}

void GroupPool::Put(GroupNumber number) {
  HashGroup* group = Group(number);
  group->live = 0;
  group->more = free_;
  free_ = number;
  --in_use_;
}

}  // namespace qv
