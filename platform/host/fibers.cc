#include "platform/host/fibers.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#pragma GCC visibility push(default)
#include "platform/context_switch.h"
#include "platform/fiber_prefetch.h"
#pragma GCC visibility pop
#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/process.h"
#include "platform/host/stack_frames.h"

// The one place that tells sanitizers of stacks. Without a word AddressSanitizer takes the frames
// of the stacks that wait for frames that have returned.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QV_ADDRESS_SANITIZER
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define QV_ADDRESS_SANITIZER
#endif
#ifdef QV_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace host {
namespace {

constexpr size_t kLeastStackSize = size_t{1} << 20;
constexpr size_t kMostKeptStacks = 1024;

struct Stack {
  char* lowest = nullptr;  // the first byte that can be used, above the guard page
  size_t size = 0;
};

struct Fiber {
  platform::StackContext context;
  Stack stack;  // none for a thread's own
};

// Fibers may outlive the destructors of the process, so the state is never destroyed.
struct FiberState {
  std::mutex mutex;
  std::vector<Stack> kept;  // of kLeastStackSize bytes each
  std::atomic<uint32_t> live{0};
};

FiberState& State() {
  static auto& state = *new FiberState;
  return state;
}

struct ThreadFibers {
  Fiber* running = nullptr;  // null on a thread that was not converted
  Fiber own;
};
[[gnu::tls_model("initial-exec")]] thread_local ThreadFibers* fibers_of_thread = nullptr;

// --- what the sanitizers are told; nothing without them ---

using platform::StackContext;

// The memory may hold marks of old frames.
void TellNew([[maybe_unused]] StackContext* stack) {
#ifdef QV_ADDRESS_SANITIZER
  __asan_unpoison_memory_region(stack->lowest, stack->size);
#endif
#ifdef __SANITIZE_THREAD__
  stack->history = __tsan_create_fiber(0);
#endif
}

void TellForgotten([[maybe_unused]] StackContext* stack) {
#ifdef __SANITIZE_THREAD__
  if (stack->history != nullptr) __tsan_destroy_fiber(stack->history);
  stack->history = nullptr;
#endif
}

#ifdef QV_ADDRESS_SANITIZER
thread_local StackContext* stack_left = nullptr;  // by the switch under way; null: for good
#endif

// Before a switch; null for a stack that is left for good.
void TellLeaving([[maybe_unused]] StackContext* left, [[maybe_unused]] StackContext* target) {
#ifdef QV_ADDRESS_SANITIZER
  stack_left = left;
  __sanitizer_start_switch_fiber(left != nullptr ? &left->frames : nullptr, target->lowest,
                                 target->size);
#endif
#ifdef __SANITIZE_THREAD__
  if (left != nullptr && left->history == nullptr) left->history = __tsan_get_current_fiber();
  __tsan_switch_to_fiber(target->history, 0);
#endif
}

// After it, on the stack that goes on. The bounds of a thread's own are learnt here.
void TellArrived([[maybe_unused]] StackContext* here) {
#ifdef QV_ADDRESS_SANITIZER
  const void* lowest = nullptr;
  size_t size = 0;
  __sanitizer_finish_switch_fiber(here->frames, &lowest, &size);
  if (stack_left != nullptr && stack_left->size == 0) {
    stack_left->lowest = lowest;
    stack_left->size = size;
  }
#endif
}

// --- stacks ---

Stack MapStack(size_t size) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  size = (size + page - 1) / page * page;
  void* area = mmap(nullptr, size + page, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
  if (area == MAP_FAILED) return {};
  if (mprotect(area, page, PROT_NONE) != 0) {
    munmap(area, size + page);
    return {};
  }
  return {static_cast<char*>(area) + page, size};
}

void UnmapStack(const Stack& stack) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  munmap(stack.lowest - page, stack.size + page);
}

Stack TakeStack(size_t size) {
  size = std::max(size, kLeastStackSize);
  if (size == kLeastStackSize) {
    FiberState& state = State();
    std::lock_guard hold(state.mutex);
    if (!state.kept.empty()) {
      const Stack stack = state.kept.back();
      state.kept.pop_back();
      return stack;
    }
  }
  return MapStack(size);
}

