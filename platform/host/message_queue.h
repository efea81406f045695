// The message queue of a thread, and work that another part of the stand-in puts into it.
//
// Work comes in two kinds, as on Windows. Sent work runs inside the next look at the queue and
// shows no message. Posted work shows as a message, and runs when the program dispatches that.
//
// What comes in through a descriptor is looked after by the thread itself, whenever it looks at its
// queue: a thread that does not is not reached.
#pragma once

#include <poll.h>

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/host/messages.h"

namespace host {

using QueueWork = std::function<void()>;

// Something with descriptors that a thread waits for together with its messages.
class QueueSource {
 public:
  virtual ~QueueSource() = default;
  // Adds what is to be waited for, and lowers *milliseconds (-1: no limit) to how long at most.
  // False when the source is done and is to be forgotten.
  virtual bool Prepare(std::vector<pollfd>* entries, int* milliseconds) = 0;
  // Gets the entries that it added, after the wait. Puts what it takes in into the queue.
  virtual void Serve(std::span<const pollfd> entries) = 0;
};

// Makes the calling thread's queue, which others may then post to.
void MakeMessageQueue();

// Makes a source part of the thread's queue; nothing happens without a queue.
void AddQueueSource(DWORD thread, std::shared_ptr<QueueSource> source);
// Lets the thread ask its sources again, if it waits.
void WakeQueue(DWORD thread);

// False when the thread has no queue (any more).
bool SendWork(DWORD thread, QueueWork work);
bool PostWork(DWORD thread, QueueWork work);

}  // namespace host
