// Bodies: from the file into handles, and out of memory again.
#include <algorithm>
#include <cstring>

#include "memory/handle_bytes.h"
#include "resources/locked_handle.h"
#include "resources/resource_file.h"

using qv::Reference;

namespace {

constexpr int kMostTries = 10;  // of a body that other tasks move while it is read
constexpr uint32_t kAllMemory = 0x7FFFFFFF;

bool IsReadable(ZRHandle handle) { return qv::LockedHandle(handle).data() != nullptr; }

}  // namespace

uint64_t CRezFmt::PlaceOf(const Reference& reference) const {
  return static_cast<uint64_t>(header_.data_offset) + reference.offset();
}

// The length word; ZRErrResDamaged when the body is not wholly in the fork.
ZRError CRezFmt::LengthOf(const Reference& reference, uint32_t* length) const {
  *length = 0;
  if (!reference.HasBody()) return ZRErrResNotFound;
  if (fork_.file == nullptr) return ZRErrNotFound;
  return qv::ReadBodyLength(fork_, fork_size_, PlaceOf(reference), length);
}

// A new handle with the body; 0 with the error.
ZRHandle CRezFmt::ReadBody(const Reference& reference, ZRError* error) const {
  uint32_t length = 0;
  *error = LengthOf(reference, &length);
  if (*error != ZRErrNone) return 0;
  ZRHandle body = ZRNewHandle(length);
  {
    const qv::LockedHandle bytes(body);
    *error = bytes.data() == nullptr
                 ? ZRErrResMemory
                 : fork_.Read(bytes.data(), length, PlaceOf(reference) + qv::kLengthSize);
  }
  if (*error != ZRErrNone) ZRDisposeHandle(&body);
  return *error == ZRErrNone ? body : 0;
}

// The body's bytes into a handle that is there; what it holds stays when they are not to be had.
ZRError CRezFmt::Refill(ZRHandle handle, const Reference& reference) const {
  ZRError error = ZRErrNone;
  ZRHandle body = ReadBody(reference, &error);
  if (body == 0) return error;
  {
    const qv::LockedHandle from(body);
    const auto size = static_cast<uint32_t>(from.bytes().size());
    const bool has_room = ZRGetHandleSize(handle) == size && IsReadable(handle);
    if (!has_room && ZRReallocateHandle(handle, size) != ZRErrNone) error = ZRErrResMemory;
    const qv::LockedHandle to(error == ZRErrNone ? handle : 0);
    if (to.data() == nullptr) error = ZRErrResMemory;
    if (error == ZRErrNone && size > 0) std::memcpy(to.data(), from.data(), size);
  }
  ZRDisposeHandle(&body);
  // It goes to a caller, who may change it.
  if (error == ZRErrNone) ZRMarkHandleUnpurgeable(handle);
  return error;
}

// --- into memory ---

// The loaded body of the reference that `find` finds, or 0. While it is read other tasks may have
// loaded it, moved it or taken it away, so the reference is found anew.
template <class Find>
ZRHandle CRezFmt::Load(Find find) {
  for (int tries = 0; tries < kMostTries; ++tries) {
    const int32_t index = find();
    if (index < 0) return 0;
    const Reference before = map_.Get(index);
    if (before.handle != 0) {
      if (IsReadable(before.handle)) return before.handle;
      if (ZRIsHandlePurged(before.handle) != 0) {
        return Refill(before.handle, before) == ZRErrNone ? before.handle : 0;
      }
      // A caller has disposed of it. A change that was in it is lost; the update says so.
      if (before.Has(qv::kChangedAttribute)) return 0;
      map_.SetHandle(index, 0);
    }
    const uint64_t place = PlaceOf(before);
    ZRError error = ZRErrNone;
    ZRHandle body = ReadBody(before, &error);
    const int32_t now = find();
    const Reference after = now < 0 ? Reference{} : map_.Get(now);
    if (now >= 0 && after.handle == 0 && PlaceOf(after) == place) {
      if (body != 0) map_.SetHandle(now, body);
      return body;
    }
    ZRDisposeHandle(&body);
  }
  return 0;
}

ZRHandle CRezFmt::GetResource(qv::ResourceTypeCode type, int32_t number) {
  return Load([=, this] { return map_.Find(type, number); });
}

ZRHandle CRezFmt::GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) {
  return Load([=, this] { return map_.Find(type, name); });
}

template <class Find>
ZRHandle CRezFmt::LoadCopy(Find find) {
  const ZRHandle body = Load(find);
  const int32_t index = body == 0 ? -1 : find();
  if (index < 0) return 0;
  if (map_.Get(index).Has(qv::kChangedAttribute)) return ZRCopyHandle(body);
  map_.SetHandle(index, 0);
  return body;
}

ZRHandle CRezFmt::LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) {
  return LoadCopy([=, this] { return map_.Find(type, number); });
}

ZRHandle CRezFmt::LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) {
  return LoadCopy([=, this] { return map_.Find(type, name); });
}

int32_t CRezFmt::GetResourceSize(qv::ResourceTypeCode type, int32_t number) {
  const int32_t index = map_.Find(type, number);
  if (index < 0) return qv::kNoResource;
  const Reference reference = map_.Get(index);
  uint32_t size = 0;
  if (reference.Has(qv::kChangedAttribute) && reference.handle != 0) {
    size = ZRGetHandleSize(reference.handle);
  } else if (LengthOf(reference, &size) != ZRErrNone) {
    return qv::kNoResource;
  }
  return size <= INT32_MAX ? static_cast<int32_t>(size) : qv::kNoResource;
}

// --- out of memory ---

ZRError CRezFmt::ReleaseResource(ZRHandle* handle) {
  const int32_t index = handle == nullptr ? -1 : map_.FindHandle(*handle);
  if (index < 0) return ZRErrResNotFound;
  if (map_.Get(index).Has(qv::kChangedAttribute)) {
    *handle = 0;
    return ZRErrNone;
  }
  map_.SetHandle(index, 0);
  ZRDisposeHandle(handle);
  *handle = 0;
  return ZRErrNone;
}

void CRezFmt::PurgeResources() {
  if (!map_.exists()) return;
  {
    const qv::ListsLock lock(map_);
    for (uint32_t i = 0; i < map_.reference_count(); ++i) {
      const Reference& reference = map_.references()[i];
      if (reference.handle == 0 || reference.Has(qv::kChangedAttribute)) continue;
      if (ZRIsHandleLocked(reference.handle) == 0) ZRMarkHandlePurgeable(reference.handle);
    }
  }
  ZRPurgeHandles(kAllMemory);
}

ZRError CRezFmt::ReloadResource(ZRHandle handle) {
  const int32_t index = map_.FindHandle(handle);
  if (index < 0) return ZRErrResNotFound;
  return Refill(handle, map_.Get(index));
}
