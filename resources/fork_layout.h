// The layout of a resource file, which is that of a resource fork. All numbers are big-endian, all
// offsets count bytes. docs/resource-files.md takes a small file apart.
//
//   header      where the data and the map lie, and how long they are
//   data        for each resource a length and that many bytes
//   map         a copy of the header, a type list, a reference list, a name list
#pragma once

#include "base/big_endian.h"

namespace qv {

constexpr uint32_t kForkHeaderSize = 16;
constexpr uint32_t kNewDataOffset = 256;  // of a new file; the bytes behind the header stay 0
constexpr uint32_t kLengthSize = 4;       // in front of each body

// From the first byte of the fork, and of the map.
namespace header_layout {
constexpr Field kDataOffset{0, 4}, kMapOffset{4, 4}, kDataLength{8, 4}, kMapLength{12, 4};
static_assert(kMapLength.offset + kMapLength.width == kForkHeaderSize);
}  // namespace header_layout

// From the first byte of the map. The offsets of the lists count from there too.
namespace map_layout {
constexpr Field kNextMap{16, 4}, kFileReference{20, 2}, kAttributes{22, 2}, kTypeListOffset{24, 2},
    kNameListOffset{26, 2}, kTypesLess1{28, 2};
constexpr uint32_t kSize = 30;
// The type list begins with the number of types, so its entries begin here.
constexpr uint32_t kNewTypeListOffset = 28;
static_assert(kTypesLess1.offset == kNewTypeListOffset);
static_assert(kTypesLess1.offset + kTypesLess1.width == kSize);
}  // namespace map_layout

// An entry of the type list; its references lie at an offset from the start of the type list, which
// is the number of types.
namespace type_layout {
constexpr Field kCode{0, 4}, kReferencesLess1{4, 2}, kFirstReference{6, 2};
constexpr uint32_t kSize = 8;
constexpr uint32_t kCountSize = 2;
static_assert(kFirstReference.offset + kFirstReference.width == kSize);
}  // namespace type_layout

// An entry of the reference list. The body's offset counts from the start of the data.
namespace reference_layout {
constexpr Field kNumber{0, 2}, kNameOffset{2, 2}, kAttributesAndOffset{4, 4}, kHandle{8, 4};
constexpr uint32_t kSize = 12;
constexpr uint32_t kNoName = 0xFFFF;
constexpr uint32_t kNoBody = 0xFFFFFF;  // in the offset: no body is written yet
constexpr uint32_t kOffsetMask = 0xFFFFFF;
constexpr uint32_t kAttributesShift = 24;
static_assert(kHandle.offset + kHandle.width == kSize);
}  // namespace reference_layout

// Writes the low bytes of `value` to the field of the layout that starts at `base`.
constexpr void StoreBigEndian(uint8_t* base, Field field, uint32_t value) {
  for (uint32_t i = field.width; i-- > 0; value >>= 8) {
    base[field.offset + i] = static_cast<uint8_t>(value);
  }
}

constexpr int32_t ReadSigned16(Bytes bytes, Field field, size_t base = 0) {
  return static_cast<int16_t>(ReadBigEndian(bytes, field, base));
}

}  // namespace qv
