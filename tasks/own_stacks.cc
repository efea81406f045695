#include "tasks/own_stacks.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/sanitizer_stacks.h"
#include "tasks/kernel_state.h"
#include "tasks/task_list_report.h"

namespace qv {
namespace {

constexpr uint32_t kTopReserve = 256;   // bytes of a stack above its first frame
constexpr uint32_t kLowReserve = 1024;  // bytes that shall be left below the stack pointer
constexpr char kEndMark[4] = {'S', 't', 'a', 'K'};
constexpr int kFill = 0xBD;

struct OwnStackState {
  char* lowest = nullptr;
  uint32_t left = 0;  // bytes from `lowest` that no task has
  platform::StackPointer mainline = nullptr;
  platform::StackPointer discarded = nullptr;
  platform::StackBounds mainline_bounds = {};  // for sanitizers, known once it was left
  bool leaving_mainline = false;
  TCB* unchecked = nullptr;  // the task that the switch under way leaves
};

OwnStackState& State() {
  static constinit OwnStackState state;
  return state;
}

bool IsSound(const TCB* task) {
  const auto stack_pointer = reinterpret_cast<uintptr_t>(task->saved_sp);
  return stack_pointer >= task->stack_base + kLowReserve &&
         stack_pointer < task->stack_base + task->stack_size &&
         std::memcmp(reinterpret_cast<void*>(task->stack_base), kEndMark, sizeof kEndMark) == 0;
}

// On arrival at a stack: looks at the one that the switch came from.
void CheckStackLeft() {
  TCB* task = std::exchange(State().unchecked, nullptr);
  if (task == nullptr || !TheKernel().settings.check_stacks) return;
  task->stack_low = std::min(task->stack_low, reinterpret_cast<uintptr_t>(task->saved_sp));
  if (!IsSound(task)) ZRTaskPrint(nullptr, "Stack overflow in QV task.");
}

// On arrival at a stack, from the mainline's or another task's.
void Arrive(void* kept) {
  OwnStackState& stacks = State();
  const platform::StackBounds left = platform::TellStackEntered(kept);
  if (std::exchange(stacks.leaving_mainline, false)) stacks.mainline_bounds = left;
  CheckStackLeft();
}

void Start(void* argument) {
  Arrive(nullptr);
  RunTaskBody(static_cast<TCB*>(argument));
}

}  // namespace

void OfferStackArea(char* lowest) { State() = {.lowest = lowest}; }

bool OpenStackArea(uint32_t size) {
  OwnStackState& stacks = State();
  if (stacks.lowest == nullptr || size <= kMainlineStackBytes) return false;
  constexpr uintptr_t kAlignment = 16;
  const auto address = reinterpret_cast<uintptr_t>(stacks.lowest);
  const auto skipped = static_cast<uint32_t>(-address & (kAlignment - 1));
  stacks.lowest += skipped;
  stacks.left = (size - kMainlineStackBytes - skipped) & ~uint32_t{kAlignment - 1};
  return true;
}

bool TakeOwnStack(TCB* task) {
  OwnStackState& stacks = State();
  if (task->stack_size < kLeastOwnStack || task->stack_size > stacks.left) return false;
  stacks.left -= task->stack_size;
  task->stack_base = reinterpret_cast<uintptr_t>(stacks.lowest) + stacks.left;
  task->stack_low = task->stack_base + task->stack_size - kTopReserve;
  task->saved_sp = reinterpret_cast<platform::StackPointer>(task->stack_low);
  return true;
}

void MarkOwnStack(const TCB* task) {
  auto* base = reinterpret_cast<char*>(task->stack_base);
  std::memset(base, kFill, task->stack_size - kTopReserve);
  std::memcpy(base, kEndMark, sizeof kEndMark);
}

void SwitchOwnStack(Leaving leaving, TCB* from, TCB* to) {
  OwnStackState& stacks = State();
  platform::StackPointer* left = &stacks.discarded;
  if (leaving == Leaving::kMainline) left = &stacks.mainline;
  if (leaving == Leaving::kTask) left = &from->saved_sp;
  platform::StackPointer target = stacks.mainline;
  platform::StackBounds target_bounds = stacks.mainline_bounds;
  if (to != nullptr) {
    target_bounds = {reinterpret_cast<void*>(to->stack_base), to->stack_size};
    const bool is_new = (to->flags & kNotStarted) != 0;
    target = is_new ? platform::PrepareStack(to->saved_sp, Start, to) : to->saved_sp;
  }
  stacks.unchecked = leaving == Leaving::kTask ? from : nullptr;
  stacks.leaving_mainline = leaving == Leaving::kMainline;
  void* kept = nullptr;
  platform::TellStackLeft(leaving == Leaving::kForGood ? nullptr : &kept, target_bounds);
  platform::SwitchStack(left, target);
  Arrive(kept);
}

}  // namespace qv
