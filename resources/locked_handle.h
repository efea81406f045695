// The bytes of a handle for the length of a scope.
#pragma once

#include "base/big_endian.h"
#include "memory/handles.h"

namespace qv {

class LockedHandle {
 public:
  explicit LockedHandle(ZRHandle handle)
      : handle_(handle), data_(static_cast<uint8_t*>(ZRLockHandle(handle))) {}
  ~LockedHandle() {
    if (data_ != nullptr) ZRUnlockHandle(handle_);
  }
  LockedHandle(const LockedHandle&) = delete;
  LockedHandle& operator=(const LockedHandle&) = delete;

  // Null when the handle is 0, purged or not live.
  uint8_t* data() const { return data_; }
  // Empty then.
  Bytes bytes() const {
    return data_ == nullptr ? Bytes() : Bytes(data_, ZRGetHandleSize(handle_));
  }

 private:
  ZRHandle handle_;
  uint8_t* data_;
};

}  // namespace qv
