#include "containers/hash_group.h"

#include <algorithm>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr size_t kEntryAlignment = 8;
constexpr size_t kGroupAlignment = 64;

uint64_t RoundUp(uint64_t size, uint64_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

}  // namespace

GroupShape::GroupShape(uint32_t inline_size) : inline_size_(inline_size) {
  const uint64_t entry = RoundUp(std::max<uint64_t>(inline_size, sizeof(void*)), kEntryAlignment);
  const uint64_t details = sizeof(HashGroup) + HashGroup::kSlots * entry;
  const uint64_t group = RoundUp(details + sizeof(GroupDetails), kGroupAlignment);
  entry_size_ = static_cast<size_t>(entry);
  details_ = static_cast<size_t>(details);
  group_size_ = group > SIZE_MAX / 2 ? 0 : static_cast<size_t>(group);
}

void GroupShape::Store(HashGroup* group, uint32_t slot, const void* entry, uint32_t size,
                       void* copy) const {
  SetSize(group, slot, size);
  if (!IsInline(size)) {
    std::memcpy(Place(group, slot), &copy, sizeof copy);
  } else if (size > 0) {
    std::memmove(Place(group, slot), entry, size);  // a caller may store an entry over itself
  }
}

void GroupShape::ReleaseEntry(const HashGroup* group, uint32_t slot) const {
  if (HasCopy(group, slot)) GlobalHooks().release(Copy(Place(group, slot)));
}

void GroupShape::Move(HashGroup* from, uint32_t slot, HashGroup* to, uint32_t to_slot) const {
  Occupy(to, to_slot, Tag(from, slot));
  SetSize(to, to_slot, Size(from, slot));
  std::memcpy(Place(to, to_slot), Place(from, slot), entry_size_);
  from->SetFree(slot);
}

}  // namespace qv
