// A group of entries of the hash table: what a few neighbouring buckets hold, side by side.
//
// Where the processor waits for memory, it waits for lines of 64 bytes. So what a look-up needs
// comes first: the header with a mark of each entry, then the entries themselves, six of which
// share the first line with the header when they are of 8 bytes. What only growing needs, and sizes
// that differ from the usual one, come last.
//
//   HashGroup      marks, the places that are live, the further group
//   the places     7 entries, each as it is, or a pointer to a separate copy when it is larger than
//                  the table's inline size
//   GroupDetails   tags and sizes
//
// An entry never moves inside its group, and a place that is left is filled by a later one. What
// does not fit goes into a further group.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv {

// Of a further group, in its table's pool.
using GroupNumber = uint32_t;
constexpr GroupNumber kNoGroup = 0;

// What a group tells of the hash in a byte: the upper end of the tag, since the lower end is what
// the entries of a group have in common.
inline uint8_t MarkOf(uint32_t tag) { return static_cast<uint8_t>(tag >> 24); }

struct HashGroup {
  static constexpr uint32_t kSlots = 7;
  static constexpr uint32_t kAllLive = (1u << kSlots) - 1;

  uint8_t marks[kSlots];
  uint8_t live;         // a bit for each place that holds an entry
  GroupNumber more;     // the further group
  uint8_t other_sizes;  // a bit for each place whose entry is not as large as inline ones can be
  uint8_t unused[3];

  bool IsLive(uint32_t slot) const { return (live >> slot & 1) != 0; }
  // The places from `slot` on that hold an entry, as bits.
  uint32_t LiveFrom(uint32_t slot) const { return live & (kAllLive << slot); }
  void SetLive(uint32_t slot) { live = static_cast<uint8_t>(live | 1u << slot); }
  void SetFree(uint32_t slot) { live = static_cast<uint8_t>(live & ~(1u << slot)); }
  void SetUsualSize(uint32_t slot) {
    other_sizes = static_cast<uint8_t>(other_sizes & ~(1u << slot));
  }
  void SetOtherSize(uint32_t slot) { other_sizes = static_cast<uint8_t>(other_sizes | 1u << slot); }
  // The places whose entries have this mark, as bits.
  uint32_t Matches(uint8_t mark) const;
};
static_assert(sizeof(HashGroup) == 16);

// All at once, by instructions that every processor has which we build for. The eighth byte is
// `live`; its bit is none of a place.
inline uint32_t HashGroup::Matches(uint8_t mark) const {
  static_assert(kSlots == 7 && offsetof(HashGroup, live) == 7, "one load of eight bytes");
  const __m128i twice = _mm_cvtsi32_si128(mark * 0x101);
  const __m128i wanted = _mm_shufflelo_epi16(twice, 0);
  const __m128i found = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(this));
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(found, wanted))) & live;
}

struct GroupDetails {
  uint32_t tags[HashGroup::kSlots];   // what is known of the hashes, besides the group's own index
  uint32_t sizes[HashGroup::kSlots];  // of the entries, bytes; good where `other_sizes` says so
};

// The sizes that all groups of one table share, and the access to what they hold.
class GroupShape {
 public:
  explicit GroupShape(uint32_t inline_size);

  uint32_t inline_size() const { return inline_size_; }
  // Bytes of a group, a multiple of 64; 0 when no address space could hold one.
  size_t group_size() const { return group_size_; }
  bool IsInline(uint32_t size) const { return size <= inline_size_; }

  // Of an entry, bytes.
  uint32_t Size(const HashGroup* group, uint32_t slot) const {
    if (HasOtherSize(group, slot)) [[unlikely]]
      return Details(group)->sizes[slot];
    return inline_size_;
  }
  const void* Entry(const HashGroup* group, uint32_t slot) const {
    const void* place = Place(group, slot);
    if (HasCopy(group, slot)) [[unlikely]]
      return Copy(place);
    return place;
  }
  uint32_t Tag(const HashGroup* group, uint32_t slot) const { return Details(group)->tags[slot]; }

  // Begins to load what an insert changes.
  void Prefetch(const HashGroup* group) const {
    __builtin_prefetch(group, 1);
    __builtin_prefetch(Details(group), 1);
  }
  // Makes a free place live, without a copy as yet; Store follows.
  void Occupy(HashGroup* group, uint32_t slot, uint32_t tag) const {
    group->marks[slot] = MarkOf(tag);
    group->SetUsualSize(slot);
    group->SetLive(slot);
    Details(group)->tags[slot] = tag;
  }
  // Takes over `copy` for an entry that is not inline; otherwise copies the entry's bytes.
  void Store(HashGroup* group, uint32_t slot, const void* entry, uint32_t size, void* copy) const;
  // Frees the separate copy, if there is one.
  void ReleaseEntry(const HashGroup* group, uint32_t slot) const;
  // Moves an entry with its tag and size to a place that is free. The one it leaves is free then.
  void Move(HashGroup* from, uint32_t slot, HashGroup* to, uint32_t to_slot) const;

 private:
  bool HasOtherSize(const HashGroup* group, uint32_t slot) const {
    return (group->other_sizes >> slot & 1) != 0;
  }
  bool HasCopy(const HashGroup* group, uint32_t slot) const {
    return HasOtherSize(group, slot) && !IsInline(Details(group)->sizes[slot]);
  }
  void SetSize(HashGroup* group, uint32_t slot, uint32_t size) const {
    if (size == inline_size_) return group->SetUsualSize(slot);
    group->SetOtherSize(slot);
    Details(group)->sizes[slot] = size;
  }
  const char* Place(const HashGroup* group, uint32_t slot) const {
    return reinterpret_cast<const char*>(group + 1) + slot * entry_size_;
  }
  char* Place(HashGroup* group, uint32_t slot) const {
    return reinterpret_cast<char*>(group + 1) + slot * entry_size_;
  }
  const GroupDetails* Details(const HashGroup* group) const {
    return reinterpret_cast<const GroupDetails*>(reinterpret_cast<const char*>(group) + details_);
  }
  GroupDetails* Details(HashGroup* group) const {
    return reinterpret_cast<GroupDetails*>(reinterpret_cast<char*>(group) + details_);
  }
  static void* Copy(const void* place) {
    void* copy;
    std::memcpy(&copy, place, sizeof copy);
    return copy;
  }

  uint32_t inline_size_;
  size_t entry_size_;  // bytes of a place
  size_t details_;     // bytes from a group's beginning to its GroupDetails
  size_t group_size_;
};

}  // namespace qv
