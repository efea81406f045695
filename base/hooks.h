// Hooks: where a low component uses a higher one, it calls through here.
//
// Each hook has a harmless default, so every layer works with only the layers below it; the higher
// component installs itself at start-up. Hooks are set before a second thread runs and read
// without a lock afterwards. No hook is ever null.
#pragma once

#include <cstddef>
#include <cstdint>

// Names a task of the kernel; 0 is the current task, or none. Wide enough for an address.
using TaskId = uintptr_t;

// Values that a task, or a thread without one, keeps in its local slots.
constexpr uint32_t kLocalSlotCount = 32;
// What a task keeps for them: the values and, behind them, a word with a bit for each value that is
// a block of the allocation hook, to be released when the task ends.
constexpr uint32_t kLocalSlotWords = kLocalSlotCount + 1;

namespace qv {

// Settings of the microsecond clock.
struct ClockSettings {
  int32_t use_performance_counter;    // exactly 1 selects it
  int32_t minimum_frequency_100_khz;  // a slower counter is refused
};

struct Hooks {
  // --- memory: the checked allocator takes the place of the C runtime's ---

  // Plain memory for work areas. Returns null when there is none; never throws.
  void* (*allocate)(size_t size);
  // Releases a block from `allocate`; null is ignored.
  void (*release)(void* block);

  // --- settings and output: installed by the application layer; silent without it ---

  ClockSettings (*read_clock_settings)();
  // Whole texts for the debug log (and its echo), and for the system's debugger.
  void (*write_debug_text)(const char* text);
  void (*write_debugger_text)(const char* text);
  // Creates the console window; shows a text in it: false when there is no console.
  void (*create_console)();
  bool (*show_in_console)(const char* text);
  // Gives the keyboard focus to the window of another instance of the program.
  void (*focus_previous_instance)();
  // Empties the accelerator table.
  void (*clear_accelerators)();
  // Puts the filter for unhandled faults in place, and what it needs.
  void (*install_fault_filter)();

  // --- tasks: installed by the kernel; without it there are no tasks ---

  // The running task, 0 when none runs or the caller is not on the kernel's thread.
  TaskId (*current_task)();
  // Copies at most size - 1 characters of the task's name and a terminator; empty when it has none.
  void (*copy_task_name)(TaskId task, char* buffer, size_t size);
  // True on the kernel's thread, and everywhere as long as no kernel thread is known.
  bool (*on_kernel_thread)();
  // True when the caller may give up the processor to other tasks.
  bool (*switching_allowed)();
  // Lets other tasks run, or other threads where the caller is no task: for waits and long work.
  void (*yield)();
  // The kLocalSlotWords words of the running task, null when none runs on this thread.
  uintptr_t* (*task_local_slots)();
  // Sets one slot to 0 in every task.
  void (*clear_task_local_slot)(uint32_t slot);

  // --- workers: installed by the kernel; without it the caller does the work itself ---

  // Runs the job, returning when it is done: on a worker thread while the calling task waits, or at
  // once on the caller. The job may run at the same time as another task's.
  void (*run_on_worker)(void (*job)(void* argument), void* argument);

  // --- tracebacks and dumps: installed by the diagnostics; nothing without them ---

  // Prints where the current task stands, without its `skip` innermost frames.
  void (*print_traceback)(uint32_t skip);
  // Prints where another task stands.
  void (*print_task_traceback)(TaskId task);
  // Captures at most `limit` return addresses, without the `skip` innermost; returns how many.
  uint32_t (*capture_trace)(uint32_t skip, uintptr_t* addresses, uint32_t limit);
  // Prints captured addresses.
  void (*print_trace)(const uintptr_t* addresses, uint32_t count);
  // Writes a memory dump of the process under this file name.
  void (*write_dump)(const char* name);
};

// The hooks in force.
Hooks& GlobalHooks();

// Puts the defaults back.
void ResetHooksForTest();

// Memory through the hooks, released at the end of its scope.
class HookBlock {
 public:
  explicit HookBlock(size_t size) : data_(GlobalHooks().allocate(size)) {}
  ~HookBlock() { GlobalHooks().release(data_); }
  HookBlock(const HookBlock&) = delete;
  HookBlock& operator=(const HookBlock&) = delete;
  // Null when the memory was not to be had.
  char* data() const { return static_cast<char*>(data_); }

 private:
  void* data_;
};

}  // namespace qv
