#include "tasks/task_messages.h"

#include "tasks/kernel_state.h"
#include "tasks/waits.h"

namespace qv {
namespace {

// --- queues ---

void Enqueue(TCB* receiver, ZRTaskMessage* message) {
  message->next = nullptr;
  (receiver->last_message != nullptr ? receiver->last_message->next : receiver->first_message) =
      message;
  receiver->last_message = message;
  receiver->events |= kMessageEvent;
}

ZRTaskMessage* Dequeue(TCB* receiver) {
  ZRTaskMessage* message = receiver->first_message;
  if (message == nullptr) return nullptr;
  receiver->first_message = message->next;
  message->next = nullptr;
  if (receiver->first_message == nullptr) {
    receiver->last_message = nullptr;
    receiver->events &= ~kMessageEvent;
  }
  return message;
}

// Posts it, as the current task.
void Deliver(TCB* receiver, ZRTaskMessage* message) {
  const TCB* sender = TaskOf(0);
  message->sender = sender != nullptr ? sender->id : 0;
  Enqueue(receiver, message);
  if (receiver->state == TaskState::kWaiting && (receiver->wait_argument & receiver->events) != 0) {
    MakeReady(receiver);
  }
}

// Takes a message out of the middle of a queue; nothing when it is not there.
void Withdraw(TCB* receiver, const ZRTaskMessage* message) {
  ZRTaskMessage* before = nullptr;
  for (ZRTaskMessage* each = receiver->first_message; each != nullptr; each = each->next) {
    if (each != message) {
      before = each;
      continue;
    }
    if (before == nullptr) {
      Dequeue(receiver);
      return;
    }
    before->next = each->next;
    if (receiver->last_message == each) receiver->last_message = before;
    return;
  }
}

// --- who waits for whose reply ---

void AddCaller(TCB* called, TCB* caller) {
  caller->called = called;
  caller->previous_caller = called->last_caller;
  (called->last_caller != nullptr ? called->last_caller->next_caller : called->first_caller) =
      caller;
  called->last_caller = caller;
}

void RemoveCaller(TCB* caller) {
  TCB* called = caller->called;
  if (called == nullptr) return;
  (caller->previous_caller != nullptr ? caller->previous_caller->next_caller
                                      : called->first_caller) = caller->next_caller;
  (caller->next_caller != nullptr ? caller->next_caller->previous_caller : called->last_caller) =
      caller->previous_caller;
  caller->called = caller->next_caller = caller->previous_caller = nullptr;
}

bool WaitsFor(const TCB* task, const ZRTaskMessage* message) {
  return task->state == TaskState::kReplyWait &&
         task->wait_argument == reinterpret_cast<uintptr_t>(message);
}

// Of those who called the current task the one that waits for the reply to this message.
TCB* CallerOfCurrent(const ZRTaskMessage* message) {
  const TCB* current = TaskOf(0);
  if (current == nullptr) return nullptr;
  for (TCB* caller = current->first_caller; caller != nullptr; caller = caller->next_caller) {
    if (WaitsFor(caller, message)) return caller;
  }
  return nullptr;
}

// The task that waits for the reply to a message. Those who called the current task come first;
// the message itself may be gone with its sender and is not looked at.
TCB* FindCaller(const KernelState& kernel, const ZRTaskMessage* message) {
  if (TCB* caller = CallerOfCurrent(message)) return caller;
  for (TCB* task = kernel.wait.head; task != nullptr; task = task->next) {
    if (WaitsFor(task, message)) return task;
  }
  return nullptr;
}

void Answer(TCB* caller, uint32_t value) {
  reinterpret_cast<ZRTaskMessage*>(caller->wait_argument)->reply = value;
  RemoveCaller(caller);
  MakeReady(caller);
}

}  // namespace

void ReleaseMessages(TCB* task) {
  // Its own wait first: it may have called itself.
  if (task->called != nullptr) {
    Withdraw(task->called, reinterpret_cast<ZRTaskMessage*>(task->wait_argument));
    RemoveCaller(task);
  }
  while (Dequeue(task) != nullptr) {
  }
  while (task->first_caller != nullptr) Answer(task->first_caller, 0);
}

}  // namespace qv

bool ZRTaskPostMessage(TaskId id, ZRTaskMessage* message) {
  TCB* receiver = qv::TaskOf(id);
  if (receiver == nullptr || message == nullptr) return false;
  if (TCB* caller = qv::CallerOfCurrent(message)) {
    qv::RemoveCaller(caller);
    qv::AddCaller(receiver, caller);
  }
  qv::Deliver(receiver, message);
  return true;
}

bool ZRTaskSendMessage(TaskId id, ZRTaskMessage* message, uint32_t* reply) {
  qv::KernelState& kernel = qv::TheKernel();
  TCB* receiver = qv::TaskOf(id);
  if (!qv::CanWait(kernel) || receiver == nullptr || message == nullptr) return false;
  TCB* task = kernel.current;
  qv::Deliver(receiver, message);
  qv::AddCaller(receiver, task);
  task->state = qv::TaskState::kReplyWait;
  task->wait_argument = reinterpret_cast<uintptr_t>(message);
  kernel.wait.Append(task);
  qv::ChooseAndSwitch();
  if (reply != nullptr) *reply = message->reply;
  return true;
}

bool ZRTaskSendValue(TaskId task, uint32_t value, uint32_t* reply) {
  ZRTaskValueMessage message;
  message.value = value;
  return ZRTaskSendMessage(task, &message, reply);
}

ZRTaskMessage* ZRTaskGetMessage(bool wait) {
  TCB* task = qv::TaskOf(0);
  if (task == nullptr) return nullptr;
  for (;;) {
    ZRTaskMessage* message = qv::Dequeue(task);
    if (message != nullptr || !wait || !qv::CanWait(qv::TheKernel())) return message;
    ZRTaskWaitEvents(qv::kMessageEvent);
  }
}

TaskId ZRTaskMessageSender(const ZRTaskMessage* message) {
  return message != nullptr ? message->sender : 0;
}

void ZRTaskReply(ZRTaskMessage* message, uint32_t value) {
  if (TCB* caller = qv::FindCaller(qv::TheKernel(), message)) qv::Answer(caller, value);
}
