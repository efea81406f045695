// What the tests of memory share: settings, tasks that are pretended, a log of what is reported,
// and the C runtime's allocator with a fault in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/hooks.h"

namespace test {

using Lines = std::vector<std::string>;

// Everything that the hooks and the replaced allocator answer and collect.
struct MemoryWorld {
  Lines log;  // messages, and tracebacks as "[...]"
  TaskId current = 0;
  std::map<TaskId, std::string> names;
  bool kernel_thread = true;
  std::vector<uintptr_t> site;  // what a capture finds

  std::set<void*> blocks;    // of the C runtime, not released
  uint32_t allocations = 0;  // since `failing` was set
  uint32_t failing = 0;      // the allocation that fails: 1 is the next one, 0 none
  bool failing_from_then_on = false;
  uint32_t last_size = 0;  // asked for last
};
MemoryWorld& World();

// A new process with the world above and no setting; at its end no block may be left.
class MemoryTest : public testing::Test {
 protected:
  MemoryTest();
  ~MemoryTest() override;

  // Starts over with these lines in section "Debug".
  static void UseSettings(const std::string& lines);
  // The n-th next allocation fails.
  static void FailAllocation(uint32_t nth, bool from_then_on = false);
  // What was logged since the last call.
  static Lines TakeLog();
};

}  // namespace test
