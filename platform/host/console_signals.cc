// The console's events, out of the machine's signals: an interrupt is Ctrl-C, a request to end is
// Ctrl-Break. Handlers run on a thread of their own, as on Windows.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <vector>

#include "platform/host/calls.h"
#include "platform/host/process.h"
#include "platform/host/service_thread.h"

namespace host {
namespace {

struct ConsoleState {
  std::mutex mutex;
  std::vector<PHANDLER_ROUTINE> handlers;  // the newest is last, and asked first
  bool started = false;
  int pending = -1;        // signals that every thread blocks
  int pipe[2] = {-1, -1};  // those that met a thread which does not: its handler writes a byte
};

ConsoleState& State() {
  static auto& state = *new ConsoleState;
  return state;
}

// The pipe's end, where a signal handler finds it without a lock.
volatile sig_atomic_t signal_pipe = -1;

void HandleSignal(int number) {
  int saved = errno;
  auto byte = static_cast<char>(number);
  if (write(signal_pipe, &byte, 1) < 0) errno = saved;
  errno = saved;
}

// True when a handler has dealt with the event.
bool AskHandlers(DWORD event) {
  std::vector<PHANDLER_ROUTINE> handlers;
  {
    std::lock_guard hold(State().mutex);
    handlers = State().handlers;
  }
  return std::any_of(handlers.rbegin(), handlers.rend(),
                     [event](PHANDLER_ROUTINE handler) { return handler(event) != 0; });
}

sigset_t ConsoleSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int number : {SIGINT, SIGTERM}) sigaddset(&set, number);
  return set;
}

// What happens without us.
void EndProcess(int number) {
  signal(number, SIG_DFL);
  sigset_t ours = ConsoleSignals();
  pthread_sigmask(SIG_UNBLOCK, &ours, nullptr);
  kill(getpid(), number);
}

void Serve(int number) {
  if (!AskHandlers(number == SIGINT ? CTRL_C_EVENT : CTRL_BREAK_EVENT)) EndProcess(number);
}

// Neither end blocks: a signal that is seen to be pending may be gone, taken by a thread that does
// not block it, before it is read here.
void ServeSignals() {
  ConsoleState& state = State();
  for (;;) {
    pollfd entries[] = {{state.pending, POLLIN, 0}, {state.pipe[0], POLLIN, 0}};
    if (poll(entries, 2, -1) < 0 && errno != EINTR) return;
    signalfd_siginfo info;
    char number;
    if (entries[0].revents != 0 && read(state.pending, &info, sizeof info) == sizeof info) {
      Serve(static_cast<int>(info.ssi_signo));
    }
    if (entries[1].revents != 0 && read(state.pipe[0], &number, 1) == 1) Serve(number);
  }
}

// Called with the mutex held.
bool StartServing(ConsoleState& state) {
  if (state.started) return true;
  sigset_t ours = ConsoleSignals();
  if (state.pending < 0) state.pending = signalfd(-1, &ours, SFD_CLOEXEC | SFD_NONBLOCK);
  if (state.pending < 0) return false;
  if (state.pipe[0] < 0 && pipe2(state.pipe, O_CLOEXEC | O_NONBLOCK) != 0) return false;
  signal_pipe = state.pipe[1];
  state.started = StartServiceThread(ServeSignals);
  return state.started;
}

// The thread that sets handlers leaves the signals to the serving thread: its own waits are then
// never cut short, and an instrumented program, which puts a handler off until a wait ends, sees
// them.
void CatchSignals(bool caught) {
  struct sigaction action {};
  action.sa_handler = caught ? HandleSignal : SIG_DFL;
  action.sa_flags = SA_RESTART;
  for (int number : {SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
  sigset_t ours = ConsoleSignals();
  pthread_sigmask(caught ? SIG_BLOCK : SIG_UNBLOCK, &ours, nullptr);
}

}  // namespace
}  // namespace host

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  using host::Fail;
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, FALSE);
  if (!handler) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  host::ConsoleState& state = host::State();
  std::lock_guard hold(state.mutex);
  if (add) {
    if (!host::StartServing(state)) return Fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    state.handlers.push_back(handler);
  } else {
    auto last = std::find(state.handlers.rbegin(), state.handlers.rend(), handler);
    if (last == state.handlers.rend()) return Fail(ERROR_INVALID_PARAMETER, FALSE);
    state.handlers.erase(std::next(last).base());
  }
  host::CatchSignals(!state.handlers.empty());
  return TRUE;
}
