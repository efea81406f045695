// Objects that a thread can wait for.
#pragma once

#include <condition_variable>
#include <mutex>

#include "platform/host/handles.h"

namespace host {

class Waitable : public KernelObject {
 public:
  // Waits until the object is signalled and takes the signal; false after the time-out.
  bool Wait(DWORD milliseconds);

 protected:
  // Called with the mutex held: whether the object is signalled; what a wait consumes is consumed.
  virtual bool TakeSignal() = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
};

}  // namespace host
