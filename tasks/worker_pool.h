// Inner: a pool of worker threads, and what the kernel thread knows of its jobs.
//
// A job's road: the kernel thread appends it to the pool's pending chain and pushes the chain into
// the incoming queue as soon as that queue's lock is free; a thread of the pool pops it, runs it,
// pushes it onto the finished queue, which all pools share, and wakes the kernel thread, which
// collects it from there.
//
// Threads: the kernel thread; the threads of the pool touch nothing but the shared block.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock_object.h"
#include "tasks/job_queue.h"
#include "tasks/threads.h"
#include "tasks/workers.h"

namespace qv {

// What the threads of a pool share with the kernel thread.
struct WorkerBlock {
  explicit WorkerBlock(JobQueue* finished_queue) : finished(finished_queue) {}

  LockObject lock;
  uint32_t running = 0;  // threads, under the lock
  std::atomic<bool> stop{false};
  JobQueue incoming;
  JobQueue* const finished;
};

// What a thread of a pool does; its context is the block. Ends with 0.
DWORD WINAPI RunWorker(LPVOID block);
// Does the work of a job, here and now.
void DoJob(ZRWorkerJob* job);

struct WorkerPoolPlan {
  const char* name;  // its first 50 bytes are kept
  uint32_t threads;
  uint32_t level;  // of ZRThreadCreate
  ZRThreadRoutine routine = RunWorker;
  uint32_t stack_bytes = 65536;
  uintptr_t affinity = 0;  // 0: all processors
};

class WorkerPool : public FromHooks {
 public:
  WorkerPool(const WorkerPoolPlan& plan, JobQueue* finished);
  // Of a pool without threads, or one that was stopped.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // Creates the threads; false at the first that is not to be had. Those before it stay.
  bool Start();
  // One thread more, with the next number.
  bool AddThread();
  // Ends all threads; returns when they have ended. Jobs that were not begun stay undone.
  void Stop();

  // A job of the current task: pending, until FlushPending hands it over.
  void Submit(ZRWorkerJob* job);
  // False when jobs stay pending, because a thread has the lock.
  bool FlushPending();
  // A job has come back.
  void NoteFinished(const ZRWorkerJob& job);

  WorkerStatistics Statistics() const;
  void ResetStatistics();

  // What a test holds up, and looks at under its lock.
  WorkerBlock& Block() { return block_; }

  WorkerPool* next = nullptr;  // on the list of all pools

 private:
  struct PoolThread : FromHooks {
    HANDLE handle = nullptr;
    PoolThread* next = nullptr;
  };
  uint32_t RunningThreads();
  void NameThread(DWORD id, uint32_t number) const;

  static constexpr int32_t kNameLimit = 50;
  uint8_t name_[kNameLimit + 1];  // length-prefixed
  const WorkerPoolPlan plan_;
  uint32_t thread_count_ = 0;
  PoolThread* threads_ = nullptr;  // newest first
  WorkerBlock block_;

  ZRWorkerJob* pending_head_ = nullptr;
  ZRWorkerJob* pending_tail_ = nullptr;
  uint32_t pending_count_ = 0;
  WorkerStatistics statistics_;
};

}  // namespace qv
