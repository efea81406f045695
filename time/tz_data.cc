#include "time/tz_data.h"

#include <algorithm>
#include <cstring>

#include "time/growth.h"

namespace qv {
namespace {

constexpr size_t kMostName = 255;
constexpr size_t kFirstSlots = 64;

// FNV-1a.
uint32_t HashOf(std::string_view name) {
  uint32_t hash = 2166136261u;
  for (const char c : name) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
  return hash;
}

template <typename Record>
void SortByName(std::vector<Record>& records, const NamePool& names) {
  std::stable_sort(records.begin(), records.end(), [&](const Record& a, const Record& b) {
    return a.name != b.name && names.Text(a.name) < names.Text(b.name);
  });
}

template <typename Record>
std::span<const Record> OfName(const std::vector<Record>& records, NameRef name,
                               const NamePool& names) {
  const std::string_view text = names.Text(name);
  const auto first = std::partition_point(
      records.begin(), records.end(), [&](const Record& r) { return names.Text(r.name) < text; });
  const auto last =
      std::find_if(first, records.end(), [&](const Record& r) { return r.name != name; });
  return {first, last};
}

template <typename Item>
size_t BytesOf(const std::vector<Item>& array) {
  return array.capacity() * sizeof(Item);
}

}  // namespace

// --- names ---

std::string_view NamePool::Text(NameRef ref) const {
  if (ref == 0) return {};
  return {bytes_.data() + ref + 1, static_cast<uint8_t>(bytes_[ref])};
}

// The slot that holds the name, or the free one where it belongs. There are slots.
size_t NamePool::SlotOf(std::string_view name) const {
  const size_t mask = slots_.size() - 1;
  size_t slot = HashOf(name) & mask;
  while (slots_[slot] != 0 && Text(slots_[slot]) != name) slot = (slot + 1) & mask;
  return slot;
}

bool NamePool::GrowSlots() {
  std::vector<NameRef> old;
  try {
    old.assign(std::max(kFirstSlots, 2 * slots_.size()), 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  slots_.swap(old);
  for (const NameRef ref : old) {
    if (ref != 0) slots_[SlotOf(Text(ref))] = ref;
  }
  return true;
}

NameRef NamePool::Find(std::string_view name) const {
  return slots_.empty() || name.empty() ? 0 : slots_[SlotOf(name)];
}

bool NamePool::Add(std::string_view name, NameRef* ref) {
  name = name.substr(0, kMostName);
  *ref = Find(name);
  if (*ref != 0 || name.empty()) return true;
  if (2 * used_ >= slots_.size() && !GrowSlots()) return false;
  const size_t place = std::max<size_t>(bytes_.size(), 1), end = place + 1 + name.size();
  try {
    if (end > bytes_.capacity()) bytes_.reserve(2 * end);
  } catch (const std::bad_alloc&) {
    return false;
  }
  bytes_.resize(end);
  bytes_[place] = static_cast<char>(name.size());
  std::memcpy(bytes_.data() + place + 1, name.data(), name.size());
  *ref = static_cast<NameRef>(place);
  slots_[SlotOf(name)] = *ref;
  ++used_;
  return true;
}

void NamePool::Clear() { *this = NamePool(); }

void NamePool::Shrink() { bytes_.shrink_to_fit(); }

size_t NamePool::bytes_held() const { return BytesOf(bytes_) + BytesOf(slots_); }

// --- records ---

bool TimeZoneData::Add(const RuleRecord& rule) { return Append(rules_, rule); }

bool TimeZoneData::Add(const ZoneLine& line) { return Append(lines_, line); }

void TimeZoneData::Sort() {
  SortByName(rules_, names);
  SortByName(lines_, names);
}

void TimeZoneData::Shrink() {
  rules_.shrink_to_fit();
  lines_.shrink_to_fit();
  names.Shrink();
}

void TimeZoneData::Clear() { *this = TimeZoneData(); }

std::span<const RuleRecord> TimeZoneData::RulesOf(NameRef name) const {
  return OfName(rules_, name, names);
}

std::span<const ZoneLine> TimeZoneData::LinesOf(NameRef name) const {
  return OfName(lines_, name, names);
}

size_t TimeZoneData::bytes_held() const {
  return BytesOf(rules_) + BytesOf(lines_) + names.bytes_held();
}

}  // namespace qv
