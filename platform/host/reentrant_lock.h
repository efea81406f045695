// What a critical section is made of: a lock that its owner may take again.
//
// Taking it costs one atomic operation, giving it back a plain store, and nesting none at all. So
// who leaves may just miss one who begins to wait (its store and its look at `waiting_` are not
// ordered); a waiter therefore sleeps a millisecond at most and looks again.
// Under ThreadSanitizer critical sections are made of std::recursive_mutex instead, whose order the
// sanitizer checks.
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace host {

class ReentrantLock {
 public:
  void lock() {
    if (!try_lock()) LockSlowly();
  }

  bool try_lock() {
    const uintptr_t self = ThisThread();
    if (owner_.load(std::memory_order_relaxed) != self && !Take(self)) return false;
    ++depth_;
    return true;
  }

  // By the owner only.
  void unlock() {
    if (--depth_ > 0) return;
    owner_.store(0, std::memory_order_release);
    if (waiting_.load(std::memory_order_relaxed) != 0) WakeOne();
  }

 private:
  static constexpr int kSpins = 100;
  static constexpr long kLongestSleep = 1000000;  // nanoseconds

  // A number that no other living thread has.
  static uintptr_t ThisThread() {
    [[gnu::tls_model("initial-exec")]] static thread_local char mark;
    return reinterpret_cast<uintptr_t>(&mark);
  }

  bool Take(uintptr_t self) {
    uintptr_t nobody = 0;
    return owner_.load(std::memory_order_relaxed) == 0 &&
           owner_.compare_exchange_strong(nobody, self, std::memory_order_acquire);
  }

  [[gnu::noinline]] void LockSlowly() {
    for (int spin = 0; spin < kSpins; ++spin) {
      if (try_lock()) return;
    }
    waiting_.fetch_add(1);
    for (;;) {
      const uint32_t turn = turn_.load();
      if (try_lock()) break;
      const timespec limit{0, kLongestSleep};
      syscall(SYS_futex, &turn_, FUTEX_WAIT_PRIVATE, turn, &limit, nullptr, 0);
    }
    waiting_.fetch_sub(1);
  }

  [[gnu::noinline]] void WakeOne() {
    turn_.fetch_add(1);
    syscall(SYS_futex, &turn_, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
  }

  std::atomic<uintptr_t> owner_{0};   // ThisThread() of the owner
  uint32_t depth_ = 0;                // the owner's
  std::atomic<uint32_t> waiting_{0};  // threads that sleep, or are about to
  std::atomic<uint32_t> turn_{0};     // moves with each wake-up: the word that they sleep at
};

}  // namespace host
