#include "memory/reporting.h"

#include <cstdarg>

#include "app/debug_output.h"
#include "base/scratch_pool.h"
#include "memory/memory_settings.h"
#include "text/formatter.h"

namespace qv {

bool CanReport() { return GlobalHooks().on_kernel_thread(); }

void Report(const char* format, ...) {
  if (!CanReport()) return;
  ScratchBlock line;
  if (line.data() == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  FormatTextList(line.data(), format, arguments);
  va_end(arguments);
  DebugPrint("%s\n", line.data());
}

void ReportTraceback() {
  if (CanReport()) GlobalHooks().print_traceback(1);
}

void ReportTracebackIfAsked() {
  if (CurrentMemorySettings().heap_tracebacks != 0) ReportTraceback();
}

TaskName::TaskName(TaskId task) { GlobalHooks().copy_task_name(task, text_, sizeof text_); }

// Task 0 is not asked for: its name would be that of the current task.
OwnerName::OwnerName(TaskId owner) {
  if (owner != 0) GlobalHooks().copy_task_name(owner, text_, sizeof text_);
}

}  // namespace qv
