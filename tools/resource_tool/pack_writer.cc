#include <fstream>

#include "tools/resource_tool/writers.h"

namespace qvresource {
namespace {

constexpr char kMagic[] = "QVRESPK1";
constexpr size_t kEntrySize = 24;
constexpr size_t kEntriesOffset = 12;

constexpr uint32_t kNamed = 0xFFFFFFFF;  // in place of a number

// Names of types and resources, each once, behind the entries.
std::map<std::string, uint32_t> PlaceNames(const ResourceSet& set, ByteVector& tail, size_t start) {
  std::map<std::string, uint32_t> places;
  for (const auto& [key, bytes] : set.resources()) {
    for (const std::string& name : {key.first.name, key.second.name}) {
      if (name.empty() || places.count(name)) continue;
      places[name] = static_cast<uint32_t>(start + tail.size());
      tail.insert(tail.end(), name.begin(), name.end());
      tail.push_back(0);
    }
  }
  return places;
}

}  // namespace

ByteVector EncodePack(const ResourceSet& set) {
  const auto& resources = set.resources();
  const size_t start = kEntriesOffset + resources.size() * kEntrySize;
  ByteVector pack(kMagic, kMagic + 8), tail;
  const auto names = PlaceNames(set, tail, start);
  AppendLittle(pack, static_cast<uint32_t>(resources.size()), 4);
  for (const auto& [key, bytes] : resources) {
    const auto& [type, name] = key;
    AlignTo4(tail);
    AppendLittle(pack, type.number, 4);
    AppendLittle(pack, type.name.empty() ? 0 : names.at(type.name), 4);
    AppendLittle(pack, name.name.empty() ? name.number : kNamed, 4);
    AppendLittle(pack, name.name.empty() ? 0 : names.at(name.name), 4);
    AppendLittle(pack, static_cast<uint32_t>(start + tail.size()), 4);
    AppendLittle(pack, static_cast<uint32_t>(bytes.size()), 4);
    tail.insert(tail.end(), bytes.begin(), bytes.end());
  }
  pack.insert(pack.end(), tail.begin(), tail.end());
  return pack;
}

bool WritePack(const std::string& path, const ResourceSet& set, Problem& problem) {
  const ByteVector pack = EncodePack(set);
  const std::string body = path + ".pack";
  return WriteFile(body, std::string(pack.begin(), pack.end()), problem) &&
         WriteFile(path,
                   "  .section .qvres,\"a\",@progbits\n  .balign 8\n  .incbin \"" + body +
                       "\"\n  .section .note.GNU-stack,\"\",@progbits\n",
                   problem);
}

bool WriteFile(const std::string& path, const std::string& bytes, Problem& problem) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  return out.good() || problem.Set({path, 0}, "cannot be written");
}

}  // namespace qvresource
