#include "base/hooks.h"

#include <cstdlib>

#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr ClockSettings kClockDefaults{0, 27};

constexpr Hooks kDefaults{
    .allocate = std::malloc,
    .release = std::free,
    .read_clock_settings = [] { return kClockDefaults; },
    .write_debug_text = [](const char*) {},
    .write_debugger_text = [](const char*) {},
    .create_console = [] {},
    .show_in_console = [](const char*) { return false; },
    .focus_previous_instance = [] {},
    .clear_accelerators = [] {},
    .install_fault_filter = [] {},
    .current_task = [] { return TaskId{0}; },
    .copy_task_name =
        [](TaskId, char* buffer, size_t size) {
          if (size > 0) buffer[0] = '\0';
        },
    .on_kernel_thread = [] { return true; },
    .switching_allowed = [] { return false; },
    .yield = [] { Sleep(0); },
    .task_local_slots = []() -> uintptr_t* { return nullptr; },
    .clear_task_local_slot = [](uint32_t) {},
    .run_on_worker = [](void (*job)(void*), void* argument) { job(argument); },
    .print_traceback = [](uint32_t) {},
    .print_task_traceback = [](TaskId) {},
    .capture_trace = [](uint32_t, uintptr_t*, uint32_t) { return uint32_t{0}; },
    .print_trace = [](const uintptr_t*, uint32_t) {},
    .write_dump = [](const char*) {},
};

Hooks& State() {
  static constinit Hooks state = kDefaults;
  return state;
}

}  // namespace

Hooks& GlobalHooks() { return State(); }

void ResetHooksForTest() { State() = kDefaults; }

}  // namespace qv
