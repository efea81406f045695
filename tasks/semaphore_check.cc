#include "tasks/semaphore_check.h"

#include "tasks/scheduler.h"
#include "tasks/semaphores.h"
#include "tasks/waits.h"

namespace qv {

void ReportWriter::Write(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteList(format, arguments);
  va_end(arguments);
}

namespace {

constexpr int32_t kTasks = 1000, kUnits = 5, kUnitsTaken = 3;
constexpr uint32_t kStack = 65536, kHoldTicks = 10, kCheckTicks = 300;

struct Check {
  ZRSemaphore* semaphore = nullptr;
  bool inside = false;   // a task holds the units
  bool overlap = false;  // two did
  TaskId tasks[kTasks] = {};
};

void HoldAgainAndAgain(TCB* task) {
  auto* check = reinterpret_cast<Check*>(task->parameter);
  for (;;) {
    ZRTaskYield();
    ZRTaskGetSemaphore(check->semaphore, kUnitsTaken, true);
    if (check->inside) check->overlap = true;
    check->inside = true;
    ZRTaskYieldTicks(kHoldTicks, false);
    check->inside = false;
    ZRTaskRelSemaphore(check->semaphore, kUnitsTaken);
  }
}

class Element {
 public:
  explicit Element(ReportWriter* report) : report_(report) {
    Write("<testcase name=\"Semaphores\">");
  }
  ~Element() { Write("</testcase>"); }
  template <typename... Values>
  void Write(const char* format, Values... values) {
    if (report_ != nullptr) report_->Write(format, values...);
  }

 private:
  ReportWriter* report_;
};

void RunTasks(Check* check, Element* element) {
  for (int32_t i = 0; i < kTasks; ++i) {
    check->tasks[i] = ZRTaskCreate(kStack, HoldAgainAndAgain, reinterpret_cast<uintptr_t>(check));
    if (check->tasks[i] == 0) element->Write("<error>Could not create %dth task.</error>", i);
  }
  ZRTaskYieldTicks(kCheckTicks, false);
  for (const TaskId task : check->tasks) {
    if (task != 0) ZRTaskKill(task);
  }
}

}  // namespace
}  // namespace qv

bool ZRTaskSemaphoreCheck(qv::ReportWriter* report) {
  qv::Element element(report);
  qv::Check check;
  check.semaphore = ZRTaskNewSemaphore(qv::kUnits);
  if (check.semaphore == nullptr) {
    element.Write("<error>Semaphore could not be created</error>");
    return false;
  }
  qv::RunTasks(&check, &element);
  ZRTaskDisposeSemaphore(&check.semaphore);
  if (check.overlap) element.Write("<error>Semaphore allowed concurrent access!</error>");
  return !check.overlap;
}
