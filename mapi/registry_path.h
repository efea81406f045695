// A walk down the registry from one root: each key is opened or created below the one before it,
// with full access.
//
//   qv::RegistryPath path(HKEY_CURRENT_USER);
//   LSTATUS status = path.Open("SOFTWARE");
//   if (status == 0) status = path.SetText(nullptr, "Quorvantis");
//
// The end of the object closes what it opened, the innermost key first. Errors: the registry's own
// numbers; after a failure the walk stands where it stood.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

namespace qv {

class RegistryPath {
 public:
  // `root` stays the caller's: a predefined key, or the key of another walk that lives longer.
  explicit RegistryPath(HKEY root) : root_(root) {}
  ~RegistryPath();
  RegistryPath(const RegistryPath&) = delete;
  RegistryPath& operator=(const RegistryPath&) = delete;

  LSTATUS Open(const char* subkey);
  // Opens the key when it is there already.
  LSTATUS Create(const char* subkey);
  // Writes a text value (null: the unnamed one), its terminator counted in the stored size.
  LSTATUS SetText(const char* name, const char* text) const;

  // The innermost key.
  HKEY Key() const { return count_ ? keys_[count_ - 1] : root_; }

 private:
  static constexpr uint32_t kMostKeys = 10;

  LSTATUS Enter(LSTATUS status, HKEY key);

  HKEY root_;
  HKEY keys_[kMostKeys] = {};
  uint32_t count_ = 0;
};

}  // namespace qv
