// The message queue of a thread, and work that another part of the stand-in puts into it.
//
// Work comes in two kinds, as on Windows. Sent work runs inside the next look at the queue and
// shows no message. Posted work shows as a message, and runs when the program dispatches that.
#pragma once

#include <functional>

#include "platform/host/messages.h"

namespace host {

using QueueWork = std::function<void()>;

// Makes the calling thread's queue, which others may then post to.
void MakeMessageQueue();

// False when the thread has no queue (any more).
bool SendWork(DWORD thread, QueueWork work);
bool PostWork(DWORD thread, QueueWork work);

}  // namespace host
