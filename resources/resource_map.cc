#include "resources/resource_map.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <new>

#include "app/leveled_log.h"
#include "app/message.h"
#include "resources/locked_handle.h"

namespace qv {
namespace {

constexpr int32_t kValidationLevel = 2;
// What 16-bit offsets of the type entries lead to, and those of names.
constexpr uint32_t kMostReferences = 0x10000 / reference_layout::kSize;
constexpr uint32_t kMostNameStarts = 0x10000;

// From the file's order to the processor's, in place.
void ConvertType(uint8_t* at) {
  const Bytes bytes(at, type_layout::kSize);
  TypeEntry entry;
  std::memcpy(entry.code, at, sizeof entry.code);
  entry.references_less_1 =
      static_cast<int16_t>(ReadSigned16(bytes, type_layout::kReferencesLess1));
  entry.first_reference = static_cast<uint16_t>(ReadBigEndian(bytes, type_layout::kFirstReference));
  std::memcpy(at, &entry, sizeof entry);
}

// Written field by field: through a copy the processor would wait for each to be put together.
void ConvertReference(uint8_t* at) {
  const Bytes bytes(at, reference_layout::kSize);
  const auto number = static_cast<int16_t>(ReadSigned16(bytes, reference_layout::kNumber));
  const auto name = static_cast<uint16_t>(ReadBigEndian(bytes, reference_layout::kNameOffset));
  const uint32_t rest = ReadBigEndian(bytes, reference_layout::kAttributesAndOffset);
  auto* entry = new (at) Reference{number, name, rest, 0};
  entry->Clear(kChangedAttribute | kRemovedAttribute);
}

// Whether `holds` of the name offset of each reference that has a name, in their order.
template <class Predicate>
bool AllNames(const LockedHandle& lists, uint32_t types, uint32_t references, Predicate holds) {
  const auto* reference = reinterpret_cast<const Reference*>(lists.data() + SizeOfLists(types, 0));
  for (uint32_t i = 0; i < references; ++i, ++reference) {
    const size_t at = reference->name_offset;
    if (at != reference_layout::kNoName && !holds(at)) return false;
  }
  return true;
}

}  // namespace

ForkHeader ReadForkHeader(Bytes bytes) {
  auto value = [bytes](Field field) { return static_cast<int32_t>(ReadBigEndian(bytes, field)); };
  return {value(header_layout::kDataOffset), value(header_layout::kMapOffset),
          value(header_layout::kDataLength), value(header_layout::kMapLength)};
}

void StoreForkHeader(uint8_t* bytes, const ForkHeader& header) {
  StoreBigEndian(bytes, header_layout::kDataOffset, static_cast<uint32_t>(header.data_offset));
  StoreBigEndian(bytes, header_layout::kMapOffset, static_cast<uint32_t>(header.map_offset));
  StoreBigEndian(bytes, header_layout::kDataLength, static_cast<uint32_t>(header.data_length));
  StoreBigEndian(bytes, header_layout::kMapLength, static_cast<uint32_t>(header.map_length));
}

MapHeader ReadMapHeader(Bytes bytes) {
  auto value = [bytes](Field field) { return static_cast<uint16_t>(ReadBigEndian(bytes, field)); };
  return {ReadBigEndian(bytes, map_layout::kNextMap),
          value(map_layout::kFileReference),
          value(map_layout::kAttributes),
          value(map_layout::kTypeListOffset),
          value(map_layout::kNameListOffset),
          static_cast<int16_t>(value(map_layout::kTypesLess1))};
}

// --- the whole map ---

int32_t ResourceMap::ListsSize(const MapHeader& header) {
  const int32_t span = int32_t{header.name_list_offset} - header.type_list_offset -
                       static_cast<int32_t>(type_layout::kCountSize);
  const int32_t entries = (header.types_less_1 + 1) * static_cast<int32_t>(type_layout::kSize);
  return header.types_less_1 < -1 || span < 0 || span < entries ? -1 : span;
}

ZRError ResourceMap::MakeEmpty() {
  Drop();
  lists_ = ZRNewHandle(0);
  names_ = ZRNewHandle(0);
  if (lists_ == 0 || names_ == 0) {
    Drop();
    return ZRErrResMemory;
  }
  header_.type_list_offset = map_layout::kNewTypeListOffset;
  header_.name_list_offset = map_layout::kSize;
  dirty = true;
  return ZRErrNone;
}

// The entries from the file's order to the processor's; how many references there are.
uint32_t ResourceMap::ConvertLists() {
  const LockedHandle lists(lists_);
  uint8_t* at = lists.data();
  const uint32_t types = type_count();
  const uint32_t references =
      (ZRGetHandleSize(lists_) - SizeOfLists(types, 0)) / reference_layout::kSize;
  for (uint32_t i = 0; i < types; ++i, at += type_layout::kSize) ConvertType(at);
  for (uint32_t i = 0; i < references; ++i, at += reference_layout::kSize) ConvertReference(at);
  return references;
}

ZRError ResourceMap::Load(const ForkHeader& fork, const MapHeader& header, ZRHandle lists,
                          ZRHandle names) {
  Drop();
  lists_ = lists;
  names_ = names;
  const int32_t size = ListsSize(header);
  if (size < 0 || lists == 0 || names == 0 ||
      ZRGetHandleSize(lists) != static_cast<uint32_t>(size)) {
    Drop();
    return ZRErrResDamaged;
  }
  header_ = header;
  reference_count_ = ConvertLists();
  // The map may end before the fork does.
  const int64_t names_of_map = int64_t{fork.map_length} - header.name_list_offset;
  if (names_of_map < int64_t{NamesSize()} && names_of_map == int64_t{SumOfNames()} &&
      ZRSetHandleSize(names_, static_cast<uint32_t>(names_of_map)) != ZRErrNone) {
    Drop();
    return ZRErrResMemory;
  }
  return ZRErrNone;
}

void ResourceMap::Drop() {
  if (lists_ != 0) {
    const ListsLock lock(*this);
    for (uint32_t i = 0; i < reference_count_; ++i) {
      if (references_[i].handle != 0) ZRDisposeHandle(&references_[i].handle);
    }
  }
  ZRDisposeHandle(&lists_);
  ZRDisposeHandle(&names_);
  lists_ = names_ = 0;
  header_ = {};
  reference_count_ = 0;
  lists_locks_ = 0;
  types_ = nullptr;
  references_ = nullptr;
  dirty = false;
}

// --- validation ---

uint32_t ResourceMap::NamesSize() const { return ZRGetHandleSize(names_); }

// The bytes of the name at an offset with its length byte; 0 for no name and behind the list.
uint32_t ResourceMap::NameSize(uint32_t name_offset) const {
  if (name_offset == reference_layout::kNoName) return 0;  // the list may have a byte there
  const LockedHandle names(names_);
  return name_offset < names.bytes().size() ? names.data()[name_offset] + 1u : 0;
}

uint32_t ResourceMap::SumOfNames() const {
  const LockedHandle names(names_);
  const LockedHandle lists(lists_);
  const Bytes bytes = names.bytes();
  uint32_t sum = 0;
  AllNames(lists, type_count(), reference_count_, [&](size_t at) {
    if (at < bytes.size()) sum += bytes[at] + 1u;
    return true;
  });
  return sum;
}

// TypesAreApart where each type's references stand behind those of the one before, as in every
// file that was written in one go. False says nothing.
bool ResourceMap::TypesAreInOrder() const {
  const LockedHandle lists(lists_);
  const auto* type = reinterpret_cast<const TypeEntry*>(lists.data());
  uint32_t next = type_layout::kCountSize + SizeOfLists(type_count(), 0);
  const uint32_t end = next + reference_count_ * reference_layout::kSize;
  for (uint32_t t = 0; t < type_count(); ++t, ++type) {
    if (type->references_less_1 < 0 || type->first_reference != next) return false;
    next += (static_cast<uint32_t>(type->references_less_1) + 1) * reference_layout::kSize;
  }
  return next <= end;
}

// Every reference belongs to one type at most, and types begin where references do.
bool ResourceMap::TypesAreApart() const {
  const LockedHandle lists(lists_);
  std::bitset<kMostReferences> taken;
  const auto* type = reinterpret_cast<const TypeEntry*>(lists.data());
  const uint32_t begin = type_layout::kCountSize + SizeOfLists(type_count(), 0);
  for (uint32_t t = 0; t < type_count(); ++t, ++type) {
    if (type->references_less_1 < 0 || type->first_reference < begin) return false;
    const uint32_t offset = type->first_reference - begin;
    const uint32_t first = offset / reference_layout::kSize;
    const uint32_t end = first + static_cast<uint32_t>(type->references_less_1) + 1;
    if (offset % reference_layout::kSize != 0 || end > reference_count_) return false;
    for (uint32_t i = first; i < end; ++i) {
      if (taken[i]) return false;
      taken.set(i);
    }
  }
  return true;
}

// NamesArePacked at the price of one look at each name, where they stand in the order of the
// references, as in every file that was written in one go. False says nothing.
bool ResourceMap::NamesAreInOrder() const {
  const LockedHandle names(names_);
  const LockedHandle lists(lists_);
  const Bytes bytes = names.bytes();
  size_t end = 0;
  const bool in_order = AllNames(lists, type_count(), reference_count_, [&](size_t at) {
    if (at != end || at >= bytes.size()) return false;
    end += bytes[at] + size_t{1};
    return true;
  });
  return in_order && end == bytes.size();
}

// The names fill the list one behind the other, and each belongs to one reference.
bool ResourceMap::NamesArePacked() const {
  const LockedHandle names(names_);
  const LockedHandle lists(lists_);
  const Bytes bytes = names.bytes();
  std::bitset<kMostNameStarts> starts;
  size_t end = 0;
  for (; end < bytes.size() && end < kMostNameStarts; end += bytes[end] + size_t{1}) {
    starts.set(end);
  }
  if (end != bytes.size()) return false;
  const auto take = [&](size_t at) {
    const bool is_free = starts[at];
    starts.reset(at);
    return is_free;
  };
  return AllNames(lists, type_count(), reference_count_, take) && starts.none();
}

bool ResourceMap::NamesAreInside() const {
  const LockedHandle lists(lists_);
  const uint32_t size = NamesSize();
  return AllNames(lists, type_count(), reference_count_, [size](size_t at) { return at < size; });
}

bool ResourceMap::Validate(const ForkHeader& fork) const {
  bool valid = true;
  auto check = [&valid](bool holds, const char* message) {
    if (!holds) LogAtLevel(kValidationLevel, "%s", message);
    valid = valid && holds;
    return holds;
  };
  check(fork.data_offset >= 0 && fork.map_offset >= 0 && fork.data_length >= 0 &&
            fork.map_length >= 0,
        "CRezFmt: Resource header bad");
  check(header_.types_less_1 >= -1 && header_.type_list_offset <= header_.name_list_offset,
        "CRezFmt: Resource header map bad");
  const bool sized =
      check(exists() && ZRGetHandleSize(lists_) == SizeOfLists(type_count(), reference_count_),
            "CRezFmt: Type/Ref list wrong size");
  if (!sized) return false;  // the other checks read the lists
  check(TypesAreInOrder() || TypesAreApart(), "CRezFmt: Typelist corrupt");
  if (!NamesAreInOrder()) {
    const bool inside = check(NamesAreInside(), "CRezFmt: Bad name offset");
    check(inside ? NamesArePacked() : SumOfNames() == NamesSize(),
          "CRezFmt: Name/Ref size mismatch");
  }
  return valid;
}

// --- the lists, locked ---

void ResourceMap::LockLists() {
  if (++lists_locks_ <= 0) {
    ZRMessage("CRezFmt:Lock ResTypeAndRefListsLock bad ref count(%d)", lists_locks_);
  }
  if (lists_locks_ != 1) return;
  types_ = static_cast<TypeEntry*>(ZRLockHandle(lists_));
  references_ = reinterpret_cast<Reference*>(types_ + type_count());
}

void ResourceMap::UnlockLists() {
  if (lists_locks_ < 1) {
    ZRMessage("CRezFmt:Unlock ResTypeAndRefListsLock bad ref count(%d)", lists_locks_);
  }
  if (--lists_locks_ != 0) return;
  ZRUnlockHandle(lists_);
  types_ = nullptr;
  references_ = nullptr;
}

ResourceMap::Range ResourceMap::RangeOf(const TypeEntry& type) const {
  const uint32_t begin = type_layout::kCountSize + SizeOfLists(type_count(), 0);
  if (type.first_reference < begin || type.references_less_1 < 0) return {reference_count_, 0};
  const uint32_t first = (type.first_reference - begin) / reference_layout::kSize;
  if (first >= reference_count_) return {reference_count_, 0};
  const uint32_t count = static_cast<uint32_t>(type.references_less_1) + 1;
  return {first, std::min(count, reference_count_ - first)};
}

// --- finding ---

int32_t ResourceMap::FindType(ResourceTypeCode type) {
  if (!exists()) return -1;
  uint8_t code[sizeof(TypeEntry::code)];
  StoreBigEndian(code, type_layout::kCode, type);
  const ListsLock lock(*this);
  for (uint32_t t = 0; t < type_count(); ++t) {
    if (std::memcmp(types_[t].code, code, sizeof code) == 0) return static_cast<int32_t>(t);
  }
  return -1;
}

template <class Fits>
int32_t ResourceMap::FindInType(ResourceTypeCode type, Fits fits) {
  const int32_t t = FindType(type);
  if (t < 0) return -1;
  const ListsLock lock(*this);
  const Range range = RangeOf(types_[t]);
  for (uint32_t i = range.first; i < range.first + range.count; ++i) {
    if (fits(references_[i])) return static_cast<int32_t>(i);
  }
  return -1;
}

int32_t ResourceMap::Find(ResourceTypeCode type, int32_t number) {
  return FindInType(type, [=](const Reference& reference) { return reference.number == number; });
}

int32_t ResourceMap::Find(ResourceTypeCode type, const uint8_t* name) {
  if (name == nullptr) return -1;
  const LockedHandle names(names_);
  const Bytes bytes = names.bytes();
  const size_t size = name[0] + size_t{1};
  return FindInType(type, [=](const Reference& reference) {
    const size_t at = reference.name_offset;
    return at != reference_layout::kNoName && at <= bytes.size() && bytes.size() - at >= size &&
           std::memcmp(bytes.data() + at, name, size) == 0;
  });
}

int32_t ResourceMap::FindHandle(ZRHandle handle) {
  if (!exists() || handle == 0) return -1;
  const ListsLock lock(*this);
  for (uint32_t i = 0; i < reference_count_; ++i) {
    if (references_[i].handle == handle) return static_cast<int32_t>(i);
  }
  return -1;
}

int32_t ResourceMap::Nth(ResourceTypeCode type, uint32_t n) {
  const int32_t t = FindType(type);
  if (t < 0) return -1;
  const ListsLock lock(*this);
  const Range range = RangeOf(types_[t]);
  return n < range.count ? static_cast<int32_t>(range.first + n) : -1;
}

bool ResourceMap::TypeAt(uint32_t type_index, ResourceTypeCode* type) {
  if (!exists() || type_index >= type_count()) return false;
  const ListsLock lock(*this);
  *type = ReadBigEndian(types_[type_index].code, type_layout::kCode);
  return true;
}

Reference ResourceMap::Get(int32_t index) {
  const ListsLock lock(*this);
  return references_[index];
}

void ResourceMap::SetHandle(int32_t index, ZRHandle handle) {
  const ListsLock lock(*this);
  references_[index].handle = handle;
}

void ResourceMap::MarkChanged(int32_t index) {
  const ListsLock lock(*this);
  references_[index].Set(kChangedAttribute);
}

void ResourceMap::CopyName(const Reference& reference, uint8_t* name) const {
  name[0] = 0;
  const LockedHandle names(names_);
  const Bytes bytes = names.bytes();
  const size_t at = reference.name_offset;
  if (at == reference_layout::kNoName || at >= bytes.size()) return;
  const size_t size = bytes[at] + size_t{1};
  if (size <= bytes.size() - at) std::memcpy(name, bytes.data() + at, size);
}

bool ResourceMap::HasAny(uint8_t attributes) {
  if (!exists()) return false;
  const ListsLock lock(*this);
  for (uint32_t i = 0; i < reference_count_; ++i) {
    if (references_[i].Has(attributes)) return true;
  }
  return false;
}

}  // namespace qv
