#include "memory/handle_bytes.h"

#include <algorithm>
#include <cstring>

#include "memory/handle_table.h"
#include "memory/memory_lock.h"

namespace {

// True when a + b does not fit 32 bits.
bool SumWraps(uint32_t a, uint32_t b) { return a > UINT32_MAX - b; }

// Copies into the block at `offset`, when there is a source: the end of a set or an append. The
// size was just changed, so the handle is live and unlocked, and the memory lock keeps it so; only
// a purged one cannot be locked, and is told so.
ZRError FillHandle(const void* source, ZRHandle handle, uint32_t offset, uint32_t size) {
  const qv::HandleEntry& entry =
      qv::TheHandleTable().entries[handle & qv::handle_layout::kIndexMask];
  if (entry.flags & qv::handle_state::kPurged) {
    ZRLockHandle(handle);
    return ZRErrMemHandle;
  }
  if (source == nullptr) return ZRErrMemParam;
  std::memcpy(static_cast<char*>(entry.data) + offset, source, size);
  return ZRErrNone;
}

}  // namespace

ZRHandle ZRCopyHandle(ZRHandle handle) {
  qv::MemoryOperation operation;
  const void* from = ZRLockHandle(handle);
  if (from == nullptr) return 0;
  const uint32_t size = ZRGetHandleSize(handle);
  ZRHandle copy = ZRNewHandle(size);
  if (copy != 0) {
    if (void* to = ZRLockHandle(copy)) {
      std::memcpy(to, from, size);
      ZRUnlockHandle(copy);
    } else {
      ZRDisposeHandle(&copy);
    }
  }
  ZRUnlockHandle(handle);
  return copy;
}

ZRError ZRHandleFromBytes(const void* source, ZRHandle* out, uint32_t size) {
  if (out == nullptr) return ZRErrMemParam;
  ZRHandle handle = ZRNewHandle(size);
  if (handle == 0) return ZRErrMemFull;
  if (size != 0) {
    void* block = ZRLockHandle(handle);
    if (block == nullptr) {
      ZRDisposeHandle(&handle);
      *out = 0;
      return ZRErrMemHandle;
    }
    if (source != nullptr) std::memcpy(block, source, size);
    ZRUnlockHandle(handle);
  }
  *out = handle;
  return ZRErrNone;
}

ZRError ZRSetHandleBytes(const void* source, ZRHandle handle, uint32_t size) {
  qv::MemoryOperation operation;
  const ZRError error = ZRSetHandleSize(handle, size);
  if (error != ZRErrNone || size == 0) return error;
  return FillHandle(source, handle, 0, size);
}

ZRError ZRAppendHandleBytes(const void* source, ZRHandle handle, uint32_t size) {
  if (size == 0) return ZRErrNone;
  qv::MemoryOperation operation;
  const uint32_t old_size = ZRGetHandleSize(handle);
  if (SumWraps(old_size, size)) return ZRErrMemFull;
  const ZRError error = ZRSetHandleSize(handle, old_size + size);
  return error == ZRErrNone ? FillHandle(source, handle, old_size, size) : error;
}

ZRError ZRGetHandleBytes(ZRHandle handle, void* destination, uint32_t* count) {
  if (destination == nullptr || count == nullptr) return ZRErrMemParam;
  qv::MemoryOperation operation;
  const void* block = ZRLockHandle(handle);
  if (block == nullptr) return ZRErrMemHandle;
  *count = std::min(*count, ZRGetHandleSize(handle));
  std::memcpy(destination, block, *count);
  ZRUnlockHandle(handle);
  return ZRErrNone;
}

ZRError ZRDeleteHandleBytes(ZRHandle handle, uint32_t offset, uint32_t count) {
  if (count == 0) return ZRErrNone;
  if (count > INT32_MAX || SumWraps(offset, count)) return ZRErrMemParam;
  const uint32_t size = ZRGetHandleSize(handle), end = offset + count;
  if (end > size) return ZRErrMemParam;
  if (end < size) {
    auto* block = static_cast<char*>(ZRLockHandle(handle));
    if (block == nullptr) return ZRErrMemParam;
    std::memmove(block + offset, block + end, size - end);
    ZRUnlockHandle(handle);
  }
  return ZRSetHandleSize(handle, size - count);
}
