#include "app/leveled_log.h"

#include <atomic>

#include "app/debug_output.h"
#include "base/scratch_pool.h"
#include "text/formatter.h"

namespace qv {
namespace {

void WriteLine(int32_t level, const char* format, va_list arguments) {
  if (level > LeveledLogThreshold()) return;
  ScratchBlock text;
  if (text.data() == nullptr) return;
  FormatTextList(text.data(), format, arguments);
  DebugPrint("%s\n", text.data());
}

struct LeveledLogState {
  std::atomic<LeveledLogHook> hook{WriteLine};
  std::atomic<int32_t> threshold{kDefaultLogThreshold};
};

LeveledLogState& State() {
  static constinit LeveledLogState state;
  return state;
}

}  // namespace

void SetLeveledLogHook(LeveledLogHook hook) {
  State().hook.store(hook == nullptr ? WriteLine : hook, std::memory_order_release);
}

int32_t LeveledLogThreshold() { return State().threshold.load(std::memory_order_relaxed); }

void SetLeveledLogThreshold(int32_t threshold) {
  State().threshold.store(threshold, std::memory_order_relaxed);
}

void LogAtLevel(int32_t level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  State().hook.load(std::memory_order_acquire)(level, format, arguments);
  va_end(arguments);
}

}  // namespace qv
