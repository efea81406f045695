#include "tools/resource_tool/resource_set.h"

namespace qvresource {
namespace {

constexpr uint32_t kStringsOfBlock = 16;

std::string Describe(const TypeKey& type, const NameKey& name) {
  return "resource " + type.text() + " " + name.text();
}

}  // namespace

bool ResourceSet::Add(const Place& place, const TypeKey& type, const NameKey& name,
                      ByteVector bytes, Problem& problem) {
  if (name.number > 0xFFFF) return problem.Set(place, Describe(type, name) + " is out of range");
  if (!resources_.emplace(Key{type, name}, std::move(bytes)).second) {
    return problem.Set(place, Describe(type, name) + " is there already");
  }
  return true;
}

bool ResourceSet::AddString(const Place& place, uint32_t number, const std::string& text,
                            Problem& problem) {
  if (text.size() > 0xFFFF) return problem.Set(place, "the string is too long");
  if (!strings_.emplace(number, text).second) {
    return problem.Set(place, "string " + std::to_string(number) + " is there already");
  }
  return true;
}

bool ResourceSet::FinishStrings(Problem& problem) {
  std::map<uint32_t, ByteVector> blocks;
  for (const auto& [number, text] : strings_) {
    const uint32_t block = number / kStringsOfBlock;
    if (blocks.count(block)) continue;
    for (uint32_t i = block * kStringsOfBlock; i < (block + 1) * kStringsOfBlock; ++i) {
      const auto found = strings_.find(i);
      const std::string& entry = found == strings_.end() ? std::string() : found->second;
      AppendLittle(blocks[block], static_cast<uint32_t>(entry.size()), 2);
      AppendWide(blocks[block], entry);
    }
  }
  for (auto& [block, bytes] : blocks) {
    if (!Add({"strings", 0}, {"", kStringType}, block + 1, std::move(bytes), problem)) return false;
  }
  return true;
}

}  // namespace qvresource
