#include "platform/host/thread_object.h"

#include <linux/futex.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <new>

#include "platform/host/clock.h"
#include "platform/host/synchronization.h"

namespace host {
namespace {

constexpr long kLookAgain = 1000000;  // nanoseconds

int SuspendSignal() { return SIGRTMIN + 4; }

// The object of the calling thread. Where CreateThread has not begun the thread, its end is seen
// by the destructor.
struct ThreadSelf {
  std::shared_ptr<Thread> thread;
  ~ThreadSelf();
};
thread_local ThreadSelf self;
[[gnu::tls_model("initial-exec")]] thread_local Thread* this_thread = nullptr;

ThreadSelf::~ThreadSelf() {
  if (thread) thread->End(0);
}

void SleepAt(const std::atomic<uint32_t>* word, uint32_t value, const timespec* limit) {
  syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, value, limit, nullptr, 0);
}

void WakeAt(const std::atomic<uint32_t>* word) {
  syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT32_MAX, nullptr, nullptr, 0);
}

void ChangeSuspendSignal(int how) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SuspendSignal());
  pthread_sigmask(how, &set, nullptr);
}

}  // namespace

std::shared_ptr<Thread> Thread::Current() {
  if (!self.thread) std::make_shared<Thread>()->Begin();
  return self.thread;
}

Thread* Thread::CurrentIfAny() { return this_thread; }

void Thread::Begin() {
  self.thread = shared_from_this();
  this_thread = this;
  ChangeSuspendSignal(SIG_UNBLOCK);
  std::lock_guard hold(mutex_);
  number_.store(GetCurrentThreadId(), std::memory_order_release);
  changed_.notify_all();
}

void Thread::WaitUntilBegun() {
  std::unique_lock hold(mutex_);
  changed_.wait(hold, [this] { return number() != 0; });
}

void Thread::End(DWORD exit_code) {
  ChangeSuspendSignal(SIG_BLOCK);
  this_thread = nullptr;
  {
    std::lock_guard life(life_mutex_);
    std::lock_guard hold(mutex_);
    exit_code_ = exit_code;
    ended_ = true;
    changed_.notify_all();
  }
  std::shared_ptr<Thread> last = std::move(self.thread);
}

DWORD Thread::ExitCode() {
  std::lock_guard hold(mutex_);
  return exit_code_;
}

bool Thread::Queue(PAPCFUNC routine, ULONG_PTR value) {
  std::lock_guard hold(calls_mutex_);
  if (ended_) return false;
  try {
    calls_.push_back({routine, value});
  } catch (const std::bad_alloc&) {
    return false;
  }
  has_calls_.store(true, std::memory_order_release);
  arrived_.notify_one();
  return true;
}

bool Thread::RunCalls() {
  if (!has_calls_.load(std::memory_order_acquire)) return false;
  for (bool ran = false;; ran = true) {
    Call call;
    {
      std::lock_guard hold(calls_mutex_);
      if (calls_.empty()) {
        has_calls_.store(false, std::memory_order_relaxed);
        return ran;
      }
      call = calls_.front();
      calls_.pop_front();
    }
    call.routine(call.value);
  }
}

void Thread::WaitForCalls(DWORD milliseconds) {
  std::unique_lock hold(calls_mutex_);
  auto is_there = [this] { return !calls_.empty(); };
  if (milliseconds == INFINITE) {
    arrived_.wait(hold, is_there);
  } else {
    arrived_.wait_for(hold, std::chrono::milliseconds(milliseconds), is_there);
  }
}

// --- suspension: a signal takes the thread into StandStill, which it leaves when the count is 0
// ---

void Thread::StandStill(int) {
  Thread* thread = this_thread;
  if (thread == nullptr) return;
  const int error = errno;
  thread->still_ = 1;
  WakeAt(&thread->still_);
  while (const uint32_t count = thread->suspensions_) {
    SleepAt(&thread->suspensions_, count, nullptr);
  }
  thread->still_ = 0;
  errno = error;
}

bool Thread::SendSuspension() {
  [[maybe_unused]] static const bool installed = [] {
    struct sigaction action {};
    action.sa_handler = StandStill;
    action.sa_flags = SA_RESTART;
    return sigaction(SuspendSignal(), &action, nullptr) == 0;
  }();
  return syscall(SYS_tgkill, getpid(), number(), SuspendSignal()) == 0;
}

void Thread::WaitUntilStill() {
  const timespec limit{0, kLookAgain};
  while (still_ == 0 && suspensions_ != 0 && !ended_) SleepAt(&still_, 0, &limit);
}

DWORD Thread::Suspend() {
  if (this == CurrentIfAny()) {
    // The handler runs before the signal's call returns.
    const DWORD before = suspensions_.fetch_add(1);
    SendSuspension();
    return before;
  }
  DWORD before;
  {
    std::lock_guard life(life_mutex_);
    if (ended_) return kRefused;
    before = suspensions_.fetch_add(1);
    if (before == 0) SendSuspension();
  }
  WaitUntilStill();
  return before;
}

DWORD Thread::Resume() {
  if (ended_) return kRefused;
  uint32_t count = suspensions_;
  while (count != 0 && !suspensions_.compare_exchange_weak(count, count - 1)) {
  }
  if (count == 1) WakeAt(&suspensions_);
  return count;
}

std::shared_ptr<Thread> FindThread(HANDLE handle) {
  return handle == GetCurrentThread() ? Thread::Current() : FindHandle<Thread>(handle);
}

DWORD SleepAlertably(DWORD milliseconds) {
  const std::shared_ptr<Thread> thread = Thread::Current();
  if (thread->RunCalls()) return WAIT_IO_COMPLETION;
  if (milliseconds == 0 || (milliseconds != INFINITE && TicksFrozen())) {
    PassTime(milliseconds);
    PassTime(0);  // others may be about to queue something
  } else {
    thread->WaitForCalls(milliseconds);
  }
  return thread->RunCalls() ? WAIT_IO_COMPLETION : 0;
}

}  // namespace host

LONG NtTestAlert(void) {
  if (host::Thread* thread = host::Thread::CurrentIfAny()) thread->RunCalls();
  return 0;
}
