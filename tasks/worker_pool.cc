#include "tasks/worker_pool.h"

#include <algorithm>

#include "app/debug_output.h"
#include "base/clock.h"
#include "base/errors.h"
#include "base/stopwatch.h"
#include "text/formatter.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr double kMillisPerSecond = 1000;

void CountRunning(WorkerBlock* block, uint32_t change) {
  ScopedLock hold(block->lock);
  block->running += change;
}

}  // namespace

void DoJob(ZRWorkerJob* job) {
  job->result = job->function != nullptr ? job->function(job) : uint64_t{ZRErrParam};
}

DWORD WINAPI RunWorker(LPVOID context) {
  auto* block = static_cast<WorkerBlock*>(context);
  CountRunning(block, 1);
  while (!block->stop) {
    if (ZRWorkerJob* job = block->incoming.Pop()) {
      const Stopwatch watch;
      DoJob(job);
      job->seconds = watch.Seconds();
      block->finished->Push(job);
    }
    ZRWakeKernel();
  }
  CountRunning(block, static_cast<uint32_t>(-1));
  return 0;
}

WorkerPool::WorkerPool(const WorkerPoolPlan& plan, JobQueue* finished)
    : plan_(plan), block_(finished) {
  CStrToLStr(name_, kNameLimit, plan.name);
}

WorkerPool::~WorkerPool() {
  ZR_CHECK(RunningThreads() == 0, "workers");
  while (threads_ != nullptr) {
    PoolThread* thread = threads_;
    threads_ = thread->next;
    CloseHandle(thread->handle);
    delete thread;
  }
}

uint32_t WorkerPool::RunningThreads() {
  ScopedLock hold(block_.lock);
  return block_.running;
}

bool WorkerPool::Start() {
  while (thread_count_ < plan_.threads) {
    if (!AddThread()) return false;
  }
  return true;
}

bool WorkerPool::AddThread() {
  auto* thread = new PoolThread;
  if (thread == nullptr) return false;
  DWORD id = 0;
  thread->handle = ZRThreadCreate(plan_.routine, &block_, plan_.stack_bytes, plan_.level, &id);
  if (thread->handle == nullptr) {
    delete thread;
    return false;
  }
  thread->next = threads_;
  threads_ = thread;
  ZRThreadSetAffinity(thread->handle, plan_.affinity);
  NameThread(id, ++thread_count_);
  return true;
}

void WorkerPool::NameThread(DWORD id, uint32_t number) const {
  char text[kNameLimit + 32];
  FormatTextN(text, sizeof text - 1, "%#s: %d/%d", name_, number,
              std::max(plan_.threads, thread_count_));
  ZRThreadSetName(id, text);
}

void WorkerPool::Stop() {
  block_.stop = true;
  block_.incoming.Stop();
  block_.finished->Stop();
  for (const PoolThread* thread = threads_; thread != nullptr; thread = thread->next) {
    // The end of the thread itself, not of its count: until then it still touches the block.
    while (WaitForSingleObject(thread->handle, 0) == WAIT_TIMEOUT) GiveWay();
  }
}

void WorkerPool::Submit(ZRWorkerJob* job) {
  job->pool = this;
  job->next = nullptr;
  (pending_tail_ != nullptr ? pending_tail_->next : pending_head_) = job;
  pending_tail_ = job;
  ++pending_count_;
  ++statistics_.in_flight;
  statistics_.most_in_flight = std::max(statistics_.most_in_flight, statistics_.in_flight);
}

bool WorkerPool::FlushPending() {
  if (pending_head_ == nullptr) return true;
  if (!block_.incoming.TryPushChain(pending_head_, pending_tail_, pending_count_)) return false;
  pending_head_ = pending_tail_ = nullptr;
  pending_count_ = 0;
  return true;
}

void WorkerPool::NoteFinished(const ZRWorkerJob& job) {
  WorkerStatistics& figures = statistics_;
  --figures.in_flight;
  figures.job_time = job.seconds * kMillisPerSecond;
  figures.longest_job_time = std::max(figures.longest_job_time, figures.job_time);
  figures.round_trip = static_cast<double>(ZRMicroseconds(true) - job.queued_at) /
                       static_cast<double>(kMicrosecondsPerMillisecond);
  figures.longest_round_trip = std::max(figures.longest_round_trip, figures.round_trip);
}

WorkerStatistics WorkerPool::Statistics() const {
  WorkerStatistics figures = statistics_;
  figures.threads = thread_count_;
  return figures;
}

void WorkerPool::ResetStatistics() {
  statistics_ = {.in_flight = statistics_.in_flight, .most_in_flight = statistics_.in_flight};
}

}  // namespace qv
