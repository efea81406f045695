#include "tasks/own_stacks.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/context_switch.h"
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
  platform::StackContext mainline;
  platform::StackContext retired;  // of a task that has ended, until another one runs
  TCB* leaving = nullptr;          // the task that the switch under way leaves
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

// On arrival at a stack, from the mainline's or another task's: looks at the one that was left.
void Arrive() {
  OwnStackState& stacks = State();
  platform::ForgetStack(&stacks.retired);
  TCB* task = std::exchange(stacks.leaving, nullptr);
  if (task == nullptr) return;
  task->saved_sp = task->own_stack.place;
  if (!TheKernel().settings.check_stacks) return;
  task->stack_low = std::min(task->stack_low, reinterpret_cast<uintptr_t>(task->saved_sp));
  if (!IsSound(task)) ZRTaskPrint(nullptr, "Stack overflow in QV task.");
}

void Start(void* argument) {
  Arrive();
  RunTaskBody(static_cast<TCB*>(argument));
}

}  // namespace

void OfferStackArea(char* lowest) {
  State() = {};
  State().lowest = lowest;
}

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
  platform::StackContext* target = to != nullptr ? &to->own_stack : &stacks.mainline;
  if (to != nullptr && (to->flags & kNotStarted) != 0) {
    auto* base = reinterpret_cast<char*>(to->stack_base);
    platform::PrepareStack(target, base, to->stack_size - kTopReserve, Start, to);
  }
  stacks.leaving = leaving == Leaving::kTask ? from : nullptr;
  if (leaving == Leaving::kForGood) return platform::LeaveStack(target);
  platform::SwitchStack(leaving == Leaving::kTask ? &from->own_stack : &stacks.mainline, target);
  Arrive();
}

void RetireOwnStack(TCB* task) { State().retired = std::exchange(task->own_stack, {}); }

void ForgetOwnStack(TCB* task) { platform::ForgetStack(&task->own_stack); }

}  // namespace qv
