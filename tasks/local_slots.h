// Values that each task has of its own, and each thread outside of tasks.
//
//   static uint32_t index = kNoLocalSlot;
//   auto* state = static_cast<State*>(ZRLocalGetBuffer(&index, sizeof(State)));
//
// There are 32 slots. On the kernel thread, while a task runs, a slot means the value of that task;
// everywhere else it means the value of the calling thread. A value never set is 0. Values are
// words that may carry an address.
//
// Threads: any. Ownership: what a value points to belongs to the user of the slot, who releases it
// before the task or thread ends and before the slot is freed; a block of ZRLocalGetBuffer goes
// back through ZRLocalReleaseBuffer, a task's block at the latest when the task ends. Errors: an
// index that was not handed out is ignored and reads as 0; so does a slot whose thread storage the
// system refuses.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/hooks.h"
#include "platform/windows_api.h"

constexpr uint32_t kNoLocalSlot = 0xFFFFFFFF;

// The lowest free slot, kNoLocalSlot when all 32 are taken. Its value is 0 everywhere.
uint32_t ZRLocalAlloc();
// Gives a slot back and clears it in every task and every thread. Nobody may use it meanwhile.
void ZRLocalFree(uint32_t index);
// False when the value could not be stored.
bool ZRLocalSet(uint32_t index, uintptr_t value);
uintptr_t ZRLocalGet(uint32_t index);

// The block in the slot; at first use a new one of `size` zeroed bytes. *index is kNoLocalSlot
// until a slot was allocated for it, which happens once, whoever comes first. Null, and nothing
// stored, without a slot, memory or thread storage.
void* ZRLocalGetBuffer(uint32_t* index, size_t size);
// Releases this task's or thread's block; the next ZRLocalGetBuffer makes a new one.
void ZRLocalReleaseBuffer(uint32_t index);

namespace qv {

// The thread-only variant: one variable of the process with a value per thread, tasks or no tasks.
//
//   static constinit qv::ThreadSlot slot;
//   auto* state = static_cast<State*>(slot.GetBuffer(sizeof(State)));
//
// The system's index is allocated with the first value that is set, once. Threads and ownership as
// above. The destructor gives the index back.
class ThreadSlot {
 public:
  constexpr ThreadSlot() = default;
  ~ThreadSlot() { Clear(); }
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;

  uintptr_t Get() const;
  bool Set(uintptr_t value);
  void* GetBuffer(size_t size);
  void ReleaseBuffer();
  // Clears the value in every thread, by giving the system's index back. Nobody may use the slot
  // meanwhile.
  void Clear();

 private:
  DWORD Index();

  std::atomic<DWORD> index_{TLS_OUT_OF_INDEXES};  // given a value under a lock
};

void ResetLocalSlotsForTest();

}  // namespace qv
