// A source whose resources stand in memory, for tests and fuzz targets. Everything that a file does
// is left out; release and reload answer for the handles given out, as a file's source does.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "memory/handle_bytes.h"
#include "resources/resource_source.h"

namespace test {

class MemorySource final : public CResSource {
 public:
  explicit MemorySource(CodePage cp = kUtf8) { code_page_ = cp; }
  ~MemorySource() override {
    for (auto& [key, resource] : resources_) ZRDisposeHandle(&resource.handle);
  }

  // Takes the place of what has that number.
  void Add(qv::ResourceTypeCode type, int32_t number, std::string bytes, std::string name = "") {
    Resource& resource = resources_[{type, number}];
    ZRDisposeHandle(&resource.handle);
    resource = {std::move(bytes), std::move(name), 0};
  }
  // A whole "STR#" of these strings.
  void AddList(int32_t number, const std::vector<std::string>& strings) {
    std::string list = {static_cast<char>(strings.size() >> 8), static_cast<char>(strings.size())};
    for (const std::string& text : strings) list += static_cast<char>(text.size()) + text;
    Add(qv::kStringListType, number, list);
  }
  uint32_t purges = 0;

  ZRHandle GetResource(qv::ResourceTypeCode type, int32_t number) override {
    return HandleOf(Find(type, number));
  }
  ZRHandle GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) override {
    return HandleOf(Find(type, name));
  }
  ZRHandle LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) override {
    return ZRCopyHandle(GetResource(type, number));
  }
  ZRHandle LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) override {
    return ZRCopyHandle(GetNamedResource(type, name));
  }
  int32_t GetResourceSize(qv::ResourceTypeCode type, int32_t number) override {
    const Resource* found = Find(type, number);
    return found ? static_cast<int32_t>(found->bytes.size()) : qv::kNoResource;
  }
  ZRError EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                        void* user_data) override {
    for (const auto& [key, resource] : resources_) {
      if (type != 0 && key.first != type) continue;
      Str255 name;
      qv::CStrToLStr(name, kMostLStr, resource.name.c_str());
      if (callback(key.first, key.second, name, code_page_, user_data) == qv::kStopWalk) break;
    }
    return ZRErrNone;
  }
  ZRError ReleaseResource(ZRHandle* handle) override {
    Resource* found = Find(*handle);
    if (found == nullptr) return ZRErrNotFound;
    ZRDisposeHandle(&found->handle);
    *handle = 0;
    return ZRErrNone;
  }
  void PurgeResources() override { ++purges; }
  ZRError ReloadResource(ZRHandle handle) override {
    return Find(handle) ? ZRErrNone : ZRErrNotFound;
  }

  ZRError Open(CDiskFile**, bool) override { return ZRErrNotSupported; }
  ZRError Create(CDiskFile*, uint32_t, uint32_t) override { return ZRErrNotSupported; }
  ZRError EnumTypes(qv::TypeCallback, void*) override { return ZRErrNotSupported; }
  ZRError GetResourceName(qv::ResourceTypeCode, int32_t, uint8_t*) override {
    return ZRErrNotSupported;
  }
  ZRError GetResourceNumberByName(qv::ResourceTypeCode, const uint8_t*, int32_t*) override {
    return ZRErrNotSupported;
  }
  ZRError SetResourceName(qv::ResourceTypeCode, int32_t, const uint8_t*) override {
    return ZRErrNotSupported;
  }
  ZRError RemoveResource(qv::ResourceTypeCode, int32_t) override { return ZRErrNotSupported; }
  ZRError ChangedResource(qv::ResourceTypeCode, int32_t) override { return ZRErrNotSupported; }
  ZRError AddResource(ZRHandle, qv::ResourceTypeCode, int32_t, const uint8_t*) override {
    return ZRErrNotSupported;
  }
  ZRError UpdateFile() override { return ZRErrNotSupported; }

 private:
  struct Resource {
    std::string bytes, name;
    ZRHandle handle = 0;
  };
  Resource* Find(qv::ResourceTypeCode type, int32_t number) {
    const auto found = resources_.find({type, number});
    return found == resources_.end() ? nullptr : &found->second;
  }
  Resource* Find(qv::ResourceTypeCode type, const uint8_t* name) {
    const qv::Bytes wanted = qv::LStrBytes(name);
    for (auto& [key, resource] : resources_) {
      if (key.first == type && resource.name == std::string(wanted.begin(), wanted.end())) {
        return &resource;
      }
    }
    return nullptr;
  }
  Resource* Find(ZRHandle handle) {
    for (auto& [key, resource] : resources_) {
      if (handle != 0 && resource.handle == handle) return &resource;
    }
    return nullptr;
  }
  static ZRHandle HandleOf(Resource* resource) {
    if (resource == nullptr) return 0;
    const auto size = static_cast<uint32_t>(resource->bytes.size());
    if (resource->handle == 0) {
      ZRHandleFromBytes(resource->bytes.data(), &resource->handle, size);
    }
    return resource->handle;
  }

  std::map<std::pair<qv::ResourceTypeCode, int32_t>, Resource> resources_;
};

inline std::string Text(const uint8_t* text) {
  const qv::Bytes bytes = qv::LStrBytes(text);
  return {bytes.begin(), bytes.end()};
}

}  // namespace test
