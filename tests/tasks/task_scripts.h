// Tasks as short texts, so that a rule of the scheduler is a table of rows.
//
// A script is a name of one letter, a colon and steps; " | " parts those of several tasks. A name
// in capitals is not created at the start. Steps; N is a number, T the name of a task:
//   x     write the name            .     write the name and yield
//   t     write name@milliseconds since the start of the run
//   y     yield                     >T    yield to a task
//   sN    sleep N microseconds      eN    the same, may end early
//   +N    keep the processor for N microseconds (frozen clock)
//   hN    own hot mode              mTN   the hot mode of a task
//   ^ v   superhot on and off       cT    create a task
//   w     wait for events           *T    signal a task
//   G     get the semaphore's unit  R     release it
//   ~     the clock begins anew
#pragma once

#include <map>
#include <string>

#include "tasks/semaphores.h"
#include "tests/tasks/kernel_fixture.h"

namespace test {

class ScriptTest : public KernelTest {
 protected:
  // What the tasks wrote, pieces separated by blanks. `begin` runs before they exist.
  std::string RunScripts(
      std::string scripts, const std::function<void()>& begin = [] {});

  void Play(const std::string& steps);
  // A suite's own steps: reads the one at *at and what belongs to it. False for none of them.
  virtual bool PlayOwn(const char**) { return false; }

  std::map<char, std::string> steps_;  // of the scripts, by their names
  std::map<char, TaskId> tasks_;

  std::function<void(uint64_t)> keep_processor = [](uint64_t) {};  // +N
  std::function<void()> restart_clock = [] {};                     // ~

 private:
  TaskId Create(char name);
  void WriteTime();

  ZRSemaphore* semaphore_ = nullptr;
  uint64_t start_ = 0;
};

}  // namespace test
