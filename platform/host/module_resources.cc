#include "platform/host/module_resources.h"

#include <map>
#include <mutex>
#include <utility>

#include "platform/host/module_list.h"

namespace host {
namespace {

struct ResourceCache {
  struct Entry {
    std::string file;
    uintptr_t load_base;
    ResourceList list;
  };
  std::mutex mutex;
  std::map<HMODULE, Entry> modules;
};

ResourceCache& State() {
  static auto& state = *new ResourceCache;
  return state;
}

}  // namespace

const ResourceList* ResourcesOf(HMODULE handle) {
  LoadedModule module = FindModule(handle);
  if (!module.handle) return nullptr;
  ResourceCache& cache = State();
  std::lock_guard hold(cache.mutex);
  auto found = cache.modules.find(module.handle);
  // The loader may have given a closed module's place to another.
  if (found != cache.modules.end() &&
      (found->second.file != module.file || found->second.load_base != module.load_base)) {
    cache.modules.erase(found);
    found = cache.modules.end();
  }
  if (found == cache.modules.end()) {
    std::span<const uint8_t> pack = FindLoadedSection(module.file, module.load_base, ".qvres");
    ResourceList list = ParseResourcePack(pack).value_or(ResourceList{});
    ResourceCache::Entry entry{module.file, module.load_base, std::move(list)};
    found = cache.modules.emplace(module.handle, std::move(entry)).first;
  }
  return &found->second.list;
}

void ForgetResources(HMODULE module) {
  ResourceCache& cache = State();
  std::lock_guard hold(cache.mutex);
  cache.modules.erase(module);
}

}  // namespace host
