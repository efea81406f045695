// The map of a resource file in memory: which types there are, the references of each, and their
// names. It knows no file; resource_file.h reads, changes and writes one.
//
//   qv::ResourceMap map;
//   ZRError error = map.MakeEmpty();
//   error = map.Insert(qv::ResourceType("TEXT"), reference, name);
//   const int32_t index = map.Find(qv::ResourceType("TEXT"), 128);   // -1: none
//   if (index >= 0) { const qv::ListsLock lock(map); Show(map.references()[index]); }
//
// The lists handle holds the type entries and behind them the reference entries, as in the file but
// with numbers in the processor's order (type codes stay as they are). The names handle holds the
// name list. While the lists are locked, types() and references() point into them; locks are
// counted, and no list changes its length meanwhile.
//
// Indexes are places in the reference list and hold until the next change. A removed reference
// waits at the list's end, outside every type, for DeleteRemoved.
//
// A change is made in new lists, which then take the place of the old ones: a change that is
// refused (ZRErrResMemory; ZRErrResTooLarge when an offset would pass 16 bits) changes nothing.
//
// Foreign lists. Load refuses what cannot be taken apart; Validate finds what must not be used.
// Beyond the six checks of the format Validate refuses types whose references are not whole entries
// of the list or belong to two types, and names that lie in each other: a change would damage them.
// The name list ends with the map where the header's map length leads to the end of the last name,
// else with the fork; so a file that holds more behind its map (resource_file.h) can be read.
//
// Threads: one task at a time.
#pragma once

#include <cstdint>

#include "memory/handles.h"
#include "resources/fork_layout.h"
#include "resources/resource_source.h"

namespace qv {

// The header of a fork, and that of its map without the copy of the first.
struct ForkHeader {
  int32_t data_offset = 0, map_offset = 0, data_length = 0, map_length = 0;
  bool operator==(const ForkHeader&) const = default;
};
struct MapHeader {
  uint32_t next_map = 0;
  uint16_t file_reference = 0, attributes = 0;
  uint16_t type_list_offset = 0, name_list_offset = 0;
  int16_t types_less_1 = -1;
};

ForkHeader ReadForkHeader(Bytes bytes);
void StoreForkHeader(uint8_t* bytes, const ForkHeader& header);
MapHeader ReadMapHeader(Bytes bytes);

// Entries of the lists handle.
struct TypeEntry {
  uint8_t code[4];
  int16_t references_less_1;
  uint16_t first_reference;  // offset from the count in front of the type list
};
struct Reference {
  int16_t number;
  uint16_t name_offset;  // reference_layout::kNoName
  uint32_t attributes_and_offset;
  ZRHandle handle;  // the loaded body, or 0

  uint32_t offset() const { return attributes_and_offset & reference_layout::kOffsetMask; }
  void SetOffset(uint32_t offset) {
    attributes_and_offset = (attributes_and_offset & ~reference_layout::kOffsetMask) | offset;
  }
  bool HasBody() const { return offset() != reference_layout::kNoBody; }
  bool Has(uint8_t attribute) const {
    return (attributes_and_offset >> reference_layout::kAttributesShift & attribute) != 0;
  }
  void Set(uint8_t attribute) {
    attributes_and_offset |= uint32_t{attribute} << reference_layout::kAttributesShift;
  }
  void Clear(uint8_t attribute) {
    attributes_and_offset &= ~(uint32_t{attribute} << reference_layout::kAttributesShift);
  }
};
static_assert(sizeof(TypeEntry) == type_layout::kSize);
static_assert(sizeof(Reference) == reference_layout::kSize);

constexpr uint32_t SizeOfLists(uint32_t types, uint32_t references) {
  return types * type_layout::kSize + references * reference_layout::kSize;
}

// Attributes that are kept in memory only.
constexpr uint8_t kChangedAttribute = 0x02, kRemovedAttribute = 0x80;

class ResourceMap {
 public:
  ResourceMap() = default;
  ~ResourceMap() { Drop(); }
  ResourceMap(const ResourceMap&) = delete;
  ResourceMap& operator=(const ResourceMap&) = delete;

  // --- the whole map ---

  // How many bytes the lists of a map of that header take (type and reference entries), or -1 for a
  // header whose lists cannot be.
  static int32_t ListsSize(const MapHeader& header);
  // The most bytes of names that offsets lead to.
  static constexpr uint32_t kMostNames = reference_layout::kNoName + 256;

  ZRError MakeEmpty();
  // Takes both handles over, whatever the answer: the lists as they stand in the file (their size
  // is ListsSize), and the names up to the end of the fork, or one byte more than kMostNames of
  // them. ZRErrResDamaged for a header whose lists cannot be, ZRErrResMemory.
  ZRError Load(const ForkHeader& fork, const MapHeader& header, ZRHandle lists, ZRHandle names);
  // Disposes of lists, names and every loaded body.
  void Drop();
  bool exists() const { return lists_ != 0; }

