#include "memory/handle_reports.h"

#include "diag/system/memory_status.h"
#include "memory/memory_settings.h"
#include "memory/reporting.h"

namespace qv {
namespace {

// Where another task locked the handle: the place that was remembered, else where it stands now.
void ReportWhereLocked(ZRHandle handle, const HandleEntry& entry, const char* with_site) {
  const OwnerName owner(entry.owner);
  if (entry.lock_site_depth >= 1) {
    Report(with_site, handle, owner.text());
    GlobalHooks().print_trace(entry.lock_site, static_cast<uint32_t>(entry.lock_site_depth));
    return;
  }
  Report("       The handle (%08lX) was locked by %s. Traceback follows...", handle, owner.text());
  if (entry.owner != 0) GlobalHooks().print_task_traceback(entry.owner);
}

void ReportMemoryAvailable() {
  MemoryStatusFull memory{};
  if (!ZRMemoryStatusFull(&memory)) return;
  Report("Memory available: App=%0.0f, Virt=%0.0f, Phys=%0.0f, Addr=%0.0f", memory.usable_available,
         memory.available_page_file, memory.available_physical, memory.available_virtual);
}

}  // namespace

void ReportLockOfLocked(ZRHandle handle, HandleEntry entry, TaskId current) {
  const TaskName current_name(current);
  if (entry.owner == current) {
    Report("Error: Nested attempt by %s to lock a handle (%08lX) already locked by this task.",
           current_name.text(), handle);
    ReportTraceback();
    return;
  }
  Report("Error: Attempt by %s to lock a handle (%08lX) already locked by %s.", current_name.text(),
         handle, OwnerName(entry.owner).text());
  ReportTraceback();
  ReportWhereLocked(handle, entry, "Handle (%08lX) was locked by %s at: ");
}

void ReportResizeOfLocked(ZRHandle handle, HandleEntry entry, TaskId current, uint32_t new_size) {
  const TaskName current_name(current);
  if (entry.owner == current) {
    Report("Error: Nested attempt by %s to resize a locked (%d) handle (%08lX) from %lu to %lu.",
           current_name.text(), entry.lock_count, handle, entry.allocated_size, new_size);
  } else if (entry.owner == 0) {
    Report("Error: Attempt by %s to resize a handle (%08lX) locked (%d) from %lu to %lu.",
           current_name.text(), handle, entry.lock_count, entry.allocated_size, new_size);
  } else {
    Report("Error: Attempt by %s to resize a handle (%08lX) locked (%d) by %s from %lu to %lu.",
           current_name.text(), handle, entry.lock_count, OwnerName(entry.owner).text(),
           entry.allocated_size, new_size);
  }
  if (CurrentMemorySettings().heap_tracebacks == 0) return;
  ReportTraceback();
  if (entry.owner == 0 || entry.owner == current) return;
  ReportWhereLocked(handle, entry, "       The handle (%08lX) was locked by %s at:");
}

void ReportNoMemory(ZRHandle handle, HandleEntry entry, uint32_t new_size) {
  Report("Error: Attempt to grow handle (%08lX) from %lu to %lu failed.", handle,
         entry.allocated_size, new_size);
  ReportMemoryAvailable();
  ReportTracebackIfAsked();
}

}  // namespace qv
