// A 64-bit value that several threads count with.
//
//   qv::CounterLock open_files;
//   open_files.Increment();                        // each operation gives the new value
//   { qv::ScopedLock hold(open_files); ... }       // several operations as one
//
// Values wrap at 64 bits. Threads: any. Errors: none; a division or modulo by 0 leaves the value.
#pragma once

#include <cstdint>

#include "base/lock_object.h"

namespace qv {

class CounterLock : public LockObject {
 public:
  constexpr explicit CounterLock(int64_t value = 0) : value_(value) {}

  // Every operation is done under the lock and returns the value that it leaves.
  int64_t Set(int64_t value);
  int64_t Increment() { return Add(1); }
  int64_t Decrement() { return Subtract(1); }
  int64_t Add(int64_t amount);
  int64_t Subtract(int64_t amount);
  int64_t Multiply(int64_t factor);
  // Toward 0, as in C. By 0: unchanged.
  int64_t Divide(int64_t divisor);
  int64_t Modulo(int64_t divisor);
  int64_t Get();

 private:
  int64_t value_;  // under the lock
};

}  // namespace qv
