#include "platform/host/profile_text.h"

#include <algorithm>

#include "platform/host/text.h"

namespace host {
namespace {

constexpr std::string_view kBlanks(" \t\v\f\0", 5);
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
  size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool SameName(std::string_view a, std::string_view b) {
  return SameIgnoringCase(Utf8FromAnsi(Trim(a)), Utf8FromAnsi(Trim(b)));
}

// The name in a heading, or nothing for any other line.
std::optional<std::string_view> HeadingOf(std::string_view line) {
  line = Trim(line);
  if (line.empty() || line[0] != '[') return std::nullopt;
  size_t end = line.rfind(']');
  if (end == std::string_view::npos) return std::nullopt;
  return Trim(line.substr(1, end - 1));
}

// The key of a line, or nothing for a comment, a heading or an empty line.
std::optional<std::string_view> KeyOf(std::string_view line) {
  line = Trim(line);
  if (line.empty() || line[0] == ';' || HeadingOf(line)) return std::nullopt;
  return Trim(line.substr(0, line.find('=')));
}

std::string_view WithoutQuotes(std::string_view value) {
  bool quoted =
      value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

ProfileText::ProfileText(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) {
    mark_ = kByteOrderMark;
    text.remove_prefix(kByteOrderMark.size());
  }
  while (!text.empty()) {
    size_t end = std::min(text.find_first_of("\r\n"), text.size());
    lines_.emplace_back(text.substr(0, end));
    bool pair = text.substr(end, 2) == "\r\n";
    text.remove_prefix(std::min(end + (pair ? 2 : 1), text.size()));
  }
}

std::optional<ProfileText::Range> ProfileText::FindSection(std::string_view section) const {
  for (size_t i = 0; i < lines_.size(); ++i) {
    auto heading = HeadingOf(lines_[i]);
    if (!heading || !SameName(*heading, section)) continue;
    size_t last = i + 1;
    while (last < lines_.size() && !HeadingOf(lines_[last])) ++last;
    return Range{i + 1, last};
  }
  return std::nullopt;
}

std::optional<size_t> ProfileText::FindKey(Range range, std::string_view key) const {
  for (size_t i = range.first; i < range.last; ++i) {
    auto name = KeyOf(lines_[i]);
    if (name && SameName(*name, key)) return i;
  }
  return std::nullopt;
}

std::vector<std::string> ProfileText::Sections() const {
  std::vector<std::string> names;
  for (const std::string& line : lines_) {
    if (auto heading = HeadingOf(line)) names.emplace_back(*heading);
  }
  return names;
}

std::vector<std::string> ProfileText::Keys(std::string_view section) const {
  std::vector<std::string> names;
  auto range = FindSection(section);
  for (size_t i = range ? range->first : 0; range && i < range->last; ++i) {
    if (auto key = KeyOf(lines_[i])) names.emplace_back(*key);
  }
  return names;
}

std::optional<std::string> ProfileText::Value(std::string_view section,
                                              std::string_view key) const {
  auto range = FindSection(section);
  auto at = range ? FindKey(*range, key) : std::nullopt;
  if (!at) return std::nullopt;
  std::string_view line = lines_[*at];
  size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return std::string(WithoutQuotes(Trim(line.substr(equals + 1))));
}

void ProfileText::SetValue(std::string_view section, std::string_view key, std::string_view value) {
  auto range = FindSection(section);
  if (!range) {
    lines_.push_back("[" + std::string(section) + "]");
    range = Range{lines_.size(), lines_.size()};
  }
  std::string line = std::string(key) + "=" + std::string(value);
  if (auto at = FindKey(*range, key)) {
    lines_[*at] = line;
    return;
  }
  // Behind the section's last line that is not empty.
  size_t place = range->last;
  while (place > range->first && Trim(lines_[place - 1]).empty()) --place;
  lines_.insert(lines_.begin() + static_cast<ptrdiff_t>(place), line);
}

void ProfileText::RemoveKey(std::string_view section, std::string_view key) {
  auto range = FindSection(section);
  auto at = range ? FindKey(*range, key) : std::nullopt;
  if (at) lines_.erase(lines_.begin() + static_cast<ptrdiff_t>(*at));
}

void ProfileText::RemoveSection(std::string_view section) {
  auto range = FindSection(section);
  if (!range) return;
  lines_.erase(lines_.begin() + static_cast<ptrdiff_t>(range->first) - 1,
               lines_.begin() + static_cast<ptrdiff_t>(range->last));
}

std::string ProfileText::Format() const {
  std::string text = mark_;
  for (const std::string& line : lines_) text += line + "\r\n";
  return text;
}

}  // namespace host
