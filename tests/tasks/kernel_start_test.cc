// The start and the end of the kernel, and the creation of tasks.
#include "tasks/kernel_thread.h"
#include "tasks/task_statistics.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

namespace {

class KernelStartTest : public test::KernelTest {
 protected:
  static int32_t Main(uintptr_t) { return 5; }
};

TEST_F(KernelStartTest, CreationFailsWithoutLeavingAnything) {
  const struct {
    const char* name;
    uint32_t stack;
    int failing_allocation;
    bool created;
  } kRows[] = {
      {"more than the largest stack", kLargestTaskStack + 16, -1, false},
      {"the largest, when rounded", kLargestTaskStack + 15, -1, true},
      {"no block", 4096, 0, false},
      {"no property list", 4096, 1, false},
  };
  Run([&] {
    for (const auto& row : kRows) {
      SCOPED_TRACE(row.name);
      const uint32_t tasks = qv::GetKernelStatistics().tasks;
      stack_size = row.stack;
      test::FailAllocation(row.failing_allocation);
      EXPECT_EQ(Spawn("x", [] {}) != 0, row.created);
      test::FailAllocation(-1);
      EXPECT_EQ(qv::GetKernelStatistics().tasks, tasks + (row.created ? 1 : 0));
      EXPECT_TRUE(qv::KernelIsConsistent());
    }
  });
  EXPECT_EQ(blocks_left, 0);
  EXPECT_EQ(fibers_left, 0);
}

// Every allocation of a start fails once; what remains is no kernel, and nothing.
TEST_F(KernelStartTest, StartFailsWithoutLeavingAnything) {
  int failures = 0;
  for (int allocation = 0; allocation < 6; ++allocation) {
    test::FailAllocation(allocation);
    const int32_t result = Run([] {});
    test::FailAllocation(-1);
    EXPECT_EQ(blocks_left, 0);
    EXPECT_TRUE(ZRIsKernelThread());
    if (result == -1) ++failures;
  }
  EXPECT_GE(failures, 3);
}

TEST_F(KernelStartTest, OwnStacksAreNeverUsedTwiceAndEndWithTheArea) {
  const struct {
    const char* name;
    uint32_t stack;
    bool created;
  } kRows[] = {
      {"half of the area", 0x8000, true},
      {"more than the other half", 0x8010, false},
      {"less than a stack can be", 0x3F0, false},
      {"most of it", 0x7800, true},
      {"what is left", 0x7F0, true},
      {"anything", 0x400, false},
  };
  Set("QVSetup/Fibers=0");
  Run(
      [&] {
        for (const auto& row : kRows) {
          SCOPED_TRACE(row.name);
          stack_size = row.stack;
          const TaskId task = Spawn("x", [] {});
          EXPECT_EQ(task != 0, row.created);
          ZRTaskKill(task);
        }
      },
      0x10000);
}

TEST_F(KernelStartTest, AThreadWithoutRoomForTheAreaGetsNoKernel) {
  Set("QVSetup/Fibers=0");
  int32_t result = 0;
  Run([&] {});  // writes the settings
  test::RunOnThread(1 << 20, [&] { result = ZRTaskStartKernel(8 << 20, nullptr, Main, 0); });
  EXPECT_EQ(result, -1);
}

TEST_F(KernelStartTest, ASecondKernelIsRefused) {
  int32_t inner = 0;
  Run([&] { inner = ZRTaskStartKernel(0, nullptr, Main, 0); });
  EXPECT_EQ(inner, -1);
}

}  // namespace
