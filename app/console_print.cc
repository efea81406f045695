#include "app/console_print.h"

#include <atomic>
#include <cstdio>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "text/formatter.h"

namespace qv {
namespace {

struct ConsolePrintState {
  std::atomic<PrintHook> hook{nullptr};  // set at start-up
};

ConsolePrintState& State() {
  static constinit ConsolePrintState state;
  return state;
}

}  // namespace

void SetPrintHook(PrintHook hook) { State().hook.store(hook, std::memory_order_release); }

}  // namespace qv

void ConsolePrint(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  ConsolePrintList(format, arguments);
  va_end(arguments);
}

void ConsolePrintList(const char* format, va_list arguments) {
  const qv::ScratchBlock text;
  if (text.data() == nullptr) return;
  const uint32_t length = FormatTextList(text.data(), format, arguments);
  std::fwrite(text.data(), 1, length, stdout);
  std::fflush(stdout);
  if (qv::DebugFlag() >= 1) qv::GlobalHooks().show_in_console(text.data());
  if (const qv::PrintHook hook = qv::State().hook.load(std::memory_order_acquire)) {
    hook(text.data());
  }
}
