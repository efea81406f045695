// Protected blocks over signals. The functions below are declared where every platform finds them;
// here they are exported, so that a process has one chain of blocks whoever opens them.
#pragma GCC visibility push(default)
#include "platform/guarded_call.h"
#pragma GCC visibility pop

#include <setjmp.h>
#include <signal.h>
#include <ucontext.h>

#include <cstddef>
#include <iterator>
#include <mutex>

#include "platform/host/guard_chain.h"

namespace host {

// An open block, on the stack of the thread that opened it.
struct Block {
  platform::FaultFilter filter;
  void* context;
  Block* outer;
  sigjmp_buf escape;
};

namespace {

[[gnu::tls_model("initial-exec")]] thread_local Block* innermost = nullptr;

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

struct SignalState {
  std::once_flag installed;
  // What was there before us; a sanitizer's handlers, say.
  struct sigaction earlier[std::size(kSignals)];
};

SignalState& State() {
  static auto& state = *new SignalState;
  return state;
}

DWORD CodeOf(int signal_number) {
  switch (signal_number) {
    case SIGBUS:
      return EXCEPTION_IN_PAGE_ERROR;
    case SIGFPE:
      return EXCEPTION_INT_DIVIDE_BY_ZERO;
    case SIGILL:
      return EXCEPTION_ILLEGAL_INSTRUCTION;
    default:
      return EXCEPTION_ACCESS_VIOLATION;
  }
}

// The page-fault error code of the processor says whether it was writing.
ULONG_PTR WasWriting(const ucontext_t* machine) {
#ifdef __x86_64__
  return static_cast<ULONG_PTR>(machine->uc_mcontext.gregs[REG_ERR] >> 1 & 1);
#else
  static_cast<void>(machine);
  return 0;
#endif
}

PVOID FaultingInstruction(const ucontext_t* machine) {
#ifdef __x86_64__
  return reinterpret_cast<PVOID>(machine->uc_mcontext.gregs[REG_RIP]);
#else
  static_cast<void>(machine);
  return nullptr;
#endif
}

EXCEPTION_RECORD RecordOf(int signal_number, const siginfo_t* info, const ucontext_t* machine) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = CodeOf(signal_number);
  record.ExceptionAddress = FaultingInstruction(machine);
  if (signal_number == SIGSEGV || signal_number == SIGBUS) {
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = WasWriting(machine);
    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(info->si_addr);
  }
  return record;
}

// Asks the blocks from the inside out. Leaves for the one that abandons its function; returns true
// when the instruction shall be repeated, false when no block wants the fault.
bool AskFilters(EXCEPTION_POINTERS* fault) {
  Block* const start = innermost;
  for (Block* block = start; block; block = block->outer) {
    // A fault in the filter itself goes to the blocks around this one.
    innermost = block->outer;
    LONG verdict = block->filter(fault, block->context);
    innermost = start;
    if (verdict == EXCEPTION_CONTINUE_EXECUTION) return true;
    if (verdict != EXCEPTION_CONTINUE_SEARCH) siglongjmp(block->escape, 1);
  }
  return false;
}

// Passes a signal on to the handler that was there before. Without one the default is put back, and
// the instruction, repeated, ends the process with the usual trace.
void PassOn(int signal_number, siginfo_t* info, void* machine) {
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    if (kSignals[i] != signal_number) continue;
    const struct sigaction& earlier = State().earlier[i];
    if (earlier.sa_flags & SA_SIGINFO) {
      earlier.sa_sigaction(signal_number, info, machine);
    } else if (earlier.sa_handler != SIG_DFL && earlier.sa_handler != SIG_IGN) {
      earlier.sa_handler(signal_number);
    } else {
      signal(signal_number, SIG_DFL);
      if (info->si_code <= 0) raise(signal_number);
    }
  }
}

void HandleSignal(int signal_number, siginfo_t* info, void* machine_context) {
  // A signal that another process sent is no fault of the running instruction.
  if (innermost && info->si_code > 0) {
    auto* machine = static_cast<ucontext_t*>(machine_context);
    EXCEPTION_RECORD record = RecordOf(signal_number, info, machine);
    EXCEPTION_POINTERS fault{&record, reinterpret_cast<CONTEXT*>(machine)};
    if (AskFilters(&fault)) return;
  }
  PassOn(signal_number, info, machine_context);
}

void InstallHandlers() {
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    struct sigaction action {};
    action.sa_sigaction = HandleSignal;
    // A filter may itself meet a fault that an outer block catches.
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigaction(kSignals[i], &action, &State().earlier[i]);
  }
}

}  // namespace

Block* InnermostBlock() { return innermost; }

void SetInnermostBlock(Block* block) { innermost = block; }

}  // namespace host

namespace platform {

bool GuardedCall(GuardedFunction function, FaultFilter filter, void* context) {
  std::call_once(host::State().installed, host::InstallHandlers);
  host::Block block{filter, context, host::innermost, {}};
  bool ended = sigsetjmp(block.escape, 1) == 0;
  if (ended) {
    host::innermost = &block;
    function(context);
  }
  host::innermost = block.outer;
  return ended;
}

LONG CatchEveryFault(EXCEPTION_POINTERS*, void*) { return EXCEPTION_EXECUTE_HANDLER; }

}  // namespace platform
