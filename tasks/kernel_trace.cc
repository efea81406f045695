#include "tasks/kernel_trace.h"

#include "app/debug_output.h"
#include "text/formatter.h"

namespace qv {
namespace {

const char* YesNo(bool value) { return value ? "TRUE" : "FALSE"; }

// A task's name, or its number in the given form.
struct ShownName {
  ShownName(const TCB* task, const char* nameless_form) {
    if (task == nullptr) {
      FormatTextN(text, sizeof text - 1, "%s", "main");
    } else if (task->name[0] != '\0') {
      FormatTextN(text, sizeof text - 1, "%s", task->name);
    } else {
      FormatTextN(text, sizeof text - 1, nameless_form, NumberAsPointer(task));
    }
  }
  char text[kTaskNameSize];
};

}  // namespace

void TraceSwitch(const KernelState& kernel, const TCB* from, const TCB* to, uint64_t now) {
  const ShownName target(to, "Task %p");
  if (!kernel.switched) {
    DebugPrint("HandleTaskSwitch(main -> %s)\n", target.text);
    return;
  }
  if (!Traces(kernel, 3)) return;
  const ShownName source(from, "%p");
  DebugPrintf("%u HandleTaskSwitch(%s -> %s) %u %d \n", Low(now), source.text, target.text,
              from != nullptr ? Low(from->ready_time) : 0,
              from != nullptr ? Low(from->last_dropout) : 0);
}

void TraceCreated(const TCB* task) {
  const uint32_t id = static_cast<uint32_t>(task->id);
  if (task->stack_base == kNoStackBase) {
    DebugPrint("Created task %08lX with %lu-byte automatic stack.\n", id, task->stack_size);
    return;
  }
  const auto base = static_cast<uint32_t>(task->stack_base);
  DebugPrint("Created task %08lX with %lu-byte stack at %08X-%08X.\n", id, task->stack_size, base,
             base + task->stack_size - 257);
}

void TraceSleep(const TCB* task, uint64_t now, uint32_t micros, bool may_wake_early) {
  if (task->name[0] != '\0') {
    DebugPrintf("%u ZRTaskYieldMicros(%lu,%s) for '%s' %u.\n", Low(now), micros,
                YesNo(may_wake_early), task->name, Low(task->wake_time));
  } else {
    DebugPrintf("%u ZRTaskYieldMicros(%lu,%s) for #%ph.\n", Low(now), micros, YesNo(may_wake_early),
                NumberAsPointer(task));
  }
}

void TraceSleepInSlot(const TCB* task, uint64_t now, uint32_t micros, bool may_wake_early,
                      uint32_t slot) {
  if (task->name[0] != '\0') {
    DebugPrintf("%u ZRTaskYieldMicros(%lu,%s) slot %d for '%s' %u.\n", Low(now), micros,
                YesNo(may_wake_early), slot, task->name, Low(task->wake_time));
  } else {
    DebugPrintf("%u ZRTaskYieldMicros(%lu,%s) slot %d for #%ph.\n", Low(now), micros,
                YesNo(may_wake_early), slot, NumberAsPointer(task));
  }
}

void TraceScanPlan(const TimedWheel::Scan& scan, uint64_t elapsed) {
  DebugPrintf("start:%d, end:%d elapsed %u\n", scan.start, scan.end, Low(elapsed));
}

void TraceTimedWake(const TCB* task, uint64_t now, uint32_t slot) {
  DebugPrintf("%u ZRTask: Timed wake slot %i (%s) late %u.\n", Low(now), slot, task->name,
              Low(now - task->wake_time));
}

}  // namespace qv
