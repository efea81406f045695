// The handles that a module source has given out, so that each resource is loaded once.
//
// The entries lie in a handle with room for 32, more when those are used. It is made when the first
// entry comes, so a source that only looks up bytes needs no memory. Without memory a handle is
// given out all the same but not remembered: the next request loads the resource anew.
//
// An entry of a named resource counts as number 0 for a request by number, and an entry without a
// name as a hit for a name when its number is 0.
// Threads: one task. The entries and their handles belong to the cache until Reset.
#pragma once

#include <cstdint>

#include "memory/handles.h"
#include "resources/resource_source.h"

namespace qv {

class ResourceCache {
 public:
  ResourceCache() = default;
  ~ResourceCache() { Reset(); }
  ResourceCache(const ResourceCache&) = delete;
  ResourceCache& operator=(const ResourceCache&) = delete;

  // The first entry that fits, or 0. `name` is null for a request by number.
  ZRHandle Find(ResourceTypeCode type, int32_t number, const char* name) const;
  // Remembers a handle under a copy of the name (none when there is no memory for it).
  void Add(ResourceTypeCode type, int32_t number, const char* name, ZRHandle handle);
  // Disposes of every handle and forgets it.
  void Reset();

  int32_t count() const { return count_; }
  // Entries that the table has room for.
  int32_t capacity() const;

 private:
  ZRHandle table_ = 0;
  int32_t count_ = 0;
};

}  // namespace qv
