// The console's events, out of the machine's signals: an interrupt is Ctrl-C, a request to end is
// Ctrl-Break. Handlers run on a thread of their own, as on Windows.
#include <fcntl.h>
#include <signal.h>
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
  int pipe[2] = {-1, -1};  // signal handlers write a byte, the thread reads it
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

// What happens without us.
void EndProcess(int number) {
  signal(number, SIG_DFL);
  kill(getpid(), number);
}

void ServeSignals() {
  char number;
  for (;;) {
    ssize_t count = read(State().pipe[0], &number, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count != 1) return;
    if (!AskHandlers(number == SIGINT ? CTRL_C_EVENT : CTRL_BREAK_EVENT)) EndProcess(number);
  }
}

// Called with the mutex held.
bool StartServing(ConsoleState& state) {
  if (state.started) return true;
  if (pipe2(state.pipe, O_CLOEXEC) != 0) return false;
  signal_pipe = state.pipe[1];
  state.started = StartServiceThread(ServeSignals);
  return state.started;
}

void CatchSignals(bool caught) {
  struct sigaction action {};
  action.sa_handler = caught ? HandleSignal : SIG_DFL;
  action.sa_flags = SA_RESTART;
  for (int number : {SIGINT, SIGTERM}) sigaction(number, &action, nullptr);
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
