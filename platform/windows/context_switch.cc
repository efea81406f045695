// i386, the C calling convention.
//
// Saved from the stack pointer upwards: MXCSR and x87 control word (8 bytes), head of the exception
// chain (fs:0), edi, esi, ebx, ebp, return address. The first frame returns into _qv_start_stack,
// which takes the function from ebx and its argument from esi.
#include "platform/context_switch.h"

#include <cstdint>
#include <cstring>

#include "platform/windows_api.h"

extern "C" {
void qv_switch_stack(void** left, void* target);
void qv_start_stack(void);
}

__asm__(R"(
        .text
        .p2align 4
        .globl  _qv_switch_stack
_qv_switch_stack:
        movl    4(%esp), %eax
        movl    8(%esp), %edx
        pushl   %ebp
        pushl   %ebx
        pushl   %esi
        pushl   %edi
        pushl   %fs:0
        subl    $8, %esp
        stmxcsr (%esp)
        fnstcw  4(%esp)
        movl    %esp, (%eax)
        movl    %edx, %esp
        ldmxcsr (%esp)
        fldcw   4(%esp)
        addl    $8, %esp
        popl    %fs:0
        popl    %edi
        popl    %esi
        popl    %ebx
        popl    %ebp
        ret

        .p2align 4
        .globl  _qv_start_stack
_qv_start_stack:
        subl    $12, %esp
        pushl   %esi
        call    *%ebx
        ud2
)");

namespace platform {
namespace {

constexpr uintptr_t kStackAlignment = 16;

// What the system links at fs:0.
struct ExceptionRecord {
  ExceptionRecord* outer;
  void* handler;
};

struct FirstFrame {
  uint32_t mxcsr;
  uint32_t x87_control;
  ExceptionRecord* exceptions;
  void* edi;
  void* esi;
  void (*ebx)(void*);
  void* ebp;
  void (*return_address)();
  void* end[4];
};
static_assert(sizeof(FirstFrame) == 48 && sizeof(FirstFrame) % kStackAlignment == 0);

// The thread's outermost record, the system's own: a fault that no block of the new stack wants
// still reaches the handlers of the process.
ExceptionRecord* OutermostRecord() {
  ExceptionRecord* record;
  __asm__ volatile("movl %%fs:0, %0" : "=r"(record));
  auto* const end = reinterpret_cast<ExceptionRecord*>(~uintptr_t{0});
  while (record != end && record->outer != end) record = record->outer;
  return record;
}

}  // namespace

void PrepareStack(StackContext* stack, void* lowest, size_t size, void (*start)(void*),
                  void* argument) {
  const uintptr_t top = reinterpret_cast<uintptr_t>(lowest) + size;
  const uintptr_t aligned = top & ~(kStackAlignment - 1);
  FirstFrame frame{};
  __asm__ volatile("stmxcsr %0\n\tfnstcw %1" : "=m"(frame.mxcsr), "=m"(frame.x87_control));
  frame.exceptions = OutermostRecord();
  frame.ebx = start;
  frame.esi = argument;
  frame.return_address = qv_start_stack;
  stack->place = reinterpret_cast<void*>(aligned - sizeof frame);
  std::memcpy(stack->place, &frame, sizeof frame);
}

void SwitchStack(StackContext* left, StackContext* target) {
  qv_switch_stack(&left->place, target->place);
}

void LeaveStack(StackContext* target) {
  StackPointer left;
  qv_switch_stack(&left, target->place);
}

void ForgetStack(StackContext*) {}

size_t StackBytesLeft() {
  MEMORY_BASIC_INFORMATION region{};
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  if (VirtualQuery(reinterpret_cast<void*>(here), &region, sizeof region) == 0) return 0;
  return here - reinterpret_cast<uintptr_t>(region.AllocationBase);
}

}  // namespace platform
