#include "resources/fork_lookup.h"

#include "resources/fork_layout.h"
#include "resources/resource_map.h"

namespace qv {
namespace {

// Where the lists of a map lie in the image.
struct Lists {
  size_t types_at, references_at;
  uint32_t types, references;
};

bool IsInside(int32_t value, Bytes image) {
  return value >= 0 && static_cast<uint32_t>(value) <= image.size();
}

std::optional<Lists> FindLists(Bytes image) {
  if (image.size() < kForkHeaderSize) return std::nullopt;
  const ForkHeader fork = ReadForkHeader(image);
  for (const int32_t value :
       {fork.data_offset, fork.map_offset, fork.data_length, fork.map_length}) {
    if (!IsInside(value, image)) return std::nullopt;
  }
  const auto map = static_cast<size_t>(fork.map_offset);
  if (image.size() - map < map_layout::kSize) return std::nullopt;
  const MapHeader header = ReadMapHeader(image.subspan(map));
  const int32_t size = ResourceMap::ListsSize(header);
  if (size < 0 || header.name_list_offset > image.size() - map) return std::nullopt;
  const auto types = static_cast<uint32_t>(header.types_less_1 + 1);
  const size_t types_at = map + header.type_list_offset + type_layout::kCountSize;
  const uint32_t references =
      (static_cast<uint32_t>(size) - SizeOfLists(types, 0)) / reference_layout::kSize;
  return Lists{types_at, types_at + SizeOfLists(types, 0), types, references};
}

std::optional<Bytes> BodyAt(Bytes image, uint32_t reference_offset) {
  if (reference_offset == reference_layout::kNoBody) return std::nullopt;
  const size_t at = size_t{ReadBigEndian(image, header_layout::kDataOffset)} + reference_offset;
  if (at > image.size() || image.size() - at < kLengthSize) return std::nullopt;
  const uint32_t length = ReadBigEndian(image, {0, kLengthSize}, at);
  if (length > INT32_MAX || length > image.size() - at - kLengthSize) return std::nullopt;
  return image.subspan(at + kLengthSize, length);
}

// The body of the first reference with that number, of `count` from `first` on.
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
