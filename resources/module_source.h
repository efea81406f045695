// The module source: typed resources and strings linked into a loaded module.
//
//   ZRInitModuleResources(instance);
//   qv::Bytes table = qv::ModuleSource().Find(qv::ResourceType("CHST"), 128);
//
// A type is four characters, the first in the most significant byte. Type names are stored in
// upper case by the resource compiler; look-ups ignore case. Bytes stay valid as long as the module
// is loaded. Threads: bound by one thread before others look up.
#pragma once

#include <cstdint>

#include "base/big_endian.h"
#include "base/errors.h"
#include "platform/windows_api.h"

namespace qv {

using ResourceTypeCode = uint32_t;

constexpr ResourceTypeCode ResourceType(const char (&name)[5]) {
  return static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[0])) << 24 |
         static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[1])) << 16 |
         static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[2])) << 8 |
         static_cast<uint8_t>(name[3]);
}

// The type of a numbered platform type: 6 is "STRS", 16 "VERS"; 0 and numbers above 16 are "????".
ResourceTypeCode TypeOfPlatformNumber(uint32_t number);

}  // namespace qv

class CModuleRes {
 public:
  CModuleRes() = default;
  virtual ~CModuleRes() = default;
  CModuleRes(const CModuleRes&) = delete;
  CModuleRes& operator=(const CModuleRes&) = delete;

  // Forgets what was bound before and serves this module from now on.
  void Bind(HMODULE module);
  virtual HMODULE GetModule() const { return module_; }

  // The bytes of a resource by number, empty when there is none. A negative number n is looked up
  // as -n under the type name "NEG" and the four characters; a blank at the end of a type is
  // dropped ("STR " is looked up as "STR") except there. Only the low 16 bits count.
  qv::Bytes Find(qv::ResourceTypeCode type, int32_t number) const;

  // Calls the callback for each numbered resource of the type, in the module's order, until it
  // answers exactly 1. Returns the calls made.
  using Callback = int (*)(qv::ResourceTypeCode type, int32_t number, void* user_data);
  uint32_t Enumerate(qv::ResourceTypeCode type, Callback callback, void* user_data) const;

 private:
  HMODULE module_ = nullptr;
};

// Binds the process's one module source; returns 0.
ZRError ZRInitModuleResources(HMODULE module);

namespace qv {
CModuleRes& ModuleSource();
}
