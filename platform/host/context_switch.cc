// x86-64, the System V calling convention.
//
// Saved from the stack pointer upwards: MXCSR and x87 control word (8 bytes), r15, r14, r13, r12,
// rbx, rbp, return address. The first frame returns into qv_host_start_stack, which takes the
// function from r12 and its argument from r13; a frame pointer and a return address of 0 end the
// walks of debuggers and sanitizers there.
#pragma GCC visibility push(default)
#include "platform/context_switch.h"
#pragma GCC visibility pop

#include <pthread.h>

#include <cstdint>
#include <cstring>

#include "platform/host/stack_frames.h"

extern "C" [[gnu::visibility("hidden")]] void qv_host_start_stack(void);

__asm__(R"(
        .text
        .p2align 4
        .globl  qv_host_switch_stack
        .type   qv_host_switch_stack, @function
qv_host_switch_stack:
        pushq   %rbp
        pushq   %rbx
        pushq   %r12
        pushq   %r13
        pushq   %r14
        pushq   %r15
        subq    $8, %rsp
        stmxcsr (%rsp)
        fnstcw  4(%rsp)
        movq    %rsp, (%rdi)
        movq    %rsi, %rsp
        ldmxcsr (%rsp)
        fldcw   4(%rsp)
        addq    $8, %rsp
        popq    %r15
        popq    %r14
        popq    %r13
        popq    %r12
        popq    %rbx
        popq    %rbp
        ret
        .size   qv_host_switch_stack, . - qv_host_switch_stack

        .p2align 4
        .globl  qv_host_start_stack
        .type   qv_host_start_stack, @function
qv_host_start_stack:
        .cfi_startproc
        .cfi_undefined rip
        movq    %r13, %rdi
        callq   *%r12
        ud2
        .cfi_endproc
        .size   qv_host_start_stack, . - qv_host_start_stack
)");

namespace host {
namespace {

constexpr uintptr_t kStackAlignment = 16;

struct FirstFrame {
  uint32_t mxcsr;
  uint32_t x87_control;
  void* r15;
  void* r14;
  void* r13;
  void (*r12)(void*);
  void* rbx;
  void* rbp;
  void (*return_address)();
  void* end[2];
};
static_assert(sizeof(FirstFrame) == 80 && sizeof(FirstFrame) % kStackAlignment == 0);

}  // namespace

void* LayFirstFrame(void* top, void (*start)(void*), void* argument) {
  const uintptr_t aligned = reinterpret_cast<uintptr_t>(top) & ~(kStackAlignment - 1);
  FirstFrame frame{};
  __asm__ volatile("stmxcsr %0\n\tfnstcw %1" : "=m"(frame.mxcsr), "=m"(frame.x87_control));
  frame.r12 = start;
  frame.r13 = argument;
  frame.return_address = qv_host_start_stack;
  auto* place = reinterpret_cast<void*>(aligned - sizeof frame);
  std::memcpy(place, &frame, sizeof frame);
  return place;
}

}  // namespace host

namespace platform {

size_t StackBytesLeft() {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* lowest = nullptr;
  size_t size = 0;
  const int failed = pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  const auto low = reinterpret_cast<uintptr_t>(lowest);
  return failed != 0 || here < low || here - low > size ? 0 : here - low;
}

}  // namespace platform
