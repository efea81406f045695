#include "tools/resource_tool/resource_set.h"

namespace qvresource {
namespace {

constexpr uint32_t kStringsOfBlock = 16;

std::string Describe(const TypeKey& type, uint32_t number) {
  return "resource " + (type.name.empty() ? std::to_string(type.number) : type.name) + " " +
         std::to_string(number);
}

}  // namespace

bool ResourceSet::Add(const Place& place, const TypeKey& type, uint32_t number, ByteVector bytes,
                      Problem& problem) {
  if (number > 0xFFFF) return problem.Set(place, Describe(type, number) + " is out of range");
  if (!resources_.emplace(Key{type, number}, std::move(bytes)).second) {
    return problem.Set(place, Describe(type, number) + " is there already");
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
