#include "base/reader_writer_lock.h"

#include <algorithm>

#include "base/stopwatch.h"

namespace qv {
namespace {

// A writer gives its time away so often before it waits for real.
constexpr uint32_t kZeroSleeps = 1024;
constexpr uint32_t kLongestPoll = 5;  // milliseconds

HANDLE CreateDrainEvent(ReaderWriterLock::EventUse use) {
  if (use == ReaderWriterLock::kWithoutEvent) return INVALID_HANDLE_VALUE;
  const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  return event != nullptr ? event : INVALID_HANDLE_VALUE;
}

// For a figure that only the holder of a lock changes and anyone may read.
void CountOne(std::atomic<uint32_t>& figure) {
  figure.store(figure.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

}  // namespace

ReaderWriterLock::ReaderWriterLock(EventUse event_use) : event_(CreateDrainEvent(event_use)) {}

ReaderWriterLock::~ReaderWriterLock() {
  if (event_ != INVALID_HANDLE_VALUE) CloseHandle(event_);
}

// --- readers ---

void ReaderWriterLock::RaiseMaximum(uint32_t readers) {
  uint32_t known = maximum_readers_.load(std::memory_order_relaxed);
  while (known < readers &&
         !maximum_readers_.compare_exchange_weak(known, readers, std::memory_order_relaxed)) {
  }
}

// Undoes the addition that met a writer. That writer may have taken it for a reader.
void ReaderWriterLock::TakeBackRead() {
  const uint64_t before = word_.fetch_sub(kOneRead, std::memory_order_release);
  if (static_cast<int32_t>(before) <= 0) FinishUnlockRead(before);
}

// With the writer lock held there is no writer but the caller itself.
void ReaderWriterLock::EnterAsReader() {
  NoteReaders(word_.fetch_add(kOneRead, std::memory_order_acquire));
  writer_lock_.Unlock();
}

void ReaderWriterLock::LockReadBehindWriter() {
  const Stopwatch waiting;
  TakeBackRead();
  writer_lock_.Lock();
  EnterAsReader();
  NoteWait(&longest_read_wait_, waiting);
}

bool ReaderWriterLock::TryLockRead() {
  const uint64_t before = word_.fetch_add(kOneRead, std::memory_order_acquire);
  if ((before & kWriter) == 0) {
    NoteReaders(before);
    return true;
  }
  TakeBackRead();
  if (!writer_lock_.TryLock()) return false;
  EnterAsReader();
  return true;
}

// What remains when the reader was the last one before a waiting writer, or was none at all.
void ReaderWriterLock::FinishUnlockRead(uint64_t before) {
  const uint64_t readers = before & kReaders;
  if (readers == 0) word_.fetch_add(kOneReader, std::memory_order_relaxed);
  if (readers == 1 && event_ != INVALID_HANDLE_VALUE) SetEvent(event_);
}

// --- writers; all of these hold the writer lock when they have succeeded ---

void ReaderWriterLock::BecomeWriter() {
  if (writer_depth_++ == 0) word_.fetch_or(kWriter, std::memory_order_acquire);
}

bool ReaderWriterLock::BecomeWriterWithoutReaders() {
  uint64_t word = word_.load(std::memory_order_relaxed);
  do {
    if ((word & kReaders) != 0) return false;
  } while (!word_.compare_exchange_weak(word, word | kWriter, std::memory_order_acquire,
                                        std::memory_order_relaxed));
  ++writer_depth_;
  return true;
}

void ReaderWriterLock::LockWrite() {
  const bool has_writer_lock = writer_lock_.TryLock();
  if (!has_writer_lock || !BecomeWriterWithoutReaders()) LockWriteSlowly(has_writer_lock);
  CountOne(write_locks_);
}

void ReaderWriterLock::LockWriteSlowly(bool has_writer_lock) {
  const Stopwatch waiting;
  if (!has_writer_lock) writer_lock_.Lock();
  BecomeWriter();
  WaitForReaders();
  NoteWait(&longest_write_wait_, waiting);
}

bool ReaderWriterLock::TryLockWrite() {
  if (!writer_lock_.TryLock()) return false;
  if (!BecomeWriterWithoutReaders()) {
    writer_lock_.Unlock();
    return false;
  }
  CountOne(write_locks_);
  return true;
}

void ReaderWriterLock::UnlockWrite() {
  if (--writer_depth_ == 0) word_.fetch_and(~kWriter, std::memory_order_release);
  writer_lock_.Unlock();
}

bool ReaderWriterLock::Upgrade() {
  if (!writer_lock_.TryLock()) return false;
  BecomeWriter();
  UnlockRead();
  if (HasReaders()) {
    const Stopwatch waiting;
    WaitForReaders();
    NoteWait(&longest_upgrade_wait_, waiting);
  }
  CountOne(upgraded_locks_);
  return true;
}

// The event may hold a signal of an earlier round, so the readers decide and not the event.
void ReaderWriterLock::WaitForReaders() {
  for (uint32_t i = 0; i < kZeroSleeps && HasReaders(); ++i) SleepEx(0, TRUE);
  for (uint32_t waits = 0; HasReaders(); ++waits) {
    const bool waited =
        event_ != INVALID_HANDLE_VALUE && WaitForSingleObject(event_, INFINITE) == WAIT_OBJECT_0;
    if (!waited) Sleep(std::min(waits / 2, kLongestPoll));
  }
}

// --- figures ---

void ReaderWriterLock::NoteWait(uint32_t* longest, const Stopwatch& waiting) {
  const uint32_t milliseconds = waiting.Milliseconds();
  ScopedLock hold(statistics_lock_);
  *longest = std::max(*longest, milliseconds);
}

LockStatistics ReaderWriterLock::Statistics() {
  LockStatistics figures{};
  figures.read_locks =
      static_cast<uint32_t>(word_.load(std::memory_order_relaxed) >> kReadLocksShift);
  figures.write_locks = write_locks_.load(std::memory_order_relaxed);
  figures.upgraded_locks = upgraded_locks_.load(std::memory_order_relaxed);
  figures.maximum_readers = maximum_readers_.load(std::memory_order_relaxed);
  ScopedLock hold(statistics_lock_);
  figures.longest_read_wait = longest_read_wait_;
  figures.longest_write_wait = longest_write_wait_;
  figures.longest_upgrade_wait = longest_upgrade_wait_;
  return figures;
}

// --- holders ---

void LockHolder::Set(ReaderWriterLock* lock) {
  Release();
  if (lock == nullptr) return;
  lock->LockRead();
  lock_ = lock;
}

bool LockHolder::Change(ReaderWriterLock* lock, bool for_writing) {
  if (lock != nullptr && lock == lock_ && for_writing == for_writing_) return false;
  Release();
  if (lock == nullptr) return false;
  if (!(for_writing ? lock->TryLockWrite() : lock->TryLockRead())) return false;
  lock_ = lock;
  for_writing_ = for_writing;
  return true;
}

bool LockHolder::Upgrade() {
  if (lock_ == nullptr || for_writing_) return false;
  for_writing_ = true;
  if (lock_->Upgrade()) return false;
  lock_->UnlockRead();
  lock_->LockWrite();
  return true;
}

void LockHolder::Release() {
  if (lock_ == nullptr) return;
  for_writing_ ? lock_->UnlockWrite() : lock_->UnlockRead();
  lock_ = nullptr;
  for_writing_ = false;
}

void LockableHolder::Set(Lockable* object, uintptr_t part) {
  Release();
  ReaderWriterLock* lock = object != nullptr ? object->GetLock(part) : nullptr;
  if (lock == nullptr) return;
  holder_.Set(lock);
  object_ = object;
  part_ = part;
}

// The object is asked first, so that a lock already held stays as it is.
bool LockableHolder::Change(Lockable* object, uintptr_t part, bool for_writing) {
  ReaderWriterLock* lock = object != nullptr ? object->GetLock(part) : nullptr;
  const bool held_that_way =
      lock != nullptr && lock == holder_.lock() && for_writing == holder_.for_writing();
  if (!held_that_way) Release();
  if (!held_that_way && holder_.Change(lock, for_writing)) {
    object_ = object;
    part_ = part;
    return true;
  }
  if (lock != nullptr) object->ReturnLock(part);
  return false;
}

void LockableHolder::Release() {
  holder_.Release();
  if (object_ == nullptr) return;
  object_->ReturnLock(part_);
  object_ = nullptr;
}

}  // namespace qv
