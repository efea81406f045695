// A kernel for tests: settings, tasks from lambdas, and everything it writes.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/task_info.h"
#include "tasks/waits.h"

namespace test {

class KernelTest : public testing::Test {
 protected:
  KernelTest();
  ~KernelTest() override;

  // Lines of the settings file, such as "QVSetup/HotLimit=5". Kept for the runs that follow.
  void Set(const std::string& section_and_line);

  // Makes this the settings file of kernels to come.
  void UseSettings(const std::string& text);

  // Starts a kernel on a thread of its own and runs `main` in it; "Fibers" is as it was set.
  // Returns the kernel's result. Afterwards nothing of it may be left allocated.
  int32_t Run(const std::function<void()>& main, uint32_t stack_bytes = 16 << 20);
  // The same, with the initial region left behind `create` and a first yield, which lasts until all
  // tasks have ended.
  void RunTasks(const std::function<void()>& create, uint32_t stack_bytes = 16 << 20);
  // RunTasks with one task, "a".
  void RunTask(const std::function<void()>& body) {
    RunTasks([&] { Spawn("a", body); });
  }
  // RunTasks with fibers and without.
  void RunInBothModes(const std::function<void()>& create, uint32_t stack_bytes = 16 << 20);

  // A task that runs the function; its name goes into the log by Log.
  TaskId Spawn(const std::string& name, std::function<void()> body);

  // What the test's tasks did: pieces separated by blanks.
  void Log(const std::string& piece) { log += log.empty() ? piece : " " + piece; }
  void LogName() { Log(ZRTaskGetName(0)); }
  std::string TakeLog() { return std::exchange(log, {}); }

  uint32_t stack_size = 0x10000;  // of tasks to come, bytes
  std::string log;
  std::string printed;  // to the debug log, since the last run began
  // Blocks and fibers that a run left; below 0 when it gave back more than it took.
  int blocks_left = 0;
  int fibers_left = 0;

 private:
  std::list<std::function<void()>> bodies_;
  std::list<std::pair<std::string, std::string>> settings_;
};

// Counts the blocks that the hooks hand out from here on, none of which is zeroed; KernelTest::Run
// does it by itself.
void CountAllocations();
int BlocksLeft();

// Allocations of `size` bytes (0: of any size) after which one fails, once; -1: none.
// Whether the one before had come true.
bool FailAllocation(int after, size_t size = 0);

}  // namespace test
