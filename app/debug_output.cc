#include "app/debug_output.h"

#include <atomic>
#include <cstring>

#include "app/debug_log.h"
#include "base/hooks.h"
#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "base/scratch_pool.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

struct DebugOutputState {
  std::atomic<int32_t> flag{0};
  LockObject whole_messages;
};

// Threads print until they end, so the state is never destroyed.
DebugOutputState& State() {
  static constinit NeverDestroyed<DebugOutputState> state;
  return state.value;
}

bool AnySink() { return DebugFlag() >= 1 || DebugLogIsOpen(); }

uint32_t Write(uint32_t target, const char* text, uint32_t length) {
  const uint32_t written = target == 0 ? WriteDebugLog({text, length}) : 0;
  const bool shown = DebugFlag() >= 1 && GlobalHooks().show_in_console(text);
  return shown ? length : written;
}

}  // namespace

int32_t DebugFlag() { return State().flag.load(std::memory_order_relaxed); }
void SetDebugFlag(int32_t flag) { State().flag.store(flag, std::memory_order_relaxed); }

void ReportFailedCheck(const char* condition, const char* component, int line) {
  DebugPrint("Assertion failed: %s, file %s, line %d\n", condition, component, line);
}

}  // namespace qv

uint32_t DebugOutput(uint32_t target, const char* format, va_list arguments) {
  if (!qv::AnySink()) return 0;
  qv::ScratchBlock text;
  if (text.data() == nullptr) return 0;
  const uint32_t length = FormatTextV(text.data(), kFormatLimit, format, arguments);
  return qv::Write(target, text.data(), length);
}

uint32_t DebugPrint(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const uint32_t result = DebugOutput(0, format, arguments);
  va_end(arguments);
  return result;
}

uint32_t DebugPrintLocked(const char* format, ...) {
  qv::ScopedLock hold(qv::State().whole_messages);
  va_list arguments;
  va_start(arguments, format);
  const uint32_t result = DebugOutput(0, format, arguments);
  va_end(arguments);
  return result;
}

void DebugPrintf(const char* format, ...) {
  qv::ScratchBlock text;
  if (text.data() == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  FormatTextList(text.data(), format, arguments);
  va_end(arguments);
  OutputDebugStringA(text.data());
}
