#include "tests/tasks/task_scripts.h"

#include <algorithm>
#include <cstdlib>

#include "base/clock.h"

namespace test {

void ScriptTest::WriteTime() {
  const uint64_t passed = ZRMicroseconds(true) - start_;
  Log(std::string(ZRTaskGetName(0)) + "@" +
      std::to_string(passed / qv::kMicrosecondsPerMillisecond));
}

void ScriptTest::Play(const std::string& steps) {
  const char* at = steps.c_str();
  auto number = [&at] {
    char* end = nullptr;
    const long value = std::strtol(at, &end, 10);
    at = end;
    return static_cast<int32_t>(value);
  };
  while (*at != '\0') {
    if (PlayOwn(&at)) continue;
    switch (const char step = *at++) {
      case 'x':
        LogName();
        break;
      case '.':
        LogName();
        ZRTaskYield();
        break;
      case 't':
        WriteTime();
        break;
      case 'y':
        ZRTaskYield();
        break;
      case '>':
        ZRTaskYieldTo(tasks_[*at++]);
        break;
      case 's':
      case 'e':
        ZRTaskYieldMicros(static_cast<uint32_t>(number()), step == 'e');
        break;
      case '+':
        keep_processor(static_cast<uint64_t>(number()));
        break;
      case 'h':
        ZRTaskSetHotMode(0, number());
        break;
      case 'm': {
        const TaskId task = tasks_[*at++];
        ZRTaskSetHotMode(task, number());
        break;
      }
      case '^':
      case 'v':
        ZRTaskSetSuperHot(step == '^', 0);
        break;
      case 'c':
        Create(*at++);
        break;
      case 'w':
        ZRTaskWaitEvents(1);
        break;
      case '*':
        ZRTaskSignal(tasks_[*at++], 1);
        break;
      case 'G':
        ZRTaskGetSemaphore(semaphore_, 1, true);
        break;
      case 'R':
        ZRTaskRelSemaphore(semaphore_, 1);
        break;
      case '~':
        restart_clock();
        start_ = ZRMicroseconds(true);
        break;
      default:
        EXPECT_EQ(step, ' ') << steps;
    }
  }
}

TaskId ScriptTest::Create(char name) {
  return tasks_[name] = Spawn(std::string(1, name), [this, name] { Play(steps_[name]); });
}

std::string ScriptTest::RunScripts(std::string scripts, const std::function<void()>& begin) {
  steps_.clear();
  tasks_.clear();
  Run([&] {
    start_ = ZRMicroseconds(true);
    semaphore_ = ZRTaskNewSemaphore(1);
    begin();
    while (!scripts.empty()) {
      const size_t end = std::min(scripts.find(" | "), scripts.size());
      const char name = scripts[0];
      steps_[name] = scripts.substr(2, end - 2);
      if (name >= 'a') Create(name);
      scripts.erase(0, end + 3);
    }
    ZRTaskLeaveCritical();
    ZRTaskYield();
    ZRTaskDisposeSemaphore(&semaphore_);
  });
  EXPECT_EQ(blocks_left, 0);
  return TakeLog();
}

}  // namespace test
