// The reader/writer lock beside std::shared_mutex.
//
// A second thread exists all the time: in a process with one thread the peer leaves its atomic
// operations out.
#include <sched.h>

#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "base/reader_writer_lock.h"
#include "bench/ratio.h"

namespace {

// Exists, and does nothing.
class IdleThread {
 public:
  ~IdleThread() {
    {
      std::lock_guard hold(mutex_);
      done_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;  // under the mutex
  std::thread thread_{[this] {
    std::unique_lock hold(mutex_);
    changed_.wait(hold, [this] { return done_; });
  }};
};

qv::ReaderWriterLock& OurLock() {
  static qv::ReaderWriterLock lock;
  return lock;
}

std::shared_mutex& TheirLock() {
  static std::shared_mutex mutex;
  return mutex;
}

void AddReading(const char* name, double target, int threads) {
  bench::Add({.name = name,
              .peer = "std::shared_mutex",
              .target = target,
              .ours =
                  [](benchmark::State& state) {
                    for (auto _ : state) {
                      ZRLockRead(OurLock());
                      benchmark::ClobberMemory();
                      ZRLockUnlockRead(OurLock());
                    }
                  },
              .theirs =
                  [](benchmark::State& state) {
                    for (auto _ : state) {
                      TheirLock().lock_shared();
                      benchmark::ClobberMemory();
                      TheirLock().unlock_shared();
                    }
                  },
              .threads = threads});
}

void AddWriting() {
  bench::Add({.name = "write lock + unlock",
              .peer = "std::shared_mutex",
              .target = 1.5,
              .ours =
                  [](benchmark::State& state) {
                    for (auto _ : state) {
                      ZRLockWrite(OurLock());
                      benchmark::ClobberMemory();
                      ZRLockUnlockWrite(OurLock());
                    }
                  },
              .theirs =
                  [](benchmark::State& state) {
                    for (auto _ : state) {
                      TheirLock().lock();
                      benchmark::ClobberMemory();
                      TheirLock().unlock();
                    }
                  }});
}

// The program may have been started on one processor only, where two threads never meet.
void UseAllProcessors() {
  cpu_set_t all;
  CPU_ZERO(&all);
  for (int i = 0; i < CPU_SETSIZE; ++i) CPU_SET(i, &all);
  sched_setaffinity(0, sizeof all, &all);
}

}  // namespace

int main(int argc, char** argv) {
  IdleThread second_thread;
  AddReading("read lock + unlock", 1.3, 1);
  AddWriting();
  int result = bench::Run(argc, argv);
  UseAllProcessors();
  AddReading("read lock + unlock, two threads", 1.2, 2);
  result |= bench::Run(argc, argv);
  return result;
}
