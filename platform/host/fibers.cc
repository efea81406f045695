#include "platform/host/fibers.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#include "platform/context_switch.h"
#pragma GCC visibility push(default)
#include "platform/fiber_prefetch.h"
#pragma GCC visibility pop
#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/process.h"
#include "platform/sanitizer_stacks.h"

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
  platform::StackPointer place = nullptr;  // while it does not run
  Stack stack;                             // none for a thread's own
  LPFIBER_START_ROUTINE start = nullptr;
  LPVOID parameter = nullptr;
  // What the sanitizers know it by.
  void* kept = nullptr;
  platform::StackBounds bounds;
  void* thread_fiber = nullptr;
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
  Fiber* left = nullptr;     // the one that the last switch came from
  Fiber own;
};
[[gnu::tls_model("initial-exec")]] thread_local ThreadFibers* fibers_of_thread = nullptr;

// --- what the sanitizers are told; nothing without them ---

void TellNew(Fiber* fiber) {
  fiber->bounds = {fiber->stack.lowest, fiber->stack.size};
  platform::TellStackRenewed(fiber->bounds);
#ifdef __SANITIZE_THREAD__
  fiber->thread_fiber = __tsan_create_fiber(0);
#endif
}

void TellThread([[maybe_unused]] Fiber* own) {
#ifdef __SANITIZE_THREAD__
  own->thread_fiber = __tsan_get_current_fiber();
#endif
}

void TellDeleted([[maybe_unused]] Fiber* fiber) {
#ifdef __SANITIZE_THREAD__
  __tsan_destroy_fiber(fiber->thread_fiber);
#endif
}

void TellLeaving(Fiber* from, Fiber* to) {
  platform::TellStackLeft(&from->kept, to->bounds);
#ifdef __SANITIZE_THREAD__
  __tsan_switch_to_fiber(to->thread_fiber, 0);
#endif
}

void TellArrived(Fiber* here, Fiber* from) {
  from->bounds = platform::TellStackEntered(here->kept);
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

[[noreturn]] void RunFiber(void* argument) {
  auto* fiber = static_cast<Fiber*>(argument);
  TellArrived(fiber, fibers_of_thread->left);
  fiber->start(fiber->parameter);
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
  fiber->start = start;
  fiber->parameter = parameter;
  host::TellNew(fiber);
  fiber->place =
      platform::PrepareStack(fiber->stack.lowest + fiber->stack.size, host::RunFiber, fiber);
  ++host::State().live;
  return fiber;
}

void DeleteFiber(LPVOID address) {
  auto* fiber = static_cast<host::Fiber*>(address);
  if (fiber == nullptr) return;
  if (host::fibers_of_thread != nullptr && host::fibers_of_thread->running == fiber) std::abort();
  host::TellDeleted(fiber);
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
  host::TellThread(&fibers->own);
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
  fibers->left = from;
  fibers->running = to;
  host::TellLeaving(from, to);
  platform::SwitchStack(&from->place, to->place);
  host::TellArrived(from, fibers->left);
}

namespace platform {

void PrefetchFiber(const void* fiber) {
  PrefetchStack(static_cast<const host::Fiber*>(fiber)->place);
}

}  // namespace platform
