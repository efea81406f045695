// One hand-off beside a plain local socket, an attempt that nobody answers beside a refused
// connect, and the building of a whole message (no peer).
//
// The servers are this program itself, started with a role; all run on the processor that the
// caller pinned them to.
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "bench/ratio.h"
#include "mapi/hand_off.h"
#include "mapi/module_startup.h"
#include "mapi/request_builder.h"
#include "platform/host/control.h"
#include "platform/windows_api.h"
#include "tests/test_platform.h"

extern char** environ;

namespace {

constexpr size_t kMessageBytes = 20000;

// --- servers ---

HDDEDATA Answer(UINT type, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
  if (type == XTYP_CONNECT) return reinterpret_cast<HDDEDATA>(1);
  if (type == XTYP_EXECUTE) return reinterpret_cast<HDDEDATA>(DDE_FACK);
  return nullptr;
}

int ServeDde() {
  DWORD instance = 0;
  if (DdeInitializeA(&instance, Answer, APPCLASS_STANDARD, 0) != DMLERR_NO_ERROR) return 1;
  HSZ service = DdeCreateStringHandleA(instance, "QUORVANTIS", CP_WINANSI);
  DdeNameService(instance, service, nullptr, DNS_REGISTER);
  std::puts("ready");
  std::fflush(stdout);
  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0) DispatchMessageA(&message);
  return 0;
}

sockaddr_un SocketAddress(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
  return address;
}

int ServeSocket(const char* path) {
  sockaddr_un address = SocketAddress(path);
  int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 1;
  listen(listener, 5);
  std::puts("ready");
  std::fflush(stdout);
  static char buffer[kMessageBytes];
  for (;;) {
    int peer = accept(listener, nullptr, nullptr);
    size_t got = 0;
    while (got < kMessageBytes) {
      ssize_t n = read(peer, buffer + got, kMessageBytes - got);
      if (n <= 0) break;
      got += static_cast<size_t>(n);
    }
    if (write(peer, "+", 1) != 1) return 1;
    close(peer);
  }
}

// Starts this program in a role and waits until it says that it is ready.
pid_t Start(const char* role, const char* argument) {
  int ends[2];
  if (pipe(ends) != 0) std::exit(1);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
  const char* arguments[] = {"bench_mail", role, argument, nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, "/proc/self/exe", &actions, nullptr, const_cast<char**>(arguments),
                  environ) != 0)
    std::exit(1);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  char word[8];
  if (read(ends[0], word, sizeof word) <= 0) std::exit(1);
  close(ends[0]);
  return child;
}

void Stop(pid_t child) {
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

// --- jobs ---

void DeliverThroughSocket(const char* path, const std::string& text) {
  sockaddr_un address = SocketAddress(path);
  int peer = socket(AF_UNIX, SOCK_STREAM, 0);
  char answer;
  if (connect(peer, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      write(peer, text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
      read(peer, &answer, 1) != 1)
    std::exit(1);
  close(peer);
}

void RefusedConnect(const char* path) {
  sockaddr_un address = SocketAddress(path);
  int peer = socket(AF_UNIX, SOCK_STREAM, 0);
  benchmark::DoNotOptimize(connect(peer, reinterpret_cast<sockaddr*>(&address), sizeof address));
  close(peer);
}

void BuildMessage(const char* attachment) {
  BeginMailRequest(attachment, nullptr, true);
  AddRequestSubject("Figures of the third quarter, as promised");
  RouteRecipient(1, "bob@example.org");
  RouteRecipient(2, "carol@example.org");
  AppendRecipientLists();
  AddRequestBody("Hi,\r\n\r\nthe figures are attached.\r\n\r\nRegards\r\n");
}

void AddJobs(const std::string& socket_path) {
  static const std::string text(kMessageBytes, 'x');
  bench::Add({"deliver 20 KB, a connection each", "local socket", 1.5,
              [](benchmark::State& state) {
                for (auto _ : state)
                  if (!SendRequestOverDde(text.c_str())) state.SkipWithError("not delivered");
              },
              [=](benchmark::State& state) {
                for (auto _ : state) DeliverThroughSocket(socket_path.c_str(), text);
              }});
  bench::Add({"build a message, 1 KB attachment copied", "", 0,
              [](benchmark::State& state) {
                for (auto _ : state) BuildMessage("C:\\Temp\\figures.txt");
              },
              nullptr});
}

// With no server, on a clock that the stand-in's deliberate wait only moves on.
void AddUnansweredJob(const std::string& dead_path) {
  bench::Add({"attempt that nobody answers", "refused connect", 3.0,
              [](benchmark::State& state) {
                host::FreezeTicks(0);
                for (auto _ : state) benchmark::DoNotOptimize(SendRequestOverDde("x"));
                host::ThawTicks();
              },
              [=](benchmark::State& state) {
                for (auto _ : state) RefusedConnect(dead_path.c_str());
              },
              true});
}

// A socket file without a listener.
void LeaveDeadSocket(const std::string& path) {
  sockaddr_un address = SocketAddress(path.c_str());
  int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) std::exit(1);
  close(listener);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "serve-dde") == 0) return ServeDde();
  if (argc == 3 && std::strcmp(argv[1], "serve-socket") == 0) return ServeSocket(argv[2]);

  test::StartWithOwnState();
  ModuleStartup(reinterpret_cast<HINSTANCE>(GetModuleHandleA(nullptr)), DLL_PROCESS_ATTACH);
  test::WriteWholeFile("C:\\Temp\\figures.txt", std::string(1024, '7'));
  std::string socket_path = host::StateDirectory() + "/peer.socket";
  std::string dead_path = host::StateDirectory() + "/dead.socket";
  LeaveDeadSocket(dead_path);

  pid_t dde = Start("serve-dde", "-"), plain = Start("serve-socket", socket_path.c_str());
  AddJobs(socket_path);
  int result = bench::Run(argc, argv);
  Stop(dde);
  Stop(plain);
  AddUnansweredJob(dead_path);
  result |= bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}
