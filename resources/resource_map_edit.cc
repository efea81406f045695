// Changes of the map. Each is made in new lists, so that one that finds no memory changes nothing.
#include <algorithm>
#include <cstring>

#include "resources/locked_handle.h"
#include "resources/resource_map.h"

namespace qv {
namespace {

constexpr uint32_t kMostListOffset = 0xFFFF;  // of the name list, and of references

bool IsName(const uint8_t* name) { return name != nullptr && name[0] != 0; }

uint16_t ReferenceOffset(uint32_t types, uint32_t index) {
  return static_cast<uint16_t>(type_layout::kCountSize + SizeOfLists(types, index));
}

void Replace(ZRHandle* handle, ZRHandle by) {
  ZRDisposeHandle(handle);
  *handle = by;
}

// New lists that are being filled; they are disposed of unless they are taken.
class NewLists {
 public:
  NewLists(uint32_t types, uint32_t references)
      : handle_(ZRNewHandle(SizeOfLists(types, references))),
        types_(static_cast<TypeEntry*>(ZRLockHandle(handle_))) {
    if (is_there()) references_ = reinterpret_cast<Reference*>(types_ + types);
  }
  ~NewLists() { ZRDisposeHandle(&handle_); }
  NewLists(const NewLists&) = delete;
  NewLists& operator=(const NewLists&) = delete;

  bool is_there() const { return types_ != nullptr; }
  void Add(const TypeEntry& type) { *types_++ = type; }
  void Add(const Reference& reference) { *references_++ = reference; }
  ZRHandle Take() {
    ZRUnlockHandle(handle_);
    const ZRHandle taken = handle_;
    handle_ = 0;
    return taken;
  }

