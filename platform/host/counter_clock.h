// A monotonic clock that is read from the processor's counter and kept right by the system's.
//
// A reading of the system's clock waits until all that was begun before it has ended, which costs
// more than what the kernel does between two readings. A counter that runs at one rate says as well
// how long ago the system's clock was read; so that is read once in a millisecond, and with it the
// rate of the counter:
//
//   constinit CounterClock<ProcessorCounter> clock;
//   uint64_t now = clock.Nanoseconds();
//
// A reading lags behind the system's clock by about a microsecond at most. No thread sees it go
// back; between threads that tell each other of their readings it may, by as much as the processor
// runs ahead of itself, less than a microsecond: who compares those keeps the highest. When counter
// and system disagree about how long something took, which shows within a millisecond, all readings
// are the system's until they have agreed again, and for good when they never do. A counter that
// stands still is not noticed: the system, which counts by it too, would stand as well.
//
// A Source has, as static members:
//   bool IsUsable()          the counter runs at one rate, on all processors the same
//   uint64_t Counter()       the counter
//   uint64_t Nanoseconds()   the system's monotonic clock
// Threads: any. None waits for another one, which may have been suspended in here.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace host {

template <typename Source>
class CounterClock {
 public:
  uint64_t Nanoseconds() {
    // What is read between two equal even numbers belongs together.
    const uint32_t before = sequence_.load(std::memory_order_acquire);
    const uint64_t window = window_.load(std::memory_order_acquire);
    const uint64_t counter = counter_.load(std::memory_order_acquire);
    const uint64_t rate = rate_.load(std::memory_order_acquire);
    const uint64_t since = nanoseconds_.load(std::memory_order_acquire);
    const uint64_t floor = floor_.load(std::memory_order_acquire);
    const uint64_t passed = Source::Counter() - counter;  // large when the counter went back
    if (passed >= window || sequence_.load(std::memory_order_relaxed) != before || before % 2 != 0)
        [[unlikely]] {
      return ReadSystem(before);
    }
    return std::max(floor, since + (passed * rate >> kRateBits));
  }

 private:
  static constexpr int kRateBits = 32;
  static constexpr uint64_t kWindow = 1000000;         // nanoseconds for which a rate is used
  static constexpr uint64_t kTolerance = 1024;         // rates differ by less than one in so many
  static constexpr uint32_t kMostDisagreements = 100;  // one after the other

  struct Moment {
    uint64_t counter, nanoseconds;
  };

  // Both clocks at once: of three readings the one that was interrupted least.
  static Moment ReadBoth() {
    Moment best{};
    uint64_t least = UINT64_MAX;
    for (int i = 0; i < 3; ++i) {
      const uint64_t before = Source::Counter();
      const uint64_t nanoseconds = Source::Nanoseconds();
      const uint64_t took = Source::Counter() - before;
      if (took >= least) continue;
      least = took;
      best = {before + took / 2, nanoseconds};
    }
    return best;
  }

  // No reading is below one that was given before.
  uint64_t RaiseFloor(uint64_t nanoseconds) {
    uint64_t floor = floor_.load(std::memory_order_relaxed);
    while (floor < nanoseconds &&
           !floor_.compare_exchange_weak(floor, nanoseconds, std::memory_order_acq_rel)) {
    }
    return std::max(floor, nanoseconds);
  }

  // A reading of the system's clock. Sets the counter right unless another thread is about to.
  [[gnu::noinline]] uint64_t ReadSystem(uint32_t before) {
    const bool is_mine =
        !given_up_.load(std::memory_order_relaxed) && before % 2 == 0 &&
        sequence_.compare_exchange_strong(before, before + 1, std::memory_order_acq_rel);
    if (!is_mine) return RaiseFloor(Source::Nanoseconds());
    const uint64_t now = Renew();
    sequence_.store(before + 2, std::memory_order_release);
    return now;
  }

  // One thread at a time. Returns the time.
  uint64_t Renew() {
    if (!is_known_usable_ && !(is_known_usable_ = Source::IsUsable())) {
      given_up_.store(true, std::memory_order_relaxed);
    }
    const Moment now = ReadBoth();
    // What may have been given.
    if (window_.load(std::memory_order_relaxed) != 0) {
      RaiseFloor(nanoseconds_.load(std::memory_order_relaxed) + kWindow - kWindow / kTolerance);
    }
    if (now.nanoseconds - last_.nanoseconds >= kWindow) {
      Use(now, RateBetween(last_, now));
      last_ = now;
    }
    return RaiseFloor(now.nanoseconds);
  }

  // 0 where it is none to count with.
  static uint64_t RateBetween(const Moment& from, const Moment& to) {
    constexpr double kMostNanoseconds = 1000;  // a count
    const auto counts = static_cast<double>(to.counter - from.counter);
    const double each = static_cast<double>(to.nanoseconds - from.nanoseconds) / counts;
    if (!(each < kMostNanoseconds)) return 0;  // nor when nothing was counted
    return static_cast<uint64_t>(each * static_cast<double>(uint64_t{1} << kRateBits));
  }

  // The counter is trusted from now on if its rate is what it was before.
  void Use(const Moment& now, uint64_t rate) {
    const uint64_t difference = std::max(rate, last_rate_) - std::min(rate, last_rate_);
    const bool agrees = difference < rate / kTolerance;
    last_rate_ = rate;
    disagreements_ = agrees ? 0 : disagreements_ + 1;
    if (disagreements_ > kMostDisagreements) given_up_.store(true, std::memory_order_relaxed);
    // A little slow, so that what is given is not ahead of the system even if that one slows down.
    const uint64_t used = rate - rate / kTolerance;
    window_.store(agrees ? (kWindow << kRateBits) / rate : 0, std::memory_order_release);
    rate_.store(used, std::memory_order_release);
    counter_.store(now.counter, std::memory_order_release);
    nanoseconds_.store(now.nanoseconds, std::memory_order_release);
  }

  std::atomic<uint32_t> sequence_{0};  // odd while a thread is about to set the fields below
  std::atomic<bool> given_up_{false};
  std::atomic<uint64_t> window_{0};  // counts from counter_ on; 0 while the counter is not trusted
  std::atomic<uint64_t> counter_{0}, nanoseconds_{0};  // of one moment
  std::atomic<uint64_t> rate_{0};  // nanoseconds a count, with kRateBits behind the point
  std::atomic<uint64_t> floor_{0};
  // Of the thread that made the sequence odd.
  bool is_known_usable_ = false;
  Moment last_{};
  uint64_t last_rate_ = 0;
  uint32_t disagreements_ = 0;
};

}  // namespace host
