// The resources of one module, collected from its descriptions.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/resource_tool/bytes.h"
#include "tools/resource_tool/problem.h"

namespace qvresource {

constexpr uint32_t kStringType = 6;
constexpr uint32_t kVersionType = 16;

// A resource type: a name in upper case, or a number where the name is empty. Ordered as the
// platform orders them: names first, each group ascending.
struct TypeKey {
  std::string name;
  uint32_t number = 0;
  std::string text() const { return name.empty() ? std::to_string(number) : name; }
  friend bool operator<(const TypeKey& a, const TypeKey& b) {
    if (a.name.empty() != b.name.empty()) return !a.name.empty();
    return a.name != b.name ? a.name < b.name : a.number < b.number;
  }
};

// A resource's own name or number, likewise.
using NameKey = TypeKey;

class ResourceSet {
 public:
  // One type and name may be given once only.
  bool Add(const Place& place, const TypeKey& type, const NameKey& name, ByteVector bytes,
           Problem& problem);
  bool Add(const Place& place, const TypeKey& type, uint32_t number, ByteVector bytes,
           Problem& problem) {
    return Add(place, type, NameKey{"", number}, std::move(bytes), problem);
  }
  // A string of the platform's string table; at most 65535 characters.
  bool AddString(const Place& place, uint32_t number, const std::string& text, Problem& problem);
  // Packs the strings into their blocks. Call once, when all descriptions are read.
  bool FinishStrings(Problem& problem);

  using Key = std::pair<TypeKey, NameKey>;
  const std::map<Key, ByteVector>& resources() const { return resources_; }

 private:
  std::map<Key, ByteVector> resources_;
  std::map<uint32_t, std::string> strings_;
};

}  // namespace qvresource