 private:
  ZRHandle handle_;
  TypeEntry* types_;
  Reference* references_ = nullptr;
};

}  // namespace

void ResourceMap::ReplaceLists(ZRHandle lists, int32_t types, uint32_t references) {
  ZRDisposeHandle(&lists_);
  lists_ = lists;
  header_.types_less_1 = static_cast<int16_t>(types - 1);
  reference_count_ = references;
}

// The type that a reference belongs to, or -1. The lists are locked.
int32_t ResourceMap::TypeOf(uint32_t index) const {
  for (uint32_t t = 0; t < type_count(); ++t) {
    const Range range = RangeOf(types_[t]);
    if (index >= range.first && index - range.first < range.count) return static_cast<int32_t>(t);
  }
  return -1;
}

// --- names ---

// Whether a name finds a place that an offset leads to, once `without` bytes are gone.
bool ResourceMap::FitsNames(uint32_t without, const uint8_t* added) const {
  return !IsName(added) || NamesSize() - without < reference_layout::kNoName;
}

// A new name list without the name at an offset (kNoName: with all), and another one at its end
// (null or empty: none); 0 when there is no memory.
ZRHandle ResourceMap::NamesWithout(uint32_t name_offset, const uint8_t* added) {
  const LockedHandle names(names_);
  const Bytes bytes = names.bytes();
  const uint32_t gone = NameSize(name_offset);
  const size_t before = gone == 0 ? bytes.size() : name_offset;
  const size_t behind = std::min<size_t>(before + gone, bytes.size());
  const size_t rest = bytes.size() - behind;
  const size_t more = IsName(added) ? added[0] + size_t{1} : 0;
  ZRHandle list = ZRNewHandle(static_cast<uint32_t>(before + rest + more));
  auto* const at = static_cast<uint8_t*>(ZRLockHandle(list));
  if (at == nullptr) return 0;
  if (before > 0) std::memcpy(at, bytes.data(), before);
  if (rest > 0) std::memcpy(at + before, bytes.data() + behind, rest);
  if (more > 0) std::memcpy(at + before + rest, added, more);
  ZRUnlockHandle(list);
  return list;
}

void ResourceMap::LowerNames(uint32_t behind, uint32_t by) {
  const ListsLock lock(*this);
  for (uint32_t i = 0; i < reference_count_; ++i) {
    uint16_t& at = references_[i].name_offset;
    if (at != reference_layout::kNoName && at > behind) at = static_cast<uint16_t>(at - by);
  }
}

// --- the three changes ---

ZRError ResourceMap::Insert(ResourceTypeCode type, const Reference& reference,
                            const uint8_t* name) {
  if (!exists()) return ZRErrNotOpen;
  if (lists_locks_ > 0) return ZRErrResMemory;
  const int32_t found = FindType(type);
  const uint32_t types = type_count() + (found < 0 ? 1 : 0);
  const uint32_t count = reference_count_ + 1;
  if (map_layout::kSize + SizeOfLists(types, count) > kMostListOffset || !FitsNames(0, name)) {
    return ZRErrResTooLarge;
  }
  NewLists lists(types, count);
  ZRHandle names = IsName(name) ? NamesWithout(reference_layout::kNoName, name) : 0;
  if (!lists.is_there() || (IsName(name) && names == 0)) {
    ZRDisposeHandle(&names);
    return ZRErrResMemory;
  }
  Reference added = reference;
  added.name_offset =
      static_cast<uint16_t>(IsName(name) ? NamesSize() : uint32_t{reference_layout::kNoName});
  {
    const ListsLock lock(*this);
    const Range own = found < 0 ? Range{reference_count_, 0} : RangeOf(types_[found]);
    const uint32_t place = own.first + own.count;
    for (uint32_t t = 0; t < type_count(); ++t) {
      TypeEntry entry = types_[t];
      const uint32_t first = RangeOf(entry).first;
      const bool is_own = static_cast<int32_t>(t) == found;
      if (is_own) ++entry.references_less_1;
      entry.first_reference = ReferenceOffset(types, first + (!is_own && first >= place ? 1 : 0));
      lists.Add(entry);
    }
    if (found < 0) {
      TypeEntry entry{{}, 0, ReferenceOffset(types, place)};
      StoreBigEndian(entry.code, type_layout::kCode, type);
      lists.Add(entry);
    }
    for (uint32_t i = 0; i < place; ++i) lists.Add(references_[i]);
    lists.Add(added);
    for (uint32_t i = place; i < reference_count_; ++i) lists.Add(references_[i]);
  }
  ReplaceLists(lists.Take(), static_cast<int32_t>(types), count);
  if (names != 0) Replace(&names_, names);
  dirty = true;
  return ZRErrNone;
}

ZRError ResourceMap::Remove(int32_t index) {
  if (!exists()) return ZRErrNotOpen;
  if (lists_locks_ > 0) return ZRErrResMemory;
  const auto place = static_cast<uint32_t>(index);
  Reference removed = Get(index);
  int32_t own = -1;
  bool type_goes = false;
  {
    const ListsLock lock(*this);
    own = TypeOf(place);
    type_goes = own >= 0 && types_[own].references_less_1 == 0;
  }
  const uint32_t types = type_count() - (type_goes ? 1 : 0);
  const uint32_t name_at = removed.name_offset, gone = NameSize(name_at);
  NewLists lists(types, reference_count_);
  ZRHandle names = gone > 0 ? NamesWithout(name_at, nullptr) : 0;
  if (!lists.is_there() || (gone > 0 && names == 0)) {
    ZRDisposeHandle(&names);
    return ZRErrResMemory;
  }
  ZRDisposeHandle(&removed.handle);
  removed.handle = 0;
  removed.name_offset = reference_layout::kNoName;
  removed.Clear(kChangedAttribute);
  removed.Set(kRemovedAttribute);
  {
    const ListsLock lock(*this);
    for (uint32_t t = 0; t < type_count(); ++t) {
      const bool is_own = static_cast<int32_t>(t) == own;
      if (is_own && type_goes) continue;
      TypeEntry entry = types_[t];
      const uint32_t first = RangeOf(entry).first;
      if (is_own) --entry.references_less_1;
      entry.first_reference = ReferenceOffset(types, first - (!is_own && first > place ? 1 : 0));
      lists.Add(entry);
    }
    for (uint32_t i = 0; i < reference_count_; ++i) {
      if (i != place) lists.Add(references_[i]);
    }
    lists.Add(removed);
  }
  ReplaceLists(lists.Take(), static_cast<int32_t>(types), reference_count_);
  if (names != 0) {
    Replace(&names_, names);
    LowerNames(name_at, gone);
  }
  return ZRErrNone;
}

ZRError ResourceMap::Rename(int32_t index, const uint8_t* name) {
  if (!exists()) return ZRErrNotOpen;
  const uint32_t name_at = Get(index).name_offset, gone = NameSize(name_at);
  if (!FitsNames(gone, name)) return ZRErrResTooLarge;
  const ZRHandle names = NamesWithout(name_at, name);
  if (names == 0) return ZRErrResMemory;
  const uint32_t added_at = NamesSize() - gone;
  if (gone > 0) LowerNames(name_at, gone);
  Replace(&names_, names);
  const ListsLock lock(*this);
  references_[index].name_offset =
      static_cast<uint16_t>(IsName(name) ? added_at : uint32_t{reference_layout::kNoName});
  dirty = true;
  return ZRErrNone;
}

}  // namespace qv
