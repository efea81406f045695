// Giving up the processor: for a turn, for a time, until events arrive.
//
//   ZRTaskYield();                          // the others run, then this one again
//   ZRTaskYieldMillis(20, false);           // 20 ms or more
//   uint32_t events = ZRTaskWaitEvents(kDataHere | kStop);
//
// Threads: the kernel thread. Nothing here waits inside a critical region, during EndTask or with
// no current task: yields return at once, waits that give a value give 0.
#pragma once

#include <cstdint>

#include "tasks/task.h"

// The very first one, of the mainline, takes the task that was created last as the current one, and
// returns when the kernel has ended.
void ZRTaskYield();
// Sleeps at least `micros` (0: a plain yield). With early_ok the kernel may wake the task sooner
// when nothing else is ready.
void ZRTaskYieldMicros(uint32_t micros, bool early_ok);
// More than ten minutes become one minute; the first five such requests are reported.
void ZRTaskYieldMillis(uint32_t milliseconds, bool early_ok);
// Ticks are sixtieths of a second; with the same limit, and reports of their own.
void ZRTaskYieldTicks(uint32_t ticks, bool early_ok);
// A plain yield for the superhot task.
void ZRTaskYieldTicksUnlessSuperHot(uint32_t ticks, bool early_ok);
// Yields, and moves the task to the front of its ready list first when it stands on one. False when
// yielding was not possible.
bool ZRTaskYieldTo(TaskId task);
// Yields when the task has had the processor for at least this long; true when it yielded.
bool ZRTaskYieldIfSliceOver(uint64_t micros);
bool ZRTaskYieldIfSliceOverMillis(uint32_t milliseconds);

// Counts a blocking operation of the current task, which yields when it has started `limit` of them
// since it was last given the processor; true when it yielded. kSettingIOLimit is "LimitIO" of the
// settings; 0 always yields.
constexpr uint32_t kSettingIOLimit = 0xFFFFFFFF;
bool ZRTaskCountIO(uint32_t limit);

// Waits until some of the bits arrive and returns the task's events among them. Always blocks, also
// when bits are set already.
uint32_t ZRTaskWaitEvents(uint32_t mask);
// Sets the task's events and readies it, when it waits for events or sleeps; otherwise nothing. Bit
// 0x20000 keeps following its messages.
void ZRTaskSignal(TaskId task, uint32_t events);
// The current task's events; then clears them, except for bit 0x20000 while messages are queued.
uint32_t ZRTaskGetEvents(bool clear);

// Blocks the current task until the layer of the workers readies it (worker_link.h).
void ZRTaskWaitIO();

namespace qv {

// Requests that are too long are reported again, "LimitIO" is read again.
void ResetWaitsForTest();

}  // namespace qv
