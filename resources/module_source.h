// The module source: typed resources and strings linked into a loaded module.
//
//   ZRInitModuleResources(instance);
//   qv::Bytes table = qv::ModuleSource().Find(qv::ResourceType("CHST"), 128);   // no copy
//   ZRHandle copy = qv::ModuleSource().LoadResourceCopy(qv::ResourceType("ZRtz"), 1);
//
// How types, numbers and names are looked up: module_lookup.h. A name is used with its first 79
// bytes, up to a zero byte.
//
// Text lies in the platform's string table, in code page 1252: string `index` of list L is number
// L * 16 + index - 1, so that a list is one of the platform's blocks of 16, and a string that is
// empty or not there is not found. Index 0, or one behind the 16th, would read another list and
// finds nothing. A conversion gets all the room that the caller gives it.
//
// Threads: bound by one thread before others look up; bytes may then be looked up by any thread,
// handles and text by one task at a time. An unbound source has nothing.
// Memory: binding and looking up bytes need none of ours. Handles that GetResource gives out belong
// to the source and are disposed of when it is bound anew.
#pragma once

#include <cstdint>

#include "base/big_endian.h"
#include "base/errors.h"
#include "platform/windows_api.h"
#include "resources/module_lookup.h"
#include "resources/resource_cache.h"
#include "resources/resource_source.h"

class CModuleRes : public CResSource {
 public:
  CModuleRes();
  ~CModuleRes() override;

  // Forgets what was bound before (and unloads it, when Open loaded it), disposes of the handles
  // given out, and serves this module from now on.
  void Bind(HMODULE module);

  // The bytes of a resource by number, empty when there is none. They stay valid as long as the
  // module is loaded.
  qv::Bytes Find(qv::ResourceTypeCode type, int32_t number) const;

  // Calls the callback for each numbered resource of the type (letter case ignored; 0: all types),
  // in the module's order, until it answers exactly 1. Returns the calls made.
  using Callback = int (*)(qv::ResourceTypeCode type, int32_t number, void* user_data);
  uint32_t Enumerate(qv::ResourceTypeCode type, Callback callback, void* user_data) const;

  // Loads the file as a module and serves it. The file is released and *file null only on success;
  // after a failure nothing is bound. ZRErrParam without a file, ZRErrNotFound when there is none
  // at the path, ZRErrOpenFailed when it is no module or its path passes 255 bytes.
  ZRError Open(CDiskFile** file, bool read_only) override;

  ZRHandle GetResource(qv::ResourceTypeCode type, int32_t number) override;
  ZRHandle GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) override;
  ZRHandle LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) override;
  ZRHandle LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) override;
  // Of the handle given out, when there is one, else of the module's bytes.
  int32_t GetResourceSize(qv::ResourceTypeCode type, int32_t number) override;
  // Answers ZRErrNotSupported, whatever it called: its caller counts.
  ZRError EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                        void* user_data) override;

  bool GetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum,
                    CodePage cp) override;
  // What is read from the module is cut to the buffer first.
  bool GetString(char* out, int32_t number, int32_t size, CodePage cp) override;

  // What a module does not offer: ZRErrNotSupported.
  ZRError Create(CDiskFile* file, uint32_t word_1, uint32_t word_2) override;
  ZRError EnumTypes(qv::TypeCallback callback, void* user_data) override;
  ZRError GetResourceName(qv::ResourceTypeCode type, int32_t number, uint8_t* name) override;
  ZRError GetResourceNumberByName(qv::ResourceTypeCode type, const uint8_t* name,
                                  int32_t* number) override;
  ZRError SetResourceName(qv::ResourceTypeCode type, int32_t number, const uint8_t* name) override;
  ZRError RemoveResource(qv::ResourceTypeCode type, int32_t number) override;
  ZRError ChangedResource(qv::ResourceTypeCode type, int32_t number) override;
  ZRError AddResource(ZRHandle handle, qv::ResourceTypeCode type, int32_t number,
                      const uint8_t* name) override;
  ZRError UpdateFile() override;
  ZRError ReleaseResource(ZRHandle* handle) override;  // it stays
  ZRError ReloadResource(ZRHandle handle) override;
  void PurgeResources() override;  // does nothing

  // 29. Behind the operations of every source.
  virtual HMODULE GetModule() const { return module_; }

  const qv::ResourceCache& cache() const { return cache_; }

 private:
  void Reset();
  ZRHandle Load(qv::ResourceTypeCode type, int32_t number, const char* name) const;
  ZRHandle GetOrLoad(qv::ResourceTypeCode type, int32_t number, const char* name);

  HMODULE module_ = nullptr;
  uint32_t loaded_here_ = 0;  // 1: Open loaded the module, Reset unloads it
  qv::ResourceCache cache_;
};
static_assert(sizeof(void*) != 4 || sizeof(CModuleRes) == 24);

// Binds the process's one module source; returns 0. The source is always the last of the chain.
ZRError ZRInitModuleResources(HMODULE module);

namespace qv {
CModuleRes& ModuleSource();
}
