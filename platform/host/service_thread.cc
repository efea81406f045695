#include "platform/host/service_thread.h"

#include <signal.h>

#include <system_error>
#include <thread>

namespace host {

bool StartServiceThread(std::function<void()> body) {
  sigset_t all, before;
  sigfillset(&all);
  // Faults stay deliverable: a thread that blocks its own would be killed without a trace.
  for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) sigdelset(&all, fault);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  bool started = true;
  try {
    std::thread(std::move(body)).detach();
  } catch (const std::system_error&) {
    started = false;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started;
}

}  // namespace host
