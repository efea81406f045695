#include "tasks/tracker.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "app/message.h"
#include "app/settings.h"
#include "base/clock.h"
#include "base/hooks.h"

namespace qv {
namespace {

constexpr int64_t kUnread = -1;
constexpr char kMicroSign[] = "\xC2\xB5";  // UTF-8
constexpr uint32_t kOwnFrames = 1;         // of a traceback that begins at the caller

struct TrackerState {
  std::atomic<int64_t> limit{kUnread};  // microseconds; two threads may read the same setting
};

TrackerState& State() {
  static constinit TrackerState state;
  return state;
}

// Microseconds, 0: off. Without a settings file nothing is kept, since one may yet be named.
uint64_t Limit() {
  int64_t limit = State().limit.load(std::memory_order_relaxed);
  if (limit == kUnread) {
    if (*SettingsPath() == '\0') return 0;
    limit = std::max(ReadSetting(setting::kTrackLimit, 0), 0);
    State().limit.store(limit, std::memory_order_relaxed);
  }
  return static_cast<uint64_t>(limit);
}

}  // namespace

void ResetTrackerForTest() { State().limit = kUnread; }

}  // namespace qv

uint64_t ZRTrackStart() { return qv::Limit() > 0 ? ZRMicroseconds(true) : 0; }

void ZRTrackEnd(uint64_t start, const char* name) {
  const uint64_t limit = qv::Limit();
  if (limit == 0 || start == 0) return;
  const uint64_t now = ZRMicroseconds(true);
  if (now <= start || now - start <= limit) return;
  constexpr uint64_t kLargest = std::numeric_limits<int32_t>::max();
  const auto elapsed = static_cast<int32_t>(std::min(now - start, kLargest));
  ZRMessage("Tracking limit exceeded for: %s", name != nullptr ? name : "");
  ZRMessage("Tracking operation took    : %ld %ss", elapsed, qv::kMicroSign);
  qv::GlobalHooks().print_traceback(qv::kOwnFrames);
}
