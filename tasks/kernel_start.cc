// How the kernel begins and ends.
#include <algorithm>
#include <cstring>
#include <new>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/clock.h"
#include "platform/windows_api.h"
#include "tasks/fiber_layer.h"
#include "tasks/idle_task.h"
#include "tasks/kernel_state.h"
#include "tasks/kernel_thread.h"
#include "tasks/own_stacks.h"

namespace qv {
namespace {

constexpr uint32_t kAreaBesidesTasks = 0x11000;  // the mainline's bytes and the idle task's
static_assert(kAreaBesidesTasks >= kMainlineStackBytes + kIdleTaskStack);
constexpr size_t kRoomForMainline = 0x8000;  // bytes that the area must leave of the stack

uint64_t HashId(const void* data, uint32_t, uintptr_t, uint32_t) {
  uintptr_t id;
  std::memcpy(&id, data, sizeof id);
  return uint64_t{id} * 0x9E3779B97F4A7C15u >> 20;
}

HashTable* NewRegistry() {
  void* memory = GlobalHooks().allocate(sizeof(HashTable));
  return memory == nullptr ? nullptr : new (memory) HashTable(sizeof(TaskId), HashId);
}

void DeleteRegistry(KernelState& kernel) {
  if (kernel.registry == nullptr) return;
  kernel.registry->~HashTable();
  GlobalHooks().release(kernel.registry);
  kernel.registry = nullptr;
}

// Everything as in a process that had no kernel yet; what is not listed here is set by Initialize.
void ClearState(KernelState& kernel) {
  kernel.current = kernel.previous = kernel.superhot = kernel.idle = nullptr;
  kernel.adopted = kernel.switched = kernel.has_last_switch = false;
  kernel.task_count = kernel.end_nesting = 0;
  kernel.region = 0;
  kernel.exceptions = 0;
  kernel.hot = kernel.ready1 = kernel.ready2 = kernel.wait = {};
  kernel.running = &kernel.ready1;
  kernel.next = &kernel.ready2;
  kernel.wheel.Clear();
  kernel.parked.Clear();
  kernel.hot_budget = kernel.hot_budget_at_start = 100;
  kernel.hot_cycle = kLeastHotCycle;
  kernel.longest_hot_list = kernel.insertions = 0;
  kernel.decided_at = kernel.last_switch = kernel.last_loop_end = 0;
  kernel.last_wheel_check = kernel.last_parked_check = 0;
  kernel.statistics_epoch = 0;
  kernel.statistics = {};
}

// The tasks that are left, the idle task among them.
void KillAll(KernelState& kernel) {
  kernel.current = nullptr;
  kernel.idle = nullptr;
  HashIterator each;
  TaskId id = 0;
  for (each.Begin(*kernel.registry); each.Next(&id, sizeof id);) {
    TCB* task = ZRTaskFindTask(id);
    if (task == nullptr) continue;
    if (task->state == TaskState::kIOWait) task->state = TaskState::kReady;  // its job is nobody's
    ZRTaskKill(id);
  }
}

void Finish(KernelState& kernel) {
  if (kernel.started) {
    if (TheWorkerLink().finish_jobs != nullptr) TheWorkerLink().finish_jobs();
    KillAll(kernel);
    DisconnectKernelHooks();
    kernel.started = false;
  }
  DeleteRegistry(kernel);
  ForgetKernelThread();
  OfferStackArea(nullptr);
  ShutFibersDown();
}

int32_t RunMain(uint32_t area_size, uintptr_t* current_parameter, ZRMainFunction main,
                uintptr_t argument) {
  int32_t result = ZRTaskInitKernel(area_size, current_parameter);
  if (result == 0) result = CreateIdleTask() ? main(argument) : -1;
  Finish(TheKernel());
  return result;
}

// The area lies in this function's frame, above those of the mainline.
[[gnu::noinline]] int32_t RunMainBelowArea(uint32_t area_size, uintptr_t* current_parameter,
                                           ZRMainFunction main, uintptr_t argument) {
  if (platform::StackBytesLeft() > area_size + kRoomForMainline) {
    OfferStackArea(static_cast<char*>(__builtin_alloca(area_size)));
  }
  Sleep(0);
  return RunMain(area_size, current_parameter, main, argument);
}

}  // namespace
}  // namespace qv

int32_t ZRTaskInitKernel(uint32_t stack_area_bytes, uintptr_t* current_parameter) {
  qv::KernelState& kernel = qv::TheKernel();
  qv::ClearState(kernel);
  kernel.settings = qv::ReadKernelSettings();
  kernel.hot_countdown = static_cast<uint32_t>(std::max(kernel.settings.hot_cycle, 0));
  qv::TheKernelConfiguration().io_yield =
      static_cast<uint16_t>(qv::ReadSetting(qv::setting::kIOYield));
  if (!ZRFibersUsable() && !qv::OpenStackArea(stack_area_bytes)) return -1;
  kernel.registry = qv::NewRegistry();
  if (kernel.registry == nullptr) return -1;
  kernel.current_parameter =
      current_parameter != nullptr ? current_parameter : &kernel.unused_parameter;
  ZRSetKernelThread();
  kernel.switch_watch = kernel.statistics.since = ZRMicroseconds(true);
  kernel.started = true;
  qv::ConnectKernelHooks();
  return 0;
}

int32_t ZRTaskStartKernel(uint32_t stack_bytes, uintptr_t* current_parameter, ZRMainFunction main,
                          uintptr_t argument) {
  if (qv::TheKernel().started || main == nullptr) return -1;
  if (stack_bytes > UINT32_MAX - qv::kAreaBesidesTasks) return -1;
  const uint32_t total = stack_bytes + qv::kAreaBesidesTasks;
  ZRFibersSetUp();
  return ZRFibersUsable() ? qv::RunMain(total, current_parameter, main, argument)
                          : qv::RunMainBelowArea(total, current_parameter, main, argument);
}
