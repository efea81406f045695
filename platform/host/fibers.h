// Fibers: stacks that one thread runs in turn, switched by hand.
//
// A fiber reserves a megabyte of address space whatever size is asked for (more when more is asked
// for), as on a system whose programs have the usual stack; memory is taken page by page when it is
// touched. Below the stack lies a page that nobody can touch: running over the end is a fault
// there. Stacks of deleted fibers are kept for the next ones.
//
// A fiber's start routine must not return, and a running fiber is not deleted: both would end the
// thread on Windows and end the process here.
#pragma once

#include "platform/host/types.h"

#define ERROR_ALREADY_FIBER 1280
#define ERROR_ALREADY_THREAD 1281

using LPFIBER_START_ROUTINE = void (*)(LPVOID parameter);

// Null without memory.
QV_HOST_API LPVOID CreateFiber(SIZE_T stack_size, LPFIBER_START_ROUTINE start, LPVOID parameter);
QV_HOST_API void DeleteFiber(LPVOID fiber);
// The calling thread's own fiber; null when it is one already.
QV_HOST_API LPVOID ConvertThreadToFiber(LPVOID parameter);
// Ends what ConvertThreadToFiber began, on the thread's own stack.
QV_HOST_API BOOL ConvertFiberToThread(void);
QV_HOST_API void SwitchToFiber(LPVOID fiber);
