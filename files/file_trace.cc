#include "files/file_trace.h"

#include <atomic>
#include <cstdarg>

#include "app/console_print.h"

namespace qv {
namespace {

struct FileTraceState {
  std::atomic<uint32_t> flags{0};
};

FileTraceState& State() {
  static constinit FileTraceState state;
  return state;
}

}  // namespace

void SetFileTrace(uint32_t flags) { State().flags.store(flags, std::memory_order_relaxed); }

void TraceFile(uint32_t flags, const char* format, ...) {
  if ((State().flags.load(std::memory_order_relaxed) & flags) == 0) return;
  va_list arguments;
  va_start(arguments, format);
  ConsolePrintList(format, arguments);
  va_end(arguments);
}

}  // namespace qv
