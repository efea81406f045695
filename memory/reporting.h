// Messages about the misuse of memory.
//
//   Report("Error: Attempt to use freed handle (%08lX).", handle);
//   ReportTracebackIfAsked();
//
// They go to the debug output, a line each, and not through the application's message hook: that
// one runs under a lock and may allocate, while these are written under the memory lock. They are
// written on the kernel's thread only, and on every thread as long as no kernel thread is known;
// elsewhere nothing is. Threads: any, under the memory lock (which keeps a message and its
// traceback together).
#pragma once

#include "base/hooks.h"

namespace qv {

// True where messages are written.
bool CanReport();

// Formats (rules of FormatText) and writes one line.
void Report(const char* format, ...);

// Where the current task stands: always, or when "HeapTracebacks" is on.
void ReportTraceback();
void ReportTracebackIfAsked();

// The name of a task for a message, at most 31 characters.
class TaskName {
 public:
  explicit TaskName(TaskId task);
  const char* text() const { return text_; }

 private:
  char text_[32];
};

// The same for the owner of a lock. An owner that is not known, or has no name, is "<unknown>".
class OwnerName {
 public:
  explicit OwnerName(TaskId owner);
  const char* text() const { return text_[0] == '\0' ? "<unknown>" : text_; }

 private:
  char text_[32] = {};
};

}  // namespace qv
