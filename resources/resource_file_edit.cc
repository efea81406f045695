// What is there, and changes of it in memory.
#include "base/hooks.h"
#include "resources/locked_handle.h"
#include "resources/resource_file.h"

using qv::Reference;

// Changes begin when no update of another task is on its way.
void CRezFmt::WaitForUpdate() const {
  while (updating_) qv::GlobalHooks().yield();
}

ZRError CRezFmt::FinishChange(ZRError error) {
  if (error != ZRErrNone) return error;
  return map_.Validate(header_) ? ZRErrNone : ZRErrResMapBad;
}

// --- what is there ---

// False when the callback has ended the walk. Each resource is found by its place among those of
// the type, since the callback may change the list.
bool CRezFmt::WalkType(qv::ResourceTypeCode type, qv::SourceCallback callback, void* user_data) {
  for (uint32_t n = 0;; ++n) {
    const int32_t index = map_.Nth(type, n);
    if (index < 0) return true;
    const Reference reference = map_.Get(index);
    Str255 name;
    map_.CopyName(reference, name);
    if (callback(type, reference.number, name, code_page_, user_data) == qv::kStopWalk) {
      return false;
    }
  }
}

ZRError CRezFmt::EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                               void* user_data) {
  if (callback == nullptr) return ZRErrParam;
  const bool all = type == 0 && map_.FindType(type) < 0;
  if (!all) {
    if (map_.FindType(type) < 0) return ZRErrResNotFound;
    WalkType(type, callback, user_data);
    return ZRErrNone;
  }
  if (!map_.TypeAt(0, &type)) return ZRErrResNotFound;
  for (uint32_t t = 0; map_.TypeAt(t, &type) && WalkType(type, callback, user_data);) ++t;
  return ZRErrNone;
}

ZRError CRezFmt::EnumTypes(qv::TypeCallback callback, void* user_data) {
  if (!map_.exists()) return ZRErrNotOpen;
  if (callback == nullptr) return ZRErrParam;
  qv::ResourceTypeCode type = 0;
  for (uint32_t t = 0; map_.TypeAt(t, &type); ++t) {
    if (callback(type, user_data) == qv::kStopWalk) break;
  }
  return ZRErrNone;
}

ZRError CRezFmt::GetResourceName(qv::ResourceTypeCode type, int32_t number, uint8_t* name) {
  if (name == nullptr) return ZRErrParam;
  name[0] = 0;
  const int32_t index = map_.Find(type, number);
  if (index < 0) return ZRErrResNotFound;
  map_.CopyName(map_.Get(index), name);
  return ZRErrNone;
}

ZRError CRezFmt::GetResourceNumberByName(qv::ResourceTypeCode type, const uint8_t* name,
                                         int32_t* number) {
  if (name == nullptr || number == nullptr) return ZRErrParam;
  const int32_t index = map_.Find(type, name);
  if (index < 0) return ZRErrResNotFound;
  *number = map_.Get(index).number;
  return ZRErrNone;
}

int32_t CRezFmt::GetAttributes(qv::ResourceTypeCode type, int32_t number) {
  const int32_t index = map_.Find(type, number);
  if (index < 0) return -1;
  return static_cast<int32_t>(map_.Get(index).attributes_and_offset >>
                              qv::reference_layout::kAttributesShift);
}

bool CRezFmt::IsDirty() {
  return map_.dirty || map_.HasAny(qv::kChangedAttribute | qv::kRemovedAttribute);
}

// --- changes ---

ZRError CRezFmt::SetResourceName(qv::ResourceTypeCode type, int32_t number, const uint8_t* name) {
  WaitForUpdate();
  const int32_t index = map_.Find(type, number);
  return index < 0 ? ZRErrResNotFound : FinishChange(map_.Rename(index, name));
}

ZRError CRezFmt::RemoveResource(qv::ResourceTypeCode type, int32_t number) {
  WaitForUpdate();
  const int32_t index = map_.Find(type, number);
  return index < 0 ? ZRErrResNotFound : FinishChange(map_.Remove(index));
}

ZRError CRezFmt::ChangedResource(qv::ResourceTypeCode type, int32_t number) {
  WaitForUpdate();
  if (map_.Find(type, number) < 0) return ZRErrResNotFound;
  const ZRHandle body = GetResource(type, number);
  const int32_t index = map_.Find(type, number);
  if (body == 0 || index < 0) return ZRErrResDamaged;
  ZRMarkHandleUnpurgeable(body);
  map_.MarkChanged(index);
  return ZRErrNone;
}

ZRError CRezFmt::AddResource(ZRHandle handle, qv::ResourceTypeCode type, int32_t number,
                             const uint8_t* name) {
  WaitForUpdate();
  if (!map_.exists()) return ZRErrNotOpen;
  const bool is_readable = qv::LockedHandle(handle).data() != nullptr;
  const bool is_number = number >= INT16_MIN && number <= INT16_MAX;
  if (!is_readable || !is_number || map_.FindHandle(handle) >= 0) return ZRErrParam;
  Reference reference{static_cast<int16_t>(number), qv::reference_layout::kNoName,
                      qv::reference_layout::kNoBody, handle};
  reference.Set(qv::kChangedAttribute);
  const ZRError error = FinishChange(map_.Insert(type, reference, name));
  if (error == ZRErrNone) ZRMarkHandleUnpurgeable(handle);
  return error;
}