void ReturnStack(const Stack& stack) {
  {
    FiberState& state = State();
    std::lock_guard hold(state.mutex);
    if (stack.size == kLeastStackSize && state.kept.size() < kMostKeptStacks) {
      state.kept.push_back(stack);
      return;
    }
  }
  UnmapStack(stack);
}

[[noreturn]] void RunStack(void* context) {
  auto* stack = static_cast<StackContext*>(context);
  TellArrived(stack);
  stack->start(stack->argument);
  std::abort();
}

}  // namespace

uint32_t LiveFibers() { return State().live.load(); }

}  // namespace host

using host::Enter;
using host::Fail;

LPVOID CreateFiber(SIZE_T stack_size, LPFIBER_START_ROUTINE start, LPVOID parameter) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, LPVOID{});
  if (start == nullptr) return Fail(ERROR_INVALID_PARAMETER, LPVOID{});
  auto* fiber = new (std::nothrow) host::Fiber;
  if (fiber == nullptr) return Fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID{});
  fiber->stack = host::TakeStack(stack_size);
  if (fiber->stack.lowest == nullptr) {
    delete fiber;
    return Fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID{});
  }
  platform::PrepareStack(&fiber->context, fiber->stack.lowest, fiber->stack.size, start, parameter);
  ++host::State().live;
  return fiber;
}

void DeleteFiber(LPVOID address) {
  auto* fiber = static_cast<host::Fiber*>(address);
  if (fiber == nullptr) return;
  if (host::fibers_of_thread != nullptr && host::fibers_of_thread->running == fiber) std::abort();
  platform::ForgetStack(&fiber->context);
  host::ReturnStack(fiber->stack);
  delete fiber;
  --host::State().live;
}

LPVOID ConvertThreadToFiber(LPVOID) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, LPVOID{});
  if (host::fibers_of_thread != nullptr) return Fail(ERROR_ALREADY_FIBER, LPVOID{});
  auto* fibers = new (std::nothrow) host::ThreadFibers;
  if (fibers == nullptr) return Fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID{});
  fibers->running = &fibers->own;
  host::fibers_of_thread = fibers;
  ++host::State().live;
  return fibers->running;
}

BOOL ConvertFiberToThread(void) {
  host::ThreadFibers* fibers = host::fibers_of_thread;
  if (fibers == nullptr) return Fail(ERROR_ALREADY_THREAD, FALSE);
  if (fibers->running != &fibers->own) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  host::fibers_of_thread = nullptr;
  delete fibers;
  --host::State().live;
  return TRUE;
}

void SwitchToFiber(LPVOID address) {
  auto* to = static_cast<host::Fiber*>(address);
  host::ThreadFibers* fibers = host::fibers_of_thread;
  if (fibers == nullptr || to == nullptr || to == fibers->running) return;
  host::Fiber* from = fibers->running;
  fibers->running = to;
  platform::SwitchStack(&from->context, &to->context);
}

namespace platform {

void PrepareStack(StackContext* stack, void* lowest, size_t size, void (*start)(void*),
                  void* argument) {
  *stack = {.start = start, .argument = argument, .lowest = lowest, .size = size};
  host::TellNew(stack);
  stack->place = host::LayFirstFrame(static_cast<char*>(lowest) + size, host::RunStack, stack);
}

void SwitchStack(StackContext* left, StackContext* target) {
  host::TellLeaving(left, target);
  host::SwitchFrames(&left->place, target->place);
  host::TellArrived(left);
}

void LeaveStack(StackContext* target) {
  // Not a local: AddressSanitizer takes the memory of these back before the switch.
  static thread_local StackPointer left;
  host::TellLeaving(nullptr, target);
  host::SwitchFrames(&left, target->place);
}

void ForgetStack(StackContext* stack) { host::TellForgotten(stack); }

void PrefetchFiber(const void* fiber) {
  PrefetchStack(static_cast<const host::Fiber*>(fiber)->context.place);
}

}  // namespace platform
