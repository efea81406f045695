#include "base/counter_lock.h"

namespace qv {
namespace {

// Arithmetic that wraps instead of being undefined.
uint64_t Bits(int64_t value) { return static_cast<uint64_t>(value); }
int64_t Value(uint64_t bits) { return static_cast<int64_t>(bits); }

}  // namespace

int64_t CounterLock::Set(int64_t value) {
  ScopedLock hold(*this);
  return value_ = value;
}

int64_t CounterLock::Add(int64_t amount) {
  ScopedLock hold(*this);
  return value_ = Value(Bits(value_) + Bits(amount));
}

int64_t CounterLock::Subtract(int64_t amount) {
  ScopedLock hold(*this);
  return value_ = Value(Bits(value_) - Bits(amount));
}

int64_t CounterLock::Multiply(int64_t factor) {
  ScopedLock hold(*this);
  return value_ = Value(Bits(value_) * Bits(factor));
}

// The processor faults on the lowest value divided by -1, so that divisor goes its own way.
int64_t CounterLock::Divide(int64_t divisor) {
  ScopedLock hold(*this);
  if (divisor == -1) return value_ = Value(0 - Bits(value_));
  if (divisor != 0) value_ /= divisor;
  return value_;
}

int64_t CounterLock::Modulo(int64_t divisor) {
  ScopedLock hold(*this);
  if (divisor == -1) return value_ = 0;
  if (divisor != 0) value_ %= divisor;
  return value_;
}

int64_t CounterLock::Get() {
  ScopedLock hold(*this);
  return value_;
}

}  // namespace qv
