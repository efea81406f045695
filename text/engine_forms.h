// The readers and writers of the Unicode engines, one pair for each form that text can have.
//
// A reader gives the character at `in` (which is not the end): its code and its size in bytes; size
// 0 when the end of the input cuts it. A writer stores a character where it fits and returns its
// bytes, or kNoRoom.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/byte_tables.h"
#include "text/code_pages.h"
#include "text/utf8.h"

namespace qv {

struct ReadCharacter {
  uint32_t code;
  uint32_t size;
};
constexpr int kNoRoom = -1;

template <int width, bool big_endian>
inline uint32_t LoadUnit(const uint8_t* from) {
  uint32_t unit = 0;
  for (int i = 0; i < width; ++i) {
    unit |= uint32_t{from[i]} << 8 * (big_endian ? width - 1 - i : i);
  }
  return unit;
}

template <int width, bool big_endian>
inline void StoreUnit(uint32_t unit, uint8_t* to) {
  for (int i = 0; i < width; ++i) {
    to[i] = static_cast<uint8_t>(unit >> 8 * (big_endian ? width - 1 - i : i));
  }
}

// --- Bytes of a code page ---

struct ByteReader {
  const ByteToUnicodeTable& table;
  ReadCharacter Read(const uint8_t* in, const uint8_t*) const { return {table.CodeOf(*in), 1}; }
};

struct ByteWriter {
  const UnicodeToByteTable& table;
  int Write(uint32_t code, uint8_t* out, size_t room) const {
    if (room < 1) return kNoRoom;
    *out = table.ByteOf(code);
    return 1;
  }
};

// --- UTF-8 ---

struct Utf8Reader {
  static constexpr uint32_t kLongestSequence = 7;
  static constexpr uint32_t kOverflow = 0xFFFFFFFF;  // stands for codes of more than 32 bits

  // Bytes of the sequence that a lead byte (C0 and up, not FF) starts.
  static uint32_t SequenceLength(uint8_t lead) {
    uint32_t length = 2;
    for (uint8_t bit = 0x20; lead & bit; bit = static_cast<uint8_t>(bit >> 1)) ++length;
    return length;
  }

  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const {
    const uint8_t lead = *in;
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC0 || lead == 0xFF) return {kReplacement, 1};
    const uint32_t length = SequenceLength(lead);
    uint64_t code = lead & (0x7Fu >> length);
    for (uint32_t i = 1; i < length; ++i) {
      if (in + i == end) return {0, 0};
      if ((in[i] & 0xC0) != 0x80) return {kReplacement, i};
      code = code << 6 | (in[i] & 0x3Fu);
    }
    return {code > kOverflow ? kOverflow : static_cast<uint32_t>(code), length};
  }
};

struct Utf8Writer {
  // A code that has no form is skipped.
  int Write(uint32_t code, uint8_t* out, size_t room) const {
    uint8_t bytes[4];
    const uint32_t size = EncodeUtf8(code, bytes);
    if (size > room) return kNoRoom;
    for (uint32_t i = 0; i < size; ++i) out[i] = bytes[i];
    return static_cast<int>(size);
  }
};

// --- UTF-16 ---

constexpr uint32_t kFirstSupplementary = 0x10000;
constexpr uint32_t kUtf16CodeLimit = 0x110000;
inline bool IsHighSurrogate(uint32_t unit) { return (unit & ~0x3FFu) == 0xD800; }
inline bool IsLowSurrogate(uint32_t unit) { return (unit & ~0x3FFu) == 0xDC00; }

// A surrogate without its partner is a character of its own, so that nothing is lost between the
// Unicode forms.
template <bool big_endian>
struct Utf16Reader {
  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const {
    if (end - in < 2) return {0, 0};
    const uint32_t unit = LoadUnit<2, big_endian>(in);
    if (!IsHighSurrogate(unit)) return {unit, 2};
    if (end - in < 4) return {0, 0};
    const uint32_t low = LoadUnit<2, big_endian>(in + 2);
    if (!IsLowSurrogate(low)) return {unit, 2};
    return {kFirstSupplementary + ((unit & 0x3FF) << 10 | (low & 0x3FF)), 4};
  }
};

template <bool big_endian>
struct Utf16Writer {
  int Write(uint32_t code, uint8_t* out, size_t room) const {
    if (code >= kUtf16CodeLimit) code = kReplacement;
    if (code < kFirstSupplementary) {
      if (room < 2) return kNoRoom;
      StoreUnit<2, big_endian>(code, out);
      return 2;
    }
    if (room < 4) return kNoRoom;
    const uint32_t offset = code - kFirstSupplementary;
    StoreUnit<2, big_endian>(0xD800 | offset >> 10, out);
    StoreUnit<2, big_endian>(0xDC00 | (offset & 0x3FF), out + 2);
    return 4;
  }
};

// --- UTF-32 ---

template <bool big_endian>
struct Utf32Reader {
  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const {
    if (end - in < 4) return {0, 0};
    return {LoadUnit<4, big_endian>(in), 4};
  }
};

template <bool big_endian>
struct Utf32Writer {
  int Write(uint32_t code, uint8_t* out, size_t room) const {
    if (room < 4) return kNoRoom;
    StoreUnit<4, big_endian>(code, out);
    return 4;
  }
};

}  // namespace qv
