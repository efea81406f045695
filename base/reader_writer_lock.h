// Many readers or one writer, with an upgrade from reader to writer, and figures about the waits.
//
//   qv::ReaderWriterLock lock;
//   ZRLockRead(lock);
//   ...                                    // look
//   if (must_change && ZRLockUpgrade(lock)) {
//     ...                                  // change: nobody wrote since the look
//     ZRLockUnlockWrite(lock);
//   } else {
//     ZRLockUnlockRead(lock);
//   }
//
// or, with a holder that gives back what it holds at the end of its scope:
//
//   qv::LockHolder hold(&lock);
//   if (hold.Upgrade()) LookAgain();       // it was released on the way, others may have written
//
// A writer waits until the readers have left; from its request on, new readers wait behind it. So a
// thread that holds a read lock must not ask for another one, nor for the write lock: it would wait
// for itself. The writer may take both again, and gives each back. Unlocking for reading what
// nobody reads is ignored; unlocking for writing is for the writer only.
//
// Threads: any. The owner destroys the lock when no call of it is under way. Errors: without an
// event (the system had none, or none was wanted) a waiting writer looks again every few
// milliseconds.
//
// How it works: one word holds the readers, whether there is a writer, and how often the lock was
// taken for reading. One addition counts a reader in; when it finds a writer there, it is taken
// back and the reader waits at the lock that the writer holds. The clock is read only when
// something was in the way: a lock had at once has waited 0 ms.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock_object.h"

namespace qv {

class Stopwatch;

// Figures since the lock was made. Each is right by itself; while the lock is in use they are of
// slightly different moments, and a reader that waits may show in read_locks for a moment.
struct LockStatistics {
  uint32_t read_locks, write_locks, upgraded_locks;                      // times it was taken
  uint32_t maximum_readers;                                              // at once
  uint32_t longest_read_wait, longest_write_wait, longest_upgrade_wait;  // milliseconds
};

class ReaderWriterLock {
 public:
  enum EventUse { kWithEvent, kWithoutEvent };

  // Without an event the lock needs nothing of the system.
  explicit ReaderWriterLock(EventUse event_use = kWithEvent);
  ~ReaderWriterLock();
  ReaderWriterLock(const ReaderWriterLock&) = delete;
  ReaderWriterLock& operator=(const ReaderWriterLock&) = delete;

  void LockRead() {
    const uint64_t before = word_.fetch_add(kOneRead, std::memory_order_acquire);
    if ((before & kWriter) != 0) [[unlikely]] {
      LockReadBehindWriter();
    } else {
      NoteReaders(before);
    }
  }
  // False when a writer is there or waits for readers to leave.
  bool TryLockRead();
  void UnlockRead() {
    const uint64_t before = word_.fetch_sub(kOneReader, std::memory_order_release);
    // The writer bit is the sign of the lower half: nothing more to do while other readers stay, or
    // while no writer waits.
    if (static_cast<int32_t>(before) <= 0) [[unlikely]]
      FinishUnlockRead(before);
  }

  void LockWrite();
  // False when the lock is held in any way by another thread.
  bool TryLockWrite();
  void UnlockWrite();

  // For the holder of a read lock. True: it has become the write lock, and nobody else wrote in
  // between (other readers are waited for). False: another thread writes or upgrades; the caller
  // still holds its read lock, which it must release for that thread to go on.
  bool Upgrade();

  LockStatistics Statistics();

 private:
  // The word: readers in bits 0 to 30, the writer in bit 31, read locks taken so far above.
  static constexpr uint64_t kOneReader = 1;
  static constexpr uint64_t kWriter = uint64_t{1} << 31;
  static constexpr uint64_t kReaders = kWriter - 1;
  static constexpr int kReadLocksShift = 32;
  static constexpr uint64_t kOneRead = (uint64_t{1} << kReadLocksShift) + kOneReader;
  static_assert(std::atomic<uint64_t>::is_always_lock_free);

  void NoteReaders(uint64_t before) {
    const auto readers = static_cast<uint32_t>((before & kReaders) + 1);
    if (readers > maximum_readers_.load(std::memory_order_relaxed)) [[unlikely]] {
      RaiseMaximum(readers);
    }
  }
  bool HasReaders() const { return (word_.load(std::memory_order_acquire) & kReaders) != 0; }
  void RaiseMaximum(uint32_t readers);
  void TakeBackRead();
  void EnterAsReader();
  void LockReadBehindWriter();
  void FinishUnlockRead(uint64_t before);
  void BecomeWriter();
  bool BecomeWriterWithoutReaders();
  void LockWriteSlowly(bool has_writer_lock);
  void WaitForReaders();
  void NoteWait(uint32_t* longest, const Stopwatch& waiting);

