// Messages between tasks: a queue for each task, first in, first out, and replies.
//
//   ZRTaskMessage request;                        // sender: on its stack, since it waits
//   uint32_t answer;
//   ZRTaskSendMessage(server, &request, &answer);
//
//   ZRTaskMessage* message = ZRTaskGetMessage(true);   // receiver
//   ZRTaskReply(message, 7);
//
// A record belongs to its sender and is only linked here; it stays where it is until it was taken
// (or replied to, when sent). Derive from it to add what it carries. While a task's queue is not
// empty, bit 0x20000 of its events is set.
//
// Threads: the kernel thread. A task that ends lets its queue go: posted records are unlinked, and
// senders that wait for its reply get 0. What a task has posted stays with the receiver when it
// ends; what it waits on is taken back. A receiver that has taken it already holds a record that is
// gone: its reply is ignored, unless another sender waits on a record in the same place. A receiver
// may pass a message on by posting it, though its sender waits: the sender then waits for the next
// task's reply. Or it may send it on, and reply when it has its own answer.
#pragma once

#include <cstdint>

#include "tasks/task.h"

struct ZRTaskMessage {
  ZRTaskMessage* next = nullptr;  // in the receiver's queue
  TaskId sender = 0;              // set by the kernel
  uint32_t reply = 0;
};

struct ZRTaskValueMessage : ZRTaskMessage {
  uint32_t value = 0;
};

// False for an id that is not valid. The message may be one of no task's, posted by the mainline.
bool ZRTaskPostMessage(TaskId task, ZRTaskMessage* message);
// Posts, waits for the reply and stores it (reply may be null). False, and nothing posted, for an
// id that is not valid and where waiting is not possible.
bool ZRTaskSendMessage(TaskId task, ZRTaskMessage* message, uint32_t* reply);
// The same with a ZRTaskValueMessage of one word.
bool ZRTaskSendValue(TaskId task, uint32_t value, uint32_t* reply);
// The current task's next message; null when there is none, or, with wait, when waiting is not
// possible.
ZRTaskMessage* ZRTaskGetMessage(bool wait);
// 0 for null.
TaskId ZRTaskMessageSender(const ZRTaskMessage* message);
// Lets the sender go on, if it waits for the reply to this very message; otherwise the message is
// not looked at.
void ZRTaskReply(ZRTaskMessage* message, uint32_t value);
