// The map as it goes into the file, and as it is in memory once it is there.
#include <cstring>

#include "resources/locked_handle.h"
#include "resources/resource_map.h"

namespace qv {
namespace {

void StoreType(uint8_t* at, const TypeEntry& type, uint32_t removed_before) {
  std::memcpy(at + type_layout::kCode.offset, type.code, sizeof type.code);
  StoreBigEndian(at, type_layout::kReferencesLess1, static_cast<uint16_t>(type.references_less_1));
  StoreBigEndian(at, type_layout::kFirstReference,
                 type.first_reference - SizeOfLists(0, removed_before));
}

void StoreReference(uint8_t* at, const Reference& reference) {
  StoreBigEndian(at, reference_layout::kNumber, static_cast<uint16_t>(reference.number));
  StoreBigEndian(at, reference_layout::kNameOffset, reference.name_offset);
  StoreBigEndian(at, reference_layout::kAttributesAndOffset, reference.attributes_and_offset);
  StoreBigEndian(at, reference_layout::kHandle, reference.handle);
}

Reference Placed(Reference reference, const ResourceMap::BodyPlace& place) {
  reference.SetOffset(place.offset);
  if (place.clears_changed) reference.Clear(kChangedAttribute);
  return reference;
}

}  // namespace

// Removed references among the first ones. The lists are locked.
uint32_t ResourceMap::CountRemoved(uint32_t before) const {
  uint32_t removed = 0;
  for (uint32_t i = 0; i < before; ++i) removed += references_[i].Has(kRemovedAttribute) ? 1 : 0;
  return removed;
}

uint32_t ResourceMap::ListsSizeWithoutRemoved() {
  const ListsLock lock(*this);
  return SizeOfLists(type_count(), reference_count_ - CountRemoved(reference_count_));
}

uint32_t ResourceMap::FileSize() {
  return map_layout::kSize + ListsSizeWithoutRemoved() + NamesSize();
}

void ResourceMap::Store(uint8_t* bytes, const ForkHeader& fork, const BodyPlace* places) const {
  uint8_t* at = bytes + map_layout::kSize;
  for (uint32_t t = 0; t < type_count(); ++t, at += type_layout::kSize) {
    StoreType(at, types_[t], CountRemoved(RangeOf(types_[t]).first));
  }
  for (uint32_t i = 0; i < reference_count_; ++i) {
    if (references_[i].Has(kRemovedAttribute)) continue;
    StoreReference(at, Placed(references_[i], places[i]));
    at += reference_layout::kSize;
  }
  StoreForkHeader(bytes, fork);
  StoreBigEndian(bytes, map_layout::kNextMap, header_.next_map);
  StoreBigEndian(bytes, map_layout::kFileReference, header_.file_reference);
  StoreBigEndian(bytes, map_layout::kAttributes, header_.attributes);
  StoreBigEndian(bytes, map_layout::kTypeListOffset, map_layout::kNewTypeListOffset);
  StoreBigEndian(bytes, map_layout::kNameListOffset, static_cast<uint32_t>(at - bytes));
  StoreBigEndian(bytes, map_layout::kTypesLess1, static_cast<uint16_t>(header_.types_less_1));
  const LockedHandle names(names_);
  if (!names.bytes().empty()) std::memcpy(at, names.data(), names.bytes().size());
}

void ResourceMap::Commit(const BodyPlace* places, ZRHandle room) {
  auto* const types = static_cast<TypeEntry*>(ZRLockHandle(room));
  auto* reference = reinterpret_cast<Reference*>(types + type_count());
  for (uint32_t t = 0; t < type_count(); ++t) {
    types[t] = types_[t];
    const uint32_t removed = CountRemoved(RangeOf(types_[t]).first);
    types[t].first_reference =
        static_cast<uint16_t>(types_[t].first_reference - SizeOfLists(0, removed));
  }
  uint32_t kept = 0;
  for (uint32_t i = 0; i < reference_count_; ++i) {
    if (references_[i].Has(kRemovedAttribute)) continue;
    reference[kept++] = Placed(references_[i], places[i]);
  }
  ZRUnlockHandle(room);
  UnlockLists();
  ReplaceLists(room, static_cast<int32_t>(type_count()), kept);
  LockLists();
  header_.type_list_offset = map_layout::kNewTypeListOffset;
  header_.name_list_offset =
      static_cast<uint16_t>(map_layout::kSize + SizeOfLists(type_count(), kept));
}

}  // namespace qv
