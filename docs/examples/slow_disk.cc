// A task that reads from a slow disk, while another one goes on.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>

#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/waits.h"
#include "tasks/workers.h"

namespace {

// The record that the workers need, and what the work needs beside it.
struct ReadJob : ZRWorkerJob {
  const char* name = nullptr;
  char text[64] = {};
};

// On a worker thread: it may block, and must not call the kernel.
uint64_t ReadFile(ZRWorkerJob* record) {
  auto* job = static_cast<ReadJob*>(record);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the disk turns
  const int length = std::snprintf(job->text, sizeof job->text, "the contents of %s", job->name);
  return static_cast<uint64_t>(length);
}

void Reader(TCB*) {
  ReadJob job;  // on the stack of the task, which waits
  ZRWorkerJobSetUp(&job, 0, 0);
  job.name = "letter.txt";
  std::printf("reader: asks a worker\n");
  const uint64_t length = ZRWorkerRun(&job, ReadFile, true, true);
  std::printf("reader: %u bytes, \"%s\"\n", static_cast<unsigned>(length), job.text);
}

void Ticker(TCB* task) {
  const TaskId reader = task->parameter;
  int ticks = 0;
  for (; ZRTaskIsValid(reader); ++ticks) ZRTaskYieldMillis(5, false);
  std::printf("ticker: %s\n", ticks > 1 ? "was not held up" : "stood still");
}

int32_t Begin(uintptr_t) {
  constexpr uint32_t kStack = 64000;
  ZRWorkersStart();  // where that fails, jobs run on this thread
  const TaskId reader = ZRTaskCreate(kStack, Reader, 0);
  ZRTaskCreate(kStack, Ticker, reader);
  ZRTaskLeaveCritical();
  ZRTaskYield();
  ZRWorkersStop();  // after the last job
  return 0;
}

}  // namespace

int main() { return ZRTaskStartKernel(1 << 20, nullptr, Begin, 0); }
