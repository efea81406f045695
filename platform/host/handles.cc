#include "platform/host/handles.h"

#include <mutex>
#include <unordered_map>

#include "platform/host/control.h"

namespace host {
namespace {

struct HandleTable {
  std::mutex mutex;
  std::unordered_map<uintptr_t, std::shared_ptr<Object>> objects;
  uintptr_t next = 0x100;  // multiples of four, as on Windows
};

HandleTable& State() {
  static auto& state = *new HandleTable;
  return state;
}

}  // namespace

uintptr_t AddObject(std::shared_ptr<Object> object) {
  HandleTable& table = State();
  std::lock_guard hold(table.mutex);
  uintptr_t number = table.next;
  table.next += 4;
  table.objects.emplace(number, std::move(object));
  return number;
}

std::shared_ptr<Object> FindObject(uintptr_t number) {
  HandleTable& table = State();
  std::lock_guard hold(table.mutex);
  auto found = table.objects.find(number);
  return found == table.objects.end() ? nullptr : found->second;
}

std::shared_ptr<Object> RemoveObject(uintptr_t number) {
  HandleTable& table = State();
  std::lock_guard hold(table.mutex);
  auto found = table.objects.find(number);
  if (found == table.objects.end()) return nullptr;
  std::shared_ptr<Object> object = std::move(found->second);
  table.objects.erase(found);
  return object;
}

uint32_t OpenHandles() {
  HandleTable& table = State();
  std::lock_guard hold(table.mutex);
  return static_cast<uint32_t>(table.objects.size());
}

}  // namespace host
