#include "platform/host/resource_pack.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstring>

#include "platform/host/native_files.h"

namespace host {
namespace {

namespace pack_layout {
constexpr char kMagic[] = "QVRESPK1";
constexpr size_t kMagicSize = 8, kCount = 8, kEntries = 12, kEntrySize = 24;
// Within an entry.
constexpr size_t kType = 0, kTypeName = 4, kNumber = 8, kName = 12, kData = 16, kDataSize = 20;
}  // namespace pack_layout

constexpr uint32_t kNamed = 0xFFFFFFFF;

using Bytes = std::span<const uint8_t>;

// A whole file in memory, read-only.
class MappedFile {
 public:
  explicit MappedFile(const std::string& path) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.is_open() || fstat(file.number(), &status) != 0 || status.st_size <= 0) return;
    auto size = static_cast<size_t>(status.st_size);
    void* start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.number(), 0);
    if (start != MAP_FAILED) bytes_ = {static_cast<const uint8_t*>(start), size};
  }
  ~MappedFile() {
    if (!bytes_.empty()) munmap(const_cast<uint8_t*>(bytes_.data()), bytes_.size());
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  Bytes bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

bool Holds(Bytes bytes, uint64_t offset, uint64_t size) {
  return offset <= bytes.size() && size <= bytes.size() - offset;
}

// A structure of the file, or nothing when it does not lie wholly inside.
template <typename Record>
std::optional<Record> ReadRecord(Bytes bytes, uint64_t offset) {
  if (!Holds(bytes, offset, sizeof(Record))) return std::nullopt;
  Record record;
  std::memcpy(&record, bytes.data() + offset, sizeof record);
  return record;
}

// The text at an offset, or nothing when its end is missing.
std::optional<std::string> ReadText(Bytes bytes, uint64_t offset) {
  if (offset >= bytes.size()) return std::nullopt;
  const uint8_t* start = bytes.data() + offset;
  const void* end = std::memchr(start, 0, bytes.size() - offset);
  if (!end) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(start), static_cast<const char*>(end));
}

uint32_t ReadNumber(Bytes pack, size_t offset) {
  return ReadRecord<uint32_t>(pack, offset).value_or(0);
}

// A number, or the text at an offset in its place.
std::optional<ResourceName> ReadName(Bytes pack, uint32_t number, uint32_t named, size_t offset) {
  if (number != named) return ResourceName{number, ""};
  std::optional<std::string> text = ReadText(pack, offset);
  if (!text || text->empty()) return std::nullopt;
  return ResourceName{0, *text};
}

std::optional<Resource> ReadEntry(Bytes pack, size_t at) {
  using namespace pack_layout;
  auto field = [&](size_t offset) { return ReadNumber(pack, at + offset); };
  auto type = ReadName(pack, field(kType), 0, field(kTypeName));
  auto name = ReadName(pack, field(kNumber), kNamed, field(kName));
  if (!type || !name || !Holds(pack, field(kData), field(kDataSize))) return std::nullopt;
  return Resource{*type, *name, pack.subspan(field(kData), field(kDataSize))};
}

// Whether the loader mapped the file's addresses [address, address + size).
bool IsLoaded(Bytes file, const ElfW(Ehdr) & header, uint64_t address, uint64_t size) {
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    auto segment = ReadRecord<ElfW(Phdr)>(file, header.e_phoff + i * sizeof(ElfW(Phdr)));
    if (segment && segment->p_type == PT_LOAD && address >= segment->p_vaddr &&
        size <= segment->p_filesz && address - segment->p_vaddr <= segment->p_filesz - size) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<ResourceList> ParseResourcePack(Bytes pack) {
  using namespace pack_layout;
  if (!Holds(pack, 0, kEntries) || std::memcmp(pack.data(), kMagic, kMagicSize) != 0) {
    return std::nullopt;
  }
  uint32_t count = ReadNumber(pack, kCount);
  if (!Holds(pack, kEntries, uint64_t{count} * kEntrySize)) return std::nullopt;
  ResourceList list;
  for (uint32_t i = 0; i < count; ++i) {
    std::optional<Resource> entry = ReadEntry(pack, kEntries + i * kEntrySize);
    if (!entry) return std::nullopt;
    list.push_back(std::move(*entry));
  }
  return list;
}

Bytes FindLoadedSection(const std::string& path, uintptr_t load_base, const std::string& section) {
  MappedFile file(path);
  Bytes bytes = file.bytes();
  auto header = ReadRecord<ElfW(Ehdr)>(bytes, 0);
  if (!header || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
      header->e_shentsize != sizeof(ElfW(Shdr)) || header->e_phentsize != sizeof(ElfW(Phdr))) {
    return {};
  }
  auto section_at = [&](unsigned i) {
    return ReadRecord<ElfW(Shdr)>(bytes, header->e_shoff + i * sizeof(ElfW(Shdr)));
  };
  auto names = section_at(header->e_shstrndx);
  for (unsigned i = 0; names && i < header->e_shnum; ++i) {
    auto entry = section_at(i);
    if (!entry || ReadText(bytes, names->sh_offset + entry->sh_name) != section) continue;
    bool loaded = (entry->sh_flags & SHF_ALLOC) != 0 &&
                  IsLoaded(bytes, *header, entry->sh_addr, entry->sh_size);
    if (!loaded) return {};
    return {reinterpret_cast<const uint8_t*>(load_base + entry->sh_addr), entry->sh_size};
  }
  return {};
}

}  // namespace host
