// A group of entries of the hash table: what a few neighbouring buckets hold, side by side. One or
// two lines of the processor's cache tell whether an entry is there and what it is.
//
// Behind the header come the places of the entries: the entry itself, or a pointer to a separate
// copy when it is larger than the table's inline size. An entry never moves inside its group, and
// a place that is left is filled by a later one. What does not fit goes into a further group.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv {

// Of a further group, in its table's pool.
using GroupNumber = uint32_t;
constexpr GroupNumber kNoGroup = 0;

struct HashGroup {
  static constexpr uint32_t kSlots = 7;
  static constexpr uint32_t kAllLive = (1u << kSlots) - 1;

  uint32_t tags[kSlots];   // what is known of the hashes, besides the group's own index
  uint32_t live;           // a bit for each place that holds an entry
  uint32_t sizes[kSlots];  // of the entries, bytes
  GroupNumber more;        // the further group

  bool IsLive(uint32_t slot) const { return (live >> slot & 1) != 0; }
  // The places from `slot` on that hold an entry, as bits.
  uint32_t LiveFrom(uint32_t slot) const { return live & (kAllLive << slot); }
  // The places whose entries have this tag, as bits.
  uint32_t Matches(uint32_t tag) const;
};
static_assert(sizeof(HashGroup) == 64, "one line of the cache");

// All at once, by instructions that every processor has which we build for. The eighth word is
// `live`; its bit is none of a place.
inline uint32_t HashGroup::Matches(uint32_t tag) const {
  static_assert(kSlots == 7 && offsetof(HashGroup, sizes) == 32, "two loads of four words");
  const __m128i wanted = _mm_set1_epi32(static_cast<int>(tag));
  const auto* words = reinterpret_cast<const __m128i*>(this);
  const __m128i low = _mm_cmpeq_epi32(_mm_loadu_si128(words), wanted);
  const __m128i high = _mm_cmpeq_epi32(_mm_loadu_si128(words + 1), wanted);
  const __m128i bytes = _mm_packs_epi16(_mm_packs_epi32(low, high), _mm_setzero_si128());
  return static_cast<uint32_t>(_mm_movemask_epi8(bytes)) & live;
}

// The sizes that all groups of one table share, and the access to what they hold.
class GroupShape {
 public:
  explicit GroupShape(uint32_t inline_size);

  uint32_t inline_size() const { return inline_size_; }
  // Bytes of a group, a multiple of 64; 0 when no address space could hold one.
  size_t group_size() const { return group_size_; }
  bool IsInline(uint32_t size) const { return size <= inline_size_; }

  const void* Entry(const HashGroup* group, uint32_t slot) const {
    const void* place = Place(group, slot);
    return IsInline(group->sizes[slot]) ? place : Copy(place);
  }
  // Takes over `copy` for an entry that is not inline; otherwise copies the entry's bytes.
  void Store(HashGroup* group, uint32_t slot, const void* entry, uint32_t size, void* copy) const;
  // Frees the separate copy, if there is one.
  void ReleaseEntry(const HashGroup* group, uint32_t slot) const;
  // Moves an entry with its tag and size to a place that is free. The one it leaves is free then.
  void Move(HashGroup* from, uint32_t slot, HashGroup* to, uint32_t to_slot) const;

 private:
  const char* Place(const HashGroup* group, uint32_t slot) const {
    return reinterpret_cast<const char*>(group + 1) + slot * entry_size_;
  }
  char* Place(HashGroup* group, uint32_t slot) const {
    return reinterpret_cast<char*>(group + 1) + slot * entry_size_;
  }
  static void* Copy(const void* place) {
    void* copy;
    std::memcpy(&copy, place, sizeof copy);
    return copy;
  }

  uint32_t inline_size_;
  size_t entry_size_;  // bytes of a place
  size_t group_size_;
};

}  // namespace qv
