#include "tasks/semaphores.h"

#include <new>

#include "tasks/kernel_state.h"
#include "tasks/task_list_report.h"

namespace qv {
namespace {

bool IsSemaphore(const ZRSemaphore* semaphore) {
  return semaphore != nullptr && semaphore->magic == ZRSemaphore::kMagic;
}

// A count that outgrows 32 bits wraps.
void Add(ZRSemaphore* semaphore, int32_t units) {
  semaphore->count =
      static_cast<int32_t>(static_cast<uint32_t>(semaphore->count) + static_cast<uint32_t>(units));
}
void Take(ZRSemaphore* semaphore, int32_t units) {
  semaphore->count =
      static_cast<int32_t>(static_cast<uint32_t>(semaphore->count) - static_cast<uint32_t>(units));
}

ZRSemaphore* SemaphoreOf(const TCB* task) {
  return reinterpret_cast<ZRSemaphore*>(task->wait_argument);
}

// The waiter goes on, with its units taken for it.
void Grant(ZRSemaphore* semaphore, TCB* waiter) {
  waiter->flags |= kUnitsGranted;
  ++semaphore->granted;
  MakeReady(waiter);
}

// Serves waiters in their order for as long as there is enough for the next one.
void Serve(ZRSemaphore* semaphore) {
  while (semaphore->count >= 1 && !semaphore->waiters.Empty()) {
    TCB* waiter = semaphore->waiters.head;
    if (waiter->state != TaskState::kSemaWait || SemaphoreOf(waiter) != semaphore) {
      ZRTaskPrint(nullptr, "Illegal TCB state in ZRTaskRelSemaphore\n");
      MakeReady(waiter);
      continue;
    }
    if (semaphore->count < waiter->wait_units) return;
    Take(semaphore, waiter->wait_units);
    Grant(semaphore, waiter);
  }
}

// Whether the current task may wait; says why not.
bool MayBlock(const KernelState& kernel) {
  if (kernel.end_nesting > 0) {
    ZRTaskPrint(nullptr, "ZRTask: Semaphore block ignored while in EndTask!\n");
    return false;
  }
  if (RegionAllowsSwitch(kernel)) return kernel.current != nullptr;
  if (kernel.current != nullptr) {
    ZRTaskPrint(nullptr, "ZRTask: Semaphore block ignored while in critical region!\n");
  }
  return false;
}

// How a request for units ended.
enum class Units {
  kNone,  // not to be had without waiting, or the semaphore is gone
  kTaken,
  kTakenAndGone,  // given, and before the task ran the semaphore was disposed of
};

Units Block(KernelState& kernel, ZRSemaphore* semaphore, int32_t units) {
  TCB* task = kernel.current;
  task->wait_argument = reinterpret_cast<uintptr_t>(semaphore);
  task->wait_units = units;
  task->state = TaskState::kSemaWait;
  LeaveList(task);
  semaphore->waiters.Append(task);
  ChooseAndSwitch();
  if ((task->flags & kUnitsGranted) == 0) {
    return task->wait_argument != 0 ? Units::kTakenAndGone : Units::kNone;
  }
  task->flags &= ~kUnitsGranted;
  --semaphore->granted;
  return Units::kTaken;
}

Units Request(ZRSemaphore* semaphore, int32_t units, bool wait) {
  if (!IsSemaphore(semaphore)) return Units::kNone;
  KernelState& kernel = TheKernel();
  if (semaphore->count < units) {
    if (!wait) return Units::kNone;
    if (MayBlock(kernel)) return Block(kernel, semaphore, units);
  }
  Take(semaphore, units);
  return Units::kTaken;
}

// Tasks that have their units, and will not find the semaphore when they run.
void ForgetGrants(ZRSemaphore* semaphore) {
  HashIterator each;
  TaskId id = 0;
  for (each.Begin(*TheKernel().registry); semaphore->granted > 0 && each.Next(&id, sizeof id);) {
    TCB* task = ZRTaskFindTask(id);
    if (task == nullptr || (task->flags & kUnitsGranted) == 0 || SemaphoreOf(task) != semaphore) {
      continue;
    }
    task->flags &= ~kUnitsGranted;
    --semaphore->granted;
  }
}

}  // namespace

// The task has left the list of waiters already.
void ReleaseSemaphore(TCB* task) {
  ZRSemaphore* semaphore = SemaphoreOf(task);
  if ((task->flags & kUnitsGranted) != 0) {
    task->flags &= ~kUnitsGranted;
    --semaphore->granted;
    Add(semaphore, task->wait_units);
  } else if (task->state != TaskState::kSemaWait || semaphore == nullptr) {
    return;
  }
  Serve(semaphore);
}

}  // namespace qv

ZRSemaphore* ZRTaskNewSemaphore(int32_t count) {
  void* memory = qv::GlobalHooks().allocate(sizeof(ZRSemaphore));
  if (memory == nullptr) return nullptr;
  auto* semaphore = new (memory) ZRSemaphore;
  semaphore->count = count;
  return semaphore;
}

bool ZRTaskDisposeSemaphore(ZRSemaphore** variable) {
  if (variable == nullptr || !qv::IsSemaphore(*variable)) return false;
  ZRSemaphore* semaphore = *variable;
  while (TCB* waiter = semaphore->waiters.head) {
    waiter->wait_argument = 0;
    MakeReady(waiter);
  }
  if (semaphore->granted > 0) qv::ForgetGrants(semaphore);
  semaphore->magic = ZRSemaphore::kDisposedMagic;
  qv::GlobalHooks().release(semaphore);
  *variable = nullptr;
  return true;
}

bool ZRTaskGetSemaphore(ZRSemaphore* semaphore, int32_t units, bool wait) {
  return qv::Request(semaphore, units, wait) != qv::Units::kNone;
}

bool ZRTaskRelSemaphore(ZRSemaphore* semaphore, int32_t units) {
  if (!qv::IsSemaphore(semaphore)) return false;
  qv::Add(semaphore, units);
  qv::Serve(semaphore);
  return true;
}

bool ZRTaskWaitSemaphore(ZRSemaphore* semaphore, int32_t units) {
  if (!qv::IsSemaphore(semaphore)) return false;
  if (semaphore->count < units && qv::Request(semaphore, units, true) == qv::Units::kTaken) {
    ZRTaskRelSemaphore(semaphore, units);
  }
  return true;
}

bool ZRTaskSemaphoreAvailable(const ZRSemaphore* semaphore, int32_t units) {
  return !qv::IsSemaphore(semaphore) || semaphore->count >= units;
}
