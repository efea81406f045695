// The thread that the kernel and its tasks run on.
//
// Threads: any.
#pragma once

// True on the kernel thread, and everywhere as long as none is recorded.
bool ZRIsKernelThread();
// Records the calling thread, and a handle by which others may wake it: at the start of the kernel,
// when a task is created, and at the kernel's first switch.
void ZRSetKernelThread();
// Ends the present sleep of the kernel thread, or its next one. Nothing without a kernel, or when
// the system gave no handle: the kernel then finds out when its sleep is over.
void ZRWakeKernel();

namespace qv {

// The kernel has ended: none is recorded.
void ForgetKernelThread();

}  // namespace qv
