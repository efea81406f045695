#include "tests/resources/fork_bytes.h"

#include <algorithm>
#include <climits>
#include <ostream>

namespace test {

std::ostream& operator<<(std::ostream& out, const ForkEntry& entry) {
  return out << entry.type << " " << entry.number << " \"" << entry.name << "\" "
             << entry.body.size() << ":" << entry.body.substr(0, 20);
}

std::string Big(uint32_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i));
  return text;
}

void Poke(std::string& bytes, size_t at, uint32_t value, int width) {
  bytes.replace(at, static_cast<size_t>(width), Big(value, width));
}

uint32_t Peek(const std::string& bytes, size_t at, int width) {
  uint32_t value = 0;
  for (int i = 0; i < width; ++i) {
    value = value << 8 | static_cast<uint8_t>(bytes.at(at + static_cast<size_t>(i)));
  }
  return value;
}

ForkContents ReadFork(const std::string& bytes, bool may_go_on) {
  ForkContents contents;
  auto fail = [&contents](const std::string& error) {
    contents.error = error;
    return contents;
  };
  if (bytes.size() < 16) return fail("no header");
  contents.data_offset = Peek(bytes, 0, 4);
  contents.map_offset = Peek(bytes, 4, 4);
  contents.data_length = Peek(bytes, 8, 4);
  contents.map_length = Peek(bytes, 12, 4);
  const size_t map = contents.map_offset, end = map + contents.map_length;
  if (contents.data_offset + contents.data_length != map) return fail("the map is not behind");
  if (end > bytes.size() || (!may_go_on && end != bytes.size())) return fail("wrong end");
  if (contents.map_length < 30) return fail("no map");
  const uint32_t types_at = Peek(bytes, map + 24, 2), names_at = Peek(bytes, map + 26, 2);
  const int types = static_cast<int16_t>(Peek(bytes, map + 28, 2)) + 1;
  if (types_at != 28 || names_at > contents.map_length) return fail("wrong lists");
  size_t reference_at = types_at + 2 + 8 * static_cast<size_t>(types), names = 0, bodies = 0;
  for (int t = 0; t < types; ++t) {
    const size_t type = map + 30 + 8 * static_cast<size_t>(t);
    if (types_at + Peek(bytes, type + 6, 2) != reference_at) return fail("references not grouped");
    for (int left = static_cast<int16_t>(Peek(bytes, type + 4, 2)) + 1; left > 0; --left) {
      if (reference_at + 12 > names_at) return fail("too many references");
      const size_t at = map + reference_at;
      reference_at += 12;
      ForkEntry entry{bytes.substr(type, 4), static_cast<int16_t>(Peek(bytes, at, 2)), "",
                      "(none)"};
      const uint32_t name = Peek(bytes, at + 2, 2), body = Peek(bytes, at + 5, 3);
      if (name != 0xFFFF) {
        const size_t length_at = map + names_at + name;
        if (length_at >= end) return fail("name outside");
        entry.name = bytes.substr(length_at + 1, static_cast<uint8_t>(bytes[length_at]));
        names += entry.name.size() + 1;
      }
      if (body != 0xFFFFFF) {
        const size_t length_at = contents.data_offset + body;
        if (length_at + 4 > map) return fail("body outside");
        const uint32_t length = Peek(bytes, length_at, 4);
        if (length > map - length_at - 4) return fail("body too long");
        entry.body = bytes.substr(length_at + 4, length);
        bodies += length + 4;
      }
      contents.entries.push_back(entry);
    }
  }
  if (reference_at != names_at) return fail("references left over");
  if (names != contents.map_length - names_at) return fail("names left over");
  if (bodies != contents.data_length) return fail("data left over");
  return contents;
}

std::string WithoutHandles(std::string bytes) {
  const size_t map = Peek(bytes, 4, 4);
  const size_t types = Peek(bytes, map + 28, 2) + 1;
  const size_t end = map + Peek(bytes, map + 26, 2);
  for (size_t at = map + 30 + 8 * (types & 0xFFFF); at + 12 <= end; at += 12) {
    Poke(bytes, at + 8, 0, 4);
  }
  return bytes;
}

// --- the model ---

