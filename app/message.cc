#include "app/message.h"

#include <atomic>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "base/scratch_pool.h"
#include "text/formatter.h"

namespace qv {
namespace {

struct MessageState {
  std::atomic<ZRMessageHook> hook{nullptr};
  LockObject lock;  // around each call of the hook
};

// Threads send messages until they end, so the state is never destroyed.
MessageState& State() {
  static constinit NeverDestroyed<MessageState> state;
  return state.value;
}

// True when the application took the message.
bool GiveToHook(ZRError code, uint32_t word, const char* format, va_list arguments) {
  MessageState& messages = State();
  const ZRMessageHook hook = messages.hook.load(std::memory_order_acquire);
  if (hook == nullptr) return false;
  ScopedLock hold(messages.lock);
  hook(code, word, format, arguments);
  return true;
}

void WriteMessage(const char* line_end, const char* format, va_list arguments) {
  ScratchBlock text;
  if (text.data() == nullptr) return;
  FormatTextList(text.data(), format, arguments);
  if (GlobalHooks().on_kernel_thread()) {
    // In one piece, so that no other thread's text comes before the line end.
    DebugPrint("%s%s", text.data(), line_end);
  } else {
    DebugPrintf("%s", text.data());
  }
}

}  // namespace
}  // namespace qv

void ZRSetMessageHook(ZRMessageHook hook) {
  qv::State().hook.store(hook, std::memory_order_release);
}

ZRMessageHook ZRGetMessageHook() { return qv::State().hook.load(std::memory_order_acquire); }

void ZRMessage(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  if (!qv::GiveToHook(ZRErrNone, 0, format, arguments)) qv::WriteMessage("\n", format, arguments);
  va_end(arguments);
}

void ZRMessageEx(ZRError code, uint32_t word, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  if (!qv::GiveToHook(code, word, format, arguments)) qv::WriteMessage("", format, arguments);
  va_end(arguments);
}
