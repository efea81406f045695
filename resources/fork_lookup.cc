#include "resources/fork_lookup.h"

#include "resources/fork_layout.h"

namespace qv {
namespace {

// Where the lists of a map lie in the image.
struct Lists {
  size_t types_at, references_at;
  uint32_t types, references;
};

// True for what a file counts in 31 bits and the image holds.
bool IsInside(uint32_t value, Bytes image) { return value <= INT32_MAX && value <= image.size(); }

std::optional<Lists> FindLists(Bytes image) {
  if (image.size() < kForkHeaderSize) return std::nullopt;
  for (const Field field : {header_layout::kDataOffset, header_layout::kMapOffset,
                            header_layout::kDataLength, header_layout::kMapLength}) {
    if (!IsInside(ReadBigEndian(image, field), image)) return std::nullopt;
  }
  const size_t map = ReadBigEndian(image, header_layout::kMapOffset);
  if (image.size() - map < map_layout::kSize) return std::nullopt;
  const uint32_t type_list = ReadBigEndian(image, map_layout::kTypeListOffset, map);
  const uint32_t name_list = ReadBigEndian(image, map_layout::kNameListOffset, map);
  const int32_t types = ReadSigned16(image, map_layout::kTypesLess1, map) + 1;
  const int32_t span = static_cast<int32_t>(name_list) - static_cast<int32_t>(type_list) -
                       static_cast<int32_t>(type_layout::kCountSize);
  const int32_t rest = span - types * static_cast<int32_t>(type_layout::kSize);
  if (types < 0 || span < 0 || rest < 0 || name_list > image.size() - map) return std::nullopt;
  const size_t types_at = map + type_list + type_layout::kCountSize;
  const auto type_count = static_cast<uint32_t>(types);
  return Lists{types_at, types_at + size_t{type_count} * type_layout::kSize, type_count,
               static_cast<uint32_t>(rest) / reference_layout::kSize};
}

std::optional<Bytes> BodyAt(Bytes image, uint32_t reference_offset) {
  if (reference_offset == reference_layout::kNoBody) return std::nullopt;
  const size_t at = size_t{ReadBigEndian(image, header_layout::kDataOffset)} + reference_offset;
  if (at > image.size() || image.size() - at < kLengthSize) return std::nullopt;
  const uint32_t length = ReadBigEndian(image, {0, kLengthSize}, at);
  if (length > INT32_MAX || length > image.size() - at - kLengthSize) return std::nullopt;
  return image.subspan(at + kLengthSize, length);
}

// The references of a type that begin with the one at `first`.
std::optional<Bytes> FindNumber(Bytes image, const Lists& lists, uint32_t first, uint32_t count,
                                int32_t number) {
  for (uint32_t i = first; i < first + count && i < lists.references; ++i) {
    const size_t at = lists.references_at + size_t{i} * reference_layout::kSize;
    if (ReadSigned16(image, reference_layout::kNumber, at) != number) continue;
    return BodyAt(image, ReadBigEndian(image, reference_layout::kAttributesAndOffset, at) &
                             reference_layout::kOffsetMask);
  }
  return std::nullopt;
}

}  // namespace

std::optional<Bytes> FindInFork(Bytes image, ResourceTypeCode type, int32_t number) {
  const auto lists = FindLists(image);
  if (!lists) return std::nullopt;
  const uint32_t entries_end = type_layout::kCountSize + lists->types * type_layout::kSize;
  for (uint32_t i = 0; i < lists->types; ++i) {
    const size_t at = lists->types_at + size_t{i} * type_layout::kSize;
    if (ReadBigEndian(image, type_layout::kCode, at) != type) continue;
    const int32_t less_1 = ReadSigned16(image, type_layout::kReferencesLess1, at);
    const uint32_t offset = ReadBigEndian(image, type_layout::kFirstReference, at);
    if (less_1 < 0 || offset < entries_end) return std::nullopt;
    if ((offset - entries_end) % reference_layout::kSize != 0) return std::nullopt;
    return FindNumber(image, *lists, (offset - entries_end) / reference_layout::kSize,
                      static_cast<uint32_t>(less_1) + 1, number);
  }
  return std::nullopt;
}

}  // namespace qv
