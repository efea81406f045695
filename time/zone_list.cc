#include "time/zone_list.h"

#include <algorithm>

namespace qv {
namespace {

constexpr char kEntryEnd = ';', kIdStart = '=', kEscape = '\\', kDelete = 0x7F;

bool IsControl(char c) { return static_cast<uint8_t>(c) < ' ' || c == kDelete; }

}  // namespace

void ZoneListEntry::RemoveControlCharacters() {
  const auto end = std::remove_if(bytes.begin(), bytes.begin() + size, IsControl);
  size = static_cast<size_t>(end - bytes.begin());
}

bool ZoneListReader::Next(ZoneListEntry& entry) {
  if (at_ >= text_.size()) return false;
  ReadName(entry);
  entry.id = at_ < text_.size() && text_[at_] == kIdStart ? ReadId() : next_id_;
  next_id_ = entry.id + 1;
  at_ = std::min(text_.find(kEntryEnd, at_), text_.size() - 1) + 1;
  return true;
}

// Up to the '=' or the end of the entry.
void ZoneListReader::ReadName(ZoneListEntry& entry) {
  bool too_long = false;
  entry.size = 0;
  for (; at_ < text_.size(); ++at_) {
    char c = text_[at_];
    if (c == kEntryEnd || c == kIdStart) break;
    if (c == kEscape && escapes_ && at_ + 1 < text_.size()) c = text_[++at_];
    too_long = too_long || entry.size == entry.bytes.size();
    if (!too_long) entry.bytes[entry.size++] = c;
  }
  if (too_long) entry.size = 0;
}

// From the '=' on.
uint32_t ZoneListReader::ReadId() {
  uint32_t id = 0;
  bool negative = false;
  for (++at_; at_ < text_.size(); ++at_) {
    const char c = text_[at_];
    if (c >= '0' && c <= '9') {
      id = id * 10 + static_cast<uint32_t>(c - '0');
    } else if (c == '-') {
      negative = true;
    } else if (c != ' ') {
      break;
    }
  }
  return negative ? 0 - id : id;
}

}  // namespace qv