  // False when anything is wrong; each check that fails writes its line to the leveled log.
  bool Validate(const ForkHeader& fork) const;

  // --- the lists, locked ---

  void LockLists();
  void UnlockLists();
  TypeEntry* types() const { return types_; }
  Reference* references() const { return references_; }
  uint32_t type_count() const { return static_cast<uint32_t>(header_.types_less_1 + 1); }
  uint32_t reference_count() const { return reference_count_; }
  // The first reference of a type and how many there are, cut to the list.
  struct Range {
    uint32_t first, count;
  };
  Range RangeOf(const TypeEntry& type) const;

  // --- finding: the index, or -1 ---

  int32_t FindType(ResourceTypeCode type);
  int32_t Find(ResourceTypeCode type, int32_t number);
  int32_t Find(ResourceTypeCode type, const uint8_t* name);
  int32_t FindHandle(ZRHandle handle);
  int32_t Nth(ResourceTypeCode type, uint32_t n);  // of that type, from 0
  // The code of a type of the list; false behind its end.
  bool TypeAt(uint32_t type_index, ResourceTypeCode* type);
  // A copy, for calls between which the lists may move.
  Reference Get(int32_t index);
  void SetHandle(int32_t index, ZRHandle handle);
  void MarkChanged(int32_t index);
  void CopyName(const Reference& reference, uint8_t* name) const;  // a Str255
  bool HasAny(uint8_t attributes);

  // --- changing: ZRErrNone, or nothing is changed ---

  // At the end of its type, which is made at the end of the type list when it is not there. A null
  // or empty name is none. The reference's own name offset is ignored.
  ZRError Insert(ResourceTypeCode type, const Reference& reference, const uint8_t* name);
  // Takes the name away, disposes of the body and puts the reference, marked as removed, at the
  // end.
  ZRError Remove(int32_t index);
  // The old name goes, the new one is appended.
  ZRError Rename(int32_t index, const uint8_t* name);

  // --- writing ---

  // Bytes of the map in the file without removed references.
  uint32_t FileSize();
  // Writes the map to FileSize() bytes with this header in front; `offsets` are the body offsets of
  // all references, `written` says whose changed attribute goes. The lists are locked.
  struct BodyPlace {
    uint32_t offset;
    bool clears_changed;
  };
  void Store(uint8_t* bytes, const ForkHeader& fork, const BodyPlace* places) const;
  // The same change in memory, and removed references go. `room`, of ListsSizeWithoutRemoved()
  // bytes, becomes the lists handle. The lists are locked once, and are locked again afterwards.
  void Commit(const BodyPlace* places, ZRHandle room);
  uint32_t ListsSizeWithoutRemoved();

  const MapHeader& header() const { return header_; }
  uint32_t names_size() const { return NamesSize(); }

  // Changes that are not in the file yet, beside those that attributes tell of.
  bool dirty = false;

 private:
  uint32_t ConvertLists();
  template <class Fits>
  int32_t FindInType(ResourceTypeCode type, Fits fits);
  uint32_t NamesSize() const;
  bool TypesAreInOrder() const;
  bool TypesAreApart() const;
  bool NamesAreInside() const;
  bool NamesAreInOrder() const;
  bool NamesArePacked() const;
  uint32_t SumOfNames() const;
  uint32_t NameSize(uint32_t name_offset) const;
  int32_t TypeOf(uint32_t index) const;
  ZRHandle NamesWithout(uint32_t name_offset, const uint8_t* added);
  bool FitsNames(uint32_t without, const uint8_t* added) const;
  void LowerNames(uint32_t behind, uint32_t by);
  void ReplaceLists(ZRHandle lists, int32_t types, uint32_t references);
  uint32_t CountRemoved(uint32_t before) const;

  MapHeader header_;
  ZRHandle lists_ = 0, names_ = 0;
  uint32_t reference_count_ = 0;
  // ResTypeAndRefListsLock: locks of the lists, and where the lists are meanwhile.
  int32_t lists_locks_ = 0;
  TypeEntry* types_ = nullptr;
  Reference* references_ = nullptr;
};

class ListsLock {
 public:
  explicit ListsLock(ResourceMap& map) : map_(map) { map_.LockLists(); }
  ~ListsLock() { map_.UnlockLists(); }
  ListsLock(const ListsLock&) = delete;
  ListsLock& operator=(const ListsLock&) = delete;

 private:
  ResourceMap& map_;
};

}  // namespace qv
