// The list of tasks, for people: who is on which list, in what state, for how long it has run.
//
//   ZRTaskDumpList();                 // to the system's debugger
//   ZRTaskDumpTask(WriteLine, 0);     // one task, piece by piece
//
// Threads: the kernel thread.
#pragma once

#include "base/hooks.h"

// Gets each formatted piece; null stands for the system's debugger.
using ZRTaskOutput = void (*)(const char* text);

void ZRTaskPrint(ZRTaskOutput output, const char* format, ...);
void ZRTaskDumpList();
// Nothing for an id that is not valid.
void ZRTaskDumpTask(ZRTaskOutput output, TaskId task);
