#include "containers/hash_array.h"

#include <cstring>

#include "base/hooks.h"

namespace qv {

HashArray::~HashArray() { GlobalHooks().release(segments_); }

bool HashArray::ExtendTo(uint64_t groups) {
  const auto segments_for = [this](uint64_t size) {
    return size == 0 ? 0 : layout_.SegmentOf(size - 1) + 1;
  };
  const uint64_t count = segments_for(groups);
  if (count > SIZE_MAX / sizeof(HashGroup*)) return false;
  const size_t bytes = static_cast<size_t>(count) * sizeof(HashGroup*);
  const size_t kept = static_cast<size_t>(segments_for(size_)) * sizeof(HashGroup*);
  auto* larger = static_cast<char*>(GlobalHooks().allocate(bytes));
  if (larger == nullptr) return false;
  if (kept > 0) std::memcpy(larger, segments_, kept);
  std::memset(larger + kept, 0, bytes - kept);
  GlobalHooks().release(segments_);
  segments_ = reinterpret_cast<HashGroup**>(larger);
  size_ = groups;
  return true;
}

}  // namespace qv
