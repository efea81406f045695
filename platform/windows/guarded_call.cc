// Protected blocks for a compiler that has no __try: a registration record of the system's
// exception handling, made by hand.
//
// The system keeps a thread's records in a list whose head is at fs:0, and calls the handler of
// each from the newest on. The handler asks the block's filter, and either answers the system or
// unwinds to its own record and jumps back into GuardedCall.
#include "platform/guarded_call.h"

#include <csetjmp>

namespace platform {
namespace {

struct Registration {
  Registration* outer;
  EXCEPTION_DISPOSITION(__cdecl* handler)
  (EXCEPTION_RECORD*, void*, CONTEXT*, void*);
  FaultFilter filter;
  void* context;
  jmp_buf escape;
};

Registration* InnermostRecord() {
  Registration* record;
  __asm__ volatile("movl %%fs:0, %0" : "=r"(record));
  return record;
}

void SetInnermostRecord(Registration* record) {
  __asm__ volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
}

// Unwinds the records inside ours, takes ours off, and goes back into the block.
[[noreturn]] void Escape(Registration* block, EXCEPTION_RECORD* fault) {
  // The system's unwinder keeps no register but the stack pointer.
  __asm__ volatile(
      "pushl %%ebp\n\tpushl %%ebx\n\tpushl %%esi\n\tpushl %%edi\n\t"
      "pushl $0\n\tpushl %1\n\tpushl $0\n\tpushl %0\n\t"
      "call _RtlUnwind@16\n\t"
      "popl %%edi\n\tpopl %%esi\n\tpopl %%ebx\n\tpopl %%ebp"
      :
      : "r"(block), "r"(fault)
      : "eax", "ecx", "edx", "memory");
  SetInnermostRecord(block->outer);
  __builtin_longjmp(reinterpret_cast<void**>(block->escape), 1);
}

EXCEPTION_DISPOSITION __cdecl Handle(EXCEPTION_RECORD* fault, void* frame, CONTEXT* machine,
                                     void*) {
  constexpr DWORD kUnwinding = 2, kExitUnwind = 4;
  if (fault->ExceptionFlags & (kUnwinding | kExitUnwind)) return ExceptionContinueSearch;
  auto* block = static_cast<Registration*>(frame);
  EXCEPTION_POINTERS pointers{fault, machine};
  LONG verdict = block->filter(&pointers, block->context);
  if (verdict == EXCEPTION_CONTINUE_EXECUTION) return ExceptionContinueExecution;
  if (verdict == EXCEPTION_CONTINUE_SEARCH) return ExceptionContinueSearch;
  Escape(block, fault);
}

}  // namespace

bool GuardedCall(GuardedFunction function, FaultFilter filter, void* context) {
  Registration block{InnermostRecord(), Handle, filter, context, {}};
  if (__builtin_setjmp(reinterpret_cast<void**>(block.escape)) != 0) return false;
  SetInnermostRecord(&block);
  function(context);
  SetInnermostRecord(block.outer);
  return true;
}

LONG CatchEveryFault(EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; }

}  // namespace platform
