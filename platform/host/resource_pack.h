// Resources as they lie in an ELF file: a section that holds a pack of them.
//
// A pack is little-endian, offsets from its first byte:
//   8 bytes "QVRESPK1", uint32 count, then per resource
//   uint32 type number (0: named), type name, number (FFFFFFFF: named), name, data, data size
// Names are upper case and end in a zero byte. Entries are sorted as Windows enumerates: named
// types, then numbered ones, each ascending. A damaged pack counts as none.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

// A type or a name: a number, or a text.
struct ResourceName {
  uint32_t number = 0;
  std::string text;  // empty for a number
  bool operator==(const ResourceName&) const = default;
};

struct Resource {
  ResourceName type, name;
  std::span<const uint8_t> data;
};

using ResourceList = std::vector<Resource>;

// Takes a pack apart; nothing when any of it is damaged.
std::optional<ResourceList> ParseResourcePack(std::span<const uint8_t> pack);

// The bytes of a section in an ELF file that is loaded at `load_base`; empty when the file has no
// such section, or is not what it seems.
std::span<const uint8_t> FindLoadedSection(const std::string& file, uintptr_t load_base,
                                           const std::string& section);

}  // namespace host
