#include "resources/resource_cache.h"

#include <cstring>

#include "base/hooks.h"
#include "resources/locked_handle.h"

namespace qv {
namespace {

constexpr int32_t kGrowth = 32;  // entries

struct CacheEntry {
  ResourceTypeCode type;
  int32_t number;
  char* name;  // owned, from the allocation hook; null when there is none
  ZRHandle handle;
};
static_assert(sizeof(void*) != 4 || sizeof(CacheEntry) == 16);

uint32_t TableSize(int32_t entries) {
  return static_cast<uint32_t>(entries) * static_cast<uint32_t>(sizeof(CacheEntry));
}

CacheEntry* Entries(const LockedHandle& table) {
  return reinterpret_cast<CacheEntry*>(table.data());
}

bool Fits(const CacheEntry& entry, ResourceTypeCode type, int32_t number, const char* name) {
  if (entry.type != type) return false;
  if (name != nullptr && entry.name != nullptr) return std::strcmp(name, entry.name) == 0;
  return entry.number == number;
}

char* CopyOf(const char* name) {
  if (name == nullptr) return nullptr;
  const size_t size = std::strlen(name) + 1;
  void* copy = GlobalHooks().allocate(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, name, size));
}

}  // namespace

ZRHandle ResourceCache::Find(ResourceTypeCode type, int32_t number, const char* name) const {
  const LockedHandle table(table_);
  if (table.data() == nullptr) return 0;
  for (const CacheEntry *entry = Entries(table), *end = entry + count_; entry != end; ++entry) {
    if (Fits(*entry, type, number, name)) return entry->handle;
  }
  return 0;
}

void ResourceCache::Add(ResourceTypeCode type, int32_t number, const char* name, ZRHandle handle) {
  if (table_ == 0) table_ = ZRNewHandle(TableSize(kGrowth));
  char* copy = nullptr;
  {
    const LockedHandle table(table_);
    if (table.data() == nullptr) return;
    copy = CopyOf(name);
    Entries(table)[count_] = {type, number, copy, handle};
  }
  ++count_;
  if (count_ % kGrowth != 0) return;
  if (ZRSetHandleSize(table_, TableSize(count_ + kGrowth)) == ZRErrNone) return;
  --count_;  // the entry just added is forgotten: the next one needs its place
  GlobalHooks().release(copy);
}

void ResourceCache::Reset() {
  if (table_ == 0) return;
  {
    const LockedHandle table(table_);
    if (table.data() == nullptr) count_ = 0;
    for (CacheEntry *entry = Entries(table), *end = entry + count_; entry != end; ++entry) {
      GlobalHooks().release(entry->name);
      ZRDisposeHandle(&entry->handle);
    }
  }
  ZRDisposeHandle(&table_);
  table_ = 0;  // also when somebody else had disposed of it
  count_ = 0;
}

int32_t ResourceCache::capacity() const {
  return static_cast<int32_t>(ZRGetHandleSize(table_) / sizeof(CacheEntry));
}

}  // namespace qv
