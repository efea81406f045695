// The one table of open handles: files, processes, registry keys, fonts, DDE objects.
//
// A handle is a number that is never given twice, so a closed one is found to be closed. Objects
// are shared: one that is closed while another thread uses it lives until that use ends.
// Threads: any.
#pragma once

#include <memory>

#include "platform/host/types.h"

namespace host {

struct Object {
  virtual ~Object() = default;
};

// What CloseHandle closes.
struct KernelObject : Object {};

uintptr_t AddObject(std::shared_ptr<Object> object);
// Null when there is none of this number.
std::shared_ptr<Object> FindObject(uintptr_t number);
// Takes the object out of the table; null when it is not there.
std::shared_ptr<Object> RemoveObject(uintptr_t number);

template <typename Handle>
Handle AddHandle(std::shared_ptr<Object> object) {
  return reinterpret_cast<Handle>(AddObject(std::move(object)));
}

template <typename Kind, typename Handle>
std::shared_ptr<Kind> FindHandle(Handle handle) {
  return std::dynamic_pointer_cast<Kind>(FindObject(reinterpret_cast<uintptr_t>(handle)));
}

// Closes a handle of one kind; false when it is none.
template <typename Kind, typename Handle>
bool CloseHandleOf(Handle handle) {
  if (!FindHandle<Kind>(handle)) return false;
  return RemoveObject(reinterpret_cast<uintptr_t>(handle)) != nullptr;
}

}  // namespace host