  std::atomic<uint64_t> word_{0};
  std::atomic<uint32_t> maximum_readers_{0};
  // Signalled when the last reader leaves while a writer waits; INVALID_HANDLE_VALUE: none.
  const HANDLE event_;

  // Held by the writer, from its request until it unlocks, and by a reader that waited for it.
  LockObject writer_lock_;
  uint32_t writer_depth_ = 0;                // under the writer lock: how often it was taken
  std::atomic<uint32_t> write_locks_{0};     // changed under the writer lock, read by anyone
  std::atomic<uint32_t> upgraded_locks_{0};  // the same

  LockObject statistics_lock_;
  uint32_t longest_read_wait_ = 0;  // milliseconds, under the statistics lock
  uint32_t longest_write_wait_ = 0;
  uint32_t longest_upgrade_wait_ = 0;
};

// Holds at most one lock, for reading or for writing, and gives it back at the end of its scope.
// For one thread, the one that unlocks.
class LockHolder {
 public:
  LockHolder() = default;
  explicit LockHolder(ReaderWriterLock* lock) { Set(lock); }
  ~LockHolder() { Release(); }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

  // Gives back what is held, then takes `lock` for reading (null: none).
  void Set(ReaderWriterLock* lock);
  // False, and nothing is done, when `lock` is already held that way. Otherwise gives back what is
  // held and tries the new lock without waiting: true when it was had, false when it was not (then
  // nothing is held), also for null.
  bool Change(ReaderWriterLock* lock, bool for_writing);
  // Makes the read lock a write lock, waiting as long as it takes. True when it had to be released
  // on the way, so that others may have written; false when not, when the write lock was held
  // already, and when nothing is held.
  bool Upgrade();
  void Release();

  ReaderWriterLock* lock() const { return lock_; }
  bool for_writing() const { return for_writing_; }

 private:
  ReaderWriterLock* lock_ = nullptr;
  bool for_writing_ = false;
};

// An object that hands out the lock for a part of itself; which part `part` means is its own
// choice.
//
// GetLock is the fourth entry of the object's table of virtual functions, for code that calls it by
// its place. The compiler lays the table out in the order of declaration, a virtual destructor
// taking two entries (complete and deleting), so what stands before GetLock here must stay: the
// destructor and ReturnLock.
class Lockable {
 public:
  virtual ~Lockable() = default;
  // The caller has unlocked and needs the lock of this part no longer: for objects that borrow
  // their locks from a pool. Called once for each GetLock that gave a lock.
  virtual void ReturnLock(uintptr_t part) { static_cast<void>(part); }
  // The lock to take before this part is touched, null when there is none to be had. It stays valid
  // until ReturnLock.
  virtual ReaderWriterLock* GetLock(uintptr_t part) = 0;
};

// A holder that asks an object for its lock. The object outlives what is held of it.
class LockableHolder {
 public:
  LockableHolder() = default;
  LockableHolder(Lockable* object, uintptr_t part) { Set(object, part); }
  ~LockableHolder() { Release(); }
  LockableHolder(const LockableHolder&) = delete;
  LockableHolder& operator=(const LockableHolder&) = delete;

  // As those of LockHolder, with the lock that the object gives for `part`. "Already held" compares
  // locks, so two parts under one lock count as the same.
  void Set(Lockable* object, uintptr_t part);
  bool Change(Lockable* object, uintptr_t part, bool for_writing);
  bool Upgrade() { return holder_.Upgrade(); }
  void Release();

  ReaderWriterLock* lock() const { return holder_.lock(); }
  bool for_writing() const { return holder_.for_writing(); }

 private:
  LockHolder holder_;
  Lockable* object_ = nullptr;  // whose lock is held, null when none is
  uintptr_t part_ = 0;
};

}  // namespace qv

inline void ZRLockRead(qv::ReaderWriterLock& lock) { lock.LockRead(); }
inline bool ZRLockTryRead(qv::ReaderWriterLock& lock) { return lock.TryLockRead(); }
inline void ZRLockWrite(qv::ReaderWriterLock& lock) { lock.LockWrite(); }
inline bool ZRLockTryWrite(qv::ReaderWriterLock& lock) { return lock.TryLockWrite(); }
inline bool ZRLockUpgrade(qv::ReaderWriterLock& lock) { return lock.Upgrade(); }
inline void ZRLockUnlockRead(qv::ReaderWriterLock& lock) { lock.UnlockRead(); }
inline void ZRLockUnlockWrite(qv::ReaderWriterLock& lock) { lock.UnlockWrite(); }
inline void ZRLockStatistics(qv::ReaderWriterLock& lock, qv::LockStatistics* out) {
  *out = lock.Statistics();
}