ForkModel::Resource& ForkModel::Find(const std::string& type, int number) {
  auto& all = resources_.at(type);
  return *std::find_if(all.begin(), all.end(),
                       [number](const Resource& r) { return r.number == number; });
}

void ForkModel::Add(const std::string& type, int number, const std::string& body,
                    const std::string& name) {
  if (resources_[type].empty()) types_.push_back(type);
  resources_[type].push_back({number, name, body, -1, true, next_id_++});
  if (!name.empty()) names_.push_back(name);
}

ForkBuilder& ForkBuilder::Add(const std::string& type, int number, const std::string& body,
                              const std::string& name) {
  model_.data_order_.push_back(model_.next_id_);
  model_.Add(type, number, body, name);
  model_.Find(type, number).written = INT_MAX;  // so that it keeps its place
  return *this;
}

void ForkModel::Change(const std::string& type, int number, const std::string& body) {
  Find(type, number).body = body;
  Find(type, number).changed = true;
}

void ForkModel::Rename(const std::string& type, int number, const std::string& name) {
  Resource& resource = Find(type, number);
  if (!resource.name.empty()) names_.erase(std::find(names_.begin(), names_.end(), resource.name));
  resource.name = name;
  if (!name.empty()) names_.push_back(name);
}

void ForkModel::Remove(const std::string& type, int number) {
  Rename(type, number, "");
  auto& all = resources_.at(type);
  const int id = Find(type, number).id;
  std::erase(data_order_, id);
  all.erase(std::find_if(all.begin(), all.end(), [id](const Resource& r) { return r.id == id; }));
  if (all.empty()) std::erase(types_, type);
}

std::string ForkModel::Update() {
  std::map<int, Resource*> by_id;
  std::vector<int> list_order;
  for (const std::string& type : types_) {
    for (Resource& resource : resources_[type]) {
      by_id[resource.id] = &resource;
      list_order.push_back(resource.id);
    }
  }
  std::vector<int> order;
  for (const int id : data_order_) {
    const Resource& r = *by_id[id];
    if (!r.changed || static_cast<int>(r.body.size()) <= r.written) order.push_back(id);
  }
  for (const int id : list_order) {
    if (std::find(order.begin(), order.end(), id) == order.end()) order.push_back(id);
  }
  data_order_ = order;
  std::map<int, uint32_t> offsets;
  std::string data;
  for (const int id : order) {
    Resource& r = *by_id[id];
    offsets[id] = static_cast<uint32_t>(data.size());
    data += Big(static_cast<uint32_t>(r.body.size()), 4) + r.body;
    r.written = static_cast<int>(r.body.size());
    r.changed = false;
  }
  std::map<std::string, uint32_t> name_offsets;
  std::string names, types, references;
  for (const std::string& name : names_) {
    name_offsets[name] = static_cast<uint32_t>(names.size());
    names += static_cast<char>(name.size()) + name;
  }
  uint32_t first = 2 + 8 * static_cast<uint32_t>(types_.size());
  for (const std::string& type : types_) {
    const auto count = static_cast<uint32_t>(resources_[type].size());
    types += type + Big(count - 1, 2) + Big(first, 2);
    first += 12 * count;
    for (const Resource& r : resources_[type]) {
      references += Big(static_cast<uint16_t>(r.number), 2) +
                    Big(r.name.empty() ? 0xFFFF : name_offsets.at(r.name), 2) + Big(0, 1) +
                    Big(offsets.at(r.id), 3) + Big(0, 4);
    }
  }
  const auto size = static_cast<uint32_t>(data.size());
  const std::string lists = types + references;
  const std::string header = Big(256, 4) + Big(256 + size, 4) + Big(size, 4) +
                             Big(static_cast<uint32_t>(30 + lists.size() + names.size()), 4);
  return header + std::string(240, 0) + data + header + std::string(8, 0) + Big(28, 2) +
         Big(static_cast<uint32_t>(30 + lists.size()), 2) +
         Big(static_cast<uint32_t>(types_.size()) - 1, 2) + lists + names;
}

std::vector<ForkEntry> ForkModel::Entries() const {
  std::vector<ForkEntry> entries;
  for (const std::string& type : types_) {
    for (const Resource& r : resources_.at(type)) {
      entries.push_back({type, r.number, r.name, r.body});
    }
  }
  return entries;
}

}  // namespace test
