// Locks between operating-system threads, over the platform's critical sections.
//
//   qv::LockObject lock;                 // costs nothing until it is used
//   { qv::ScopedLock hold(lock); ... }   // re-entrant on one thread
//
// Threads: any. A lock object is destroyed by its owner when nobody holds it.
#pragma once

#include <atomic>

#include "platform/windows_api.h"

namespace qv {

// A critical section that is initialised exactly once, on its first enter, try-enter or leave, also
// when several threads come first together.
class LazyCriticalSection {
 public:
  constexpr LazyCriticalSection() = default;
  ~LazyCriticalSection();
  LazyCriticalSection(const LazyCriticalSection&) = delete;
  LazyCriticalSection& operator=(const LazyCriticalSection&) = delete;

  void Enter() { EnterCriticalSection(&Section()); }
  // True when the section was taken.
  bool TryEnter() { return TryEnterCriticalSection(&Section()) != 0; }
  void Leave() { LeaveCriticalSection(&Section()); }

 private:
  enum Stage : unsigned char { kUnused, kStarting, kReady };
  CRITICAL_SECTION& Section() {
    return stage_.load(std::memory_order_acquire) == kReady ? section_ : Initialised();
  }
  CRITICAL_SECTION& Initialised();

  std::atomic<unsigned char> stage_{kUnused};
  CRITICAL_SECTION section_{};
};

class LockObject {
 public:
  constexpr LockObject() = default;
  virtual ~LockObject() = default;

  void Lock() { section_.Enter(); }
  bool TryLock() { return section_.TryEnter(); }
  void Unlock() { section_.Leave(); }

 private:
  LazyCriticalSection section_;
};

class ScopedLock {
 public:
  explicit ScopedLock(LockObject& lock) : lock_(lock) { lock_.Lock(); }
  ~ScopedLock() { lock_.Unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  LockObject& lock_;
};

}  // namespace qv
