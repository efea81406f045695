// Requests of tasks that stop where a test wants: before the platform is asked, or after it.
//
//   test::HeldRequests held;                  // in a kernel
//   held.Hold(reader);
//   held.WaitUntilHeld(reader, HeldRequests::kAfter);   // the disk has answered, the task has not
//   held.Release(reader);                               // heard of it
//
// Requests run on the kernel's thread, so a run is the same each time.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "base/hooks.h"
#include "tasks/task_info.h"
#include "tasks/waits.h"

namespace test {

class HeldRequests {
 public:
  enum Point { kNowhere, kBefore, kAfter };

  HeldRequests() {
    Current() = this;
    qv::GlobalHooks().run_on_worker = [](void (*job)(void*), void* argument) {
      HeldRequests& held = *Current();
      ++held.requests;
      held.Stop(kBefore);
      job(argument);
      held.Stop(kAfter);
    };
  }

  // From its next request on, until it is released.
  void Hold(TaskId task) { held_[task] = kNowhere; }
  // Lets the task go on for good.
  void Release(TaskId task) {
    held_.erase(task);
    ZRTaskSignal(task, kGoOn);
  }
  // Other tasks run until the task is held there; from `kBefore` it is let on.
  void WaitUntilHeld(TaskId task, Point point) {
    EXPECT_TRUE(Until([&] {
      if (held_[task] == kBefore && point == kAfter) ZRTaskSignal(task, kGoOn);
      return held_[task] == point;
    }));
  }
  // Lets the task on until it is held before the request after the present one.
  void GoToNextRequest(TaskId task) {
    WaitUntilHeld(task, kAfter);
    held_[task] = kNowhere;
    ZRTaskSignal(task, kGoOn);
    WaitUntilHeld(task, kBefore);
  }
  // False when it does not come true.
  static bool Until(const std::function<bool()>& condition) {
    for (int turns = 0; turns < 1000; ++turns) {
      if (condition()) return true;
      ZRTaskYield();
    }
    return false;
  }

  int requests = 0;
  // At each point of each request, on its task.
  std::function<void(Point point)> at_point;

 private:
  static constexpr uint32_t kGoOn = 0x100;
  static HeldRequests*& Current() {
    static HeldRequests* current;
    return current;
  }

  void Stop(Point point) {
    if (at_point) at_point(point);
    const TaskId task = ZRTaskCurrent();
    if (held_.count(task) == 0) return;
    held_[task] = point;
    // Signals that mean something else do not count.
    while (held_.count(task) != 0 && (ZRTaskWaitEvents(kGoOn) & kGoOn) == 0) {
    }
    if (held_.count(task) != 0) held_[task] = kNowhere;
  }

  std::map<TaskId, Point> held_;
};

}  // namespace test
