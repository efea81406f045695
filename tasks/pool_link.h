// What lies between the kernel and the worker task pools. The pools install themselves here while
// there are any; without them nothing is called.
//
// Threads: the kernel thread.
#pragma once

#include "tasks/task.h"

namespace qv {

struct PoolLink {
  // A task is about to go, from whatever it did: it still has its id, its properties and its stack,
  // and leaves its list afterwards. Nothing may switch in here.
  void (*task_ends)(TCB* task) = nullptr;
  // The statistics of every pool start anew.
  void (*reset_statistics)() = nullptr;
};

inline PoolLink& ThePoolLink() {
  static constinit PoolLink link;
  return link;
}

}  // namespace qv
