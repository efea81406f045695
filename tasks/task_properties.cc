#include "tasks/task_properties.h"

#include <algorithm>
#include <span>

#include "tasks/kernel_state.h"

namespace qv {
namespace {

std::span<TaskProperty> PropertiesOf(const TCB* task) {
  return {task->properties, task->property_count};
}

// The place of the key, or where it belongs.
TaskProperty* PlaceOf(const TCB* task, uint32_t key) {
  const auto properties = PropertiesOf(task);
  return std::ranges::lower_bound(properties, key, {}, &TaskProperty::key).base();
}

}  // namespace

bool SetPropertyOf(TCB* task, uint32_t key, uintptr_t value) {
  TaskProperty* place = PlaceOf(task, key);
  TaskProperty* const end = task->properties + task->property_count;
  if (place != end && place->key == key) {
    place->value = value;
    return true;
  }
  const size_t size = (task->property_count + size_t{1}) * sizeof(TaskProperty);
  auto* grown = static_cast<TaskProperty*>(GlobalHooks().allocate(size));
  if (grown == nullptr) return false;
  TaskProperty* added = std::copy(task->properties, place, grown);
  *added = {key, value};
  std::copy(place, end, added + 1);
  GlobalHooks().release(task->properties);
  task->properties = grown;
  ++task->property_count;
  return true;
}

void ReleaseProperties(TCB* task) {
  GlobalHooks().release(task->properties);
  task->properties = nullptr;
  task->property_count = 0;
}

}  // namespace qv

bool ZRTaskSetProperty(TaskId id, uint32_t key, uintptr_t value) {
  TCB* task = qv::TaskOf(id);
  return task != nullptr && qv::SetPropertyOf(task, key, value);
}

uintptr_t ZRTaskGetProperty(TaskId id, uint32_t key) {
  const TCB* task = qv::TaskOf(id);
  if (task == nullptr) return 0;
  const qv::TaskProperty* place = qv::PlaceOf(task, key);
  const bool found = place != task->properties + task->property_count && place->key == key;
  return found ? place->value : 0;
}
