// The thread that the kernel and its tasks run on.
//
// Threads: any.
#pragma once

// True on the kernel thread, and everywhere as long as none is recorded.
bool ZRIsKernelThread();
// Records the calling thread: at the start of the kernel, and when a task is created.
void ZRSetKernelThread();

namespace qv {

// The kernel has ended: none is recorded.
void ForgetKernelThread();

}  // namespace qv
