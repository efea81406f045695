#include "tasks/semaphores.h"

#include <memory>
#include <vector>

#include "tasks/worker_link.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/tasks/text_report.h"

namespace {

class SemaphoresTest : public test::KernelTest {
 protected:
  ZRSemaphore* semaphore = nullptr;
};

TEST_F(SemaphoresTest, ReleasesServeWaitersInTheirOrder) {
  const struct {
    const char* name;
    int32_t count;               // at first
    std::vector<int32_t> needs;  // of the waiters, in their order
    std::vector<int32_t> releases;
    const char* served;
    int32_t left;
  } kRows[] = {
      {"not enough for the first holds up the second", 0, {3, 1}, {2}, "", 2},
      {"enough for the first", 0, {3, 1}, {3}, "0", 0},
      {"enough for both", 0, {3, 1}, {4}, "01", 0},
      {"piece by piece", 0, {3, 1}, {1, 1, 1, 1}, "01", 0},
      {"more than they need", 0, {1, 2}, {9}, "01", 6},
      {"what was there counts", 2, {3, 3}, {1}, "0", 0},
      {"a negative count first", -5, {1}, {5}, "", 0},
      {"until it is above 0", -5, {1}, {6}, "0", 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunTasks([&] {
      semaphore = ZRTaskNewSemaphore(row.count);
      auto served = std::make_shared<std::string>();
      for (size_t i = 0; i < row.needs.size(); ++i) {
        Spawn("waiter", [&, served, i] {
          if (ZRTaskGetSemaphore(semaphore, row.needs[i], true)) *served += std::to_string(i);
        });
      }
      Spawn("releaser", [&, served] {
        for (const int32_t units : row.releases) EXPECT_TRUE(ZRTaskRelSemaphore(semaphore, units));
        EXPECT_EQ(semaphore->count, row.left);
        ZRTaskYield();
        EXPECT_EQ(*served, row.served);
        // The others go without.
        ZRTaskDisposeSemaphore(&semaphore);
        ZRTaskYield();
        EXPECT_EQ(*served, row.served);
        EXPECT_EQ(semaphore, nullptr);
      });
    });
  }
}

TEST_F(SemaphoresTest, UnitsWithoutWaiting) {
  Run([&] {
    semaphore = ZRTaskNewSemaphore(2);
    EXPECT_TRUE(ZRTaskSemaphoreAvailable(semaphore, 2));
    EXPECT_FALSE(ZRTaskSemaphoreAvailable(semaphore, 3));
    EXPECT_FALSE(ZRTaskGetSemaphore(semaphore, 3, false));
    EXPECT_TRUE(ZRTaskGetSemaphore(semaphore, 2, false));
    EXPECT_FALSE(ZRTaskGetSemaphore(semaphore, 1, false));
    EXPECT_TRUE(ZRTaskRelSemaphore(semaphore, 1));
    EXPECT_TRUE(ZRTaskWaitSemaphore(semaphore, 1));  // keeps nothing
    EXPECT_EQ(semaphore->count, 1);
    ZRTaskRelSemaphore(semaphore, INT32_MAX);  // more than a count can say
    EXPECT_FALSE(ZRTaskGetSemaphore(semaphore, INT32_MIN + 1, false));
    ZRTaskGetSemaphore(semaphore, INT32_MIN, false);
    EXPECT_EQ(semaphore->count, 0);
    ZRTaskDisposeSemaphore(&semaphore);
  });
}

TEST_F(SemaphoresTest, WaitingWithoutKeeping) {
  RunTasks([&] {
    semaphore = ZRTaskNewSemaphore(0);
    for (int i = 0; i < 3; ++i) {
      Spawn("waiter", [this] {
        EXPECT_TRUE(ZRTaskWaitSemaphore(semaphore, 2));
        log += '.';
      });
    }
    Spawn("releaser", [&] {
      ZRTaskRelSemaphore(semaphore, 2);  // enough for all, one after the other
      while (log.size() < 3) ZRTaskYield();
      EXPECT_EQ(semaphore->count, 2);
      ZRTaskDisposeSemaphore(&semaphore);
    });
  });
}

// Nothing is given back to a semaphore that is gone, nor to another one in its place.
TEST_F(SemaphoresTest, DisposedOfBetweenTheUnitsAndTheWaitersTurn) {
  RunTasks([&] {
    semaphore = ZRTaskNewSemaphore(0);
    Spawn("waiter", [this] { EXPECT_TRUE(ZRTaskWaitSemaphore(semaphore, 1)); });
    Spawn("releaser", [&] {
      ZRTaskRelSemaphore(semaphore, 1);
      ZRTaskDisposeSemaphore(&semaphore);
      semaphore = ZRTaskNewSemaphore(0);
      ZRTaskYield();
      EXPECT_EQ(semaphore->count, 0);
      ZRTaskDisposeSemaphore(&semaphore);
    });
  });
}

TEST_F(SemaphoresTest, WhatIsNoSemaphoreIsLeftAlone) {
  ZRSemaphore foreign;
  foreign.magic = ZRSemaphore::kDisposedMagic;
  foreign.count = 5;
  for (ZRSemaphore* none : {static_cast<ZRSemaphore*>(nullptr), &foreign}) {
    ZRSemaphore* variable = none;
    EXPECT_FALSE(ZRTaskGetSemaphore(none, 1, false));
    EXPECT_FALSE(ZRTaskRelSemaphore(none, 1));
    EXPECT_FALSE(ZRTaskWaitSemaphore(none, 1));
    EXPECT_FALSE(ZRTaskDisposeSemaphore(&variable));
    EXPECT_EQ(variable, none);
    EXPECT_TRUE(ZRTaskSemaphoreAvailable(none, 1));
  }
  EXPECT_FALSE(ZRTaskDisposeSemaphore(nullptr));
  EXPECT_EQ(foreign.count, 5);
}

// Where waiting is not possible the units are taken all the same, and that is said.
TEST_F(SemaphoresTest, BlocksThatCannotBlockTakeTheUnits) {
  static ZRSemaphore* taken;
  static bool in_end_task;
  in_end_task = false;
  RunTasks([&] {
    taken = ZRTaskNewSemaphore(0);
    EXPECT_TRUE(ZRTaskGetSemaphore(taken, 1, true));  // no task
    EXPECT_EQ(taken->count, -1);
    Spawn("a", [] {
      qv::CriticalRegion region;
      EXPECT_TRUE(ZRTaskGetSemaphore(taken, 3, true));
      EXPECT_EQ(taken->count, -4);
      qv::TheWorkerLink().forget_task = [](TaskId) {
        if (std::exchange(in_end_task, true)) return;
        EXPECT_TRUE(ZRTaskGetSemaphore(taken, 2, true));
        EXPECT_EQ(taken->count, -6);
      };
    });
    Spawn("b", [] {
      EXPECT_TRUE(in_end_task);
      qv::TheWorkerLink().forget_task = nullptr;
      ZRTaskDisposeSemaphore(&taken);
    });
  });
}

TEST_F(SemaphoresTest, AWaiterInTheWrongStateGoesOnWithoutUnits) {
  RunTasks([&] {
    semaphore = ZRTaskNewSemaphore(0);
    const TaskId waiter = Spawn("waiter", [this] {
      ZRTaskGetSemaphore(semaphore, 5, true);
      Log("on");
    });
    Spawn("releaser", [&, waiter] {
      ZRTaskFindTask(waiter)->state = qv::TaskState::kWaiting;
      ZRTaskRelSemaphore(semaphore, 1);
      EXPECT_EQ(semaphore->count, 1);
      ZRTaskYield();
      ZRTaskDisposeSemaphore(&semaphore);
    });
  });
  EXPECT_EQ(log, "on");
}

// The self test with its thousand tasks, for five seconds of real time.
TEST_F(SemaphoresTest, SelfTestPasses) {
  RunTask([] {
    test::TextReport report;
    EXPECT_TRUE(ZRTaskSemaphoreCheck(&report));
    EXPECT_EQ(report.text, "<testcase name=\"Semaphores\"></testcase>");
    EXPECT_TRUE(qv::KernelIsConsistent());
  });
}

}  // namespace
