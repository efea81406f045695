// Started by the tests: one command and its arguments. A program that a hand-off starts gets none;
// they are in the environment variable QV_TEST_CHILD then, and it ends by itself.
//
//   exit CODE                       ends with CODE
//   arguments FILE ARGUMENT...      writes its arguments into FILE, one a line
//   wait FILE                       writes FILE, then waits to be killed
//   registry KEY PREFIX COUNT       sets PREFIX0, PREFIX1, ... below HKEY_CURRENT_USER\KEY
//   profile FILE SECTION COUNT      sets Key0, Key1, ... of a private profile
//   interrupt FILE                  waits for a console event and ends with 40 and its number
//   serve SERVICE BEHAVIOUR FILE    a DDE server; writes FILE when it is ready, then appends what
//                                   it is sent. accept | refuse | refuse-connect | slow |
//                                   die-at-connect | die-at-execute | silent (it just ends)
//     [DELAY WAIT]                  milliseconds before it serves, before an execute is answered
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/native_files.h"
#include "platform/windows_api.h"

namespace {

using Arguments = std::vector<std::string>;

constexpr DWORD kSlowMilliseconds = 1500;   // beyond the time-out that the tests give
constexpr DWORD kLifeMilliseconds = 15000;  // of one that nobody ends

void Append(const std::string& path, const std::string& text) {
  std::ofstream(platform::NativePath(path), std::ios::binary | std::ios::app) << text;
}

[[noreturn]] void Die() { std::_Exit(9); }

int Exit(const Arguments& a) { return std::atoi(a[1].c_str()); }

int ListArguments(const Arguments& a) {
  for (size_t i = 2; i < a.size(); ++i) Append(a[1], a[i] + "\n");
  return 0;
}

int Wait(const Arguments& a) {
  Append(a[1], "ready");
  Sleep(INFINITE);
  return 0;
}

int WriteRegistry(const Arguments& a) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(HKEY_CURRENT_USER, a[1].c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                      nullptr) != 0) {
    return 1;
  }
  for (int i = 0; i < std::atoi(a[3].c_str()); ++i) {
    std::string name = a[2] + std::to_string(i);
    if (RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2) != 0) {
      return 1;
    }
  }
  return RegCloseKey(key);
}

int WriteProfile(const Arguments& a) {
  for (int i = 0; i < std::atoi(a[3].c_str()); ++i) {
    std::string key = "Key" + std::to_string(i);
    if (!WritePrivateProfileStringA(a[2].c_str(), key.c_str(), "x", a[1].c_str())) return 1;
  }
  return 0;
}

std::atomic<DWORD> console_event{0xFFFFFFFF};
DWORD main_thread = 0;

BOOL WINAPI HandleConsole(DWORD event) {
  console_event = event;
  PostThreadMessageA(main_thread, WM_QUIT, 0, 0);
  return TRUE;
}

int RunMessageLoop() {
  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return 0;
}

int WaitForInterrupt(const Arguments& a) {
  MSG message;
  main_thread = GetCurrentThreadId();
  PeekMessageA(&message, nullptr, 0, 0, 0);
  SetConsoleCtrlHandler(HandleConsole, TRUE);
  Append(a[1], "ready");
  RunMessageLoop();
  return 40 + static_cast<int>(console_event);
}

struct Server {
  std::string behaviour, file;
  DWORD instance = 0, wait = 0;
  bool serves_once = false, has_executed = false;
};

Server& ServerState() {
  static Server server;
  return server;
}

HDDEDATA CALLBACK Serve(UINT type, UINT, HCONV, HSZ, HSZ, HDDEDATA data, ULONG_PTR, ULONG_PTR) {
  Server& server = ServerState();
  if (type == XTYP_CONNECT) {
    if (server.behaviour == "die-at-connect") Die();
    return reinterpret_cast<HDDEDATA>(ULONG_PTR{server.behaviour != "refuse-connect"});
  }
  if (type == XTYP_DISCONNECT) {
    Append(server.file, "end\n");
    if (server.serves_once && server.has_executed) {
      PostThreadMessageA(GetCurrentThreadId(), WM_QUIT, 0, 0);
    }
  }
  if (type != XTYP_EXECUTE) return nullptr;
  server.has_executed = true;
  std::string bytes(DdeGetData(data, nullptr, 0, 0), '\0');
  DdeGetData(data, reinterpret_cast<LPBYTE>(bytes.data()), static_cast<DWORD>(bytes.size()), 0);
  Append(server.file, std::to_string(bytes.size()) + ":" + bytes + "\n");
  if (server.behaviour == "die-at-execute") Die();
  Sleep(server.behaviour == "slow" ? kSlowMilliseconds : server.wait);
  return reinterpret_cast<HDDEDATA>(ULONG_PTR{server.behaviour == "refuse" ? 0u : DDE_FACK});
}

int ServeDde(const Arguments& a) {
  Server& server = ServerState();
  server.behaviour = a[2];
  server.file = a[3];
  if (a.size() > 5) {
    Sleep(static_cast<DWORD>(std::atoi(a[4].c_str())));
    server.wait = static_cast<DWORD>(std::atoi(a[5].c_str()));
  }
  if (server.behaviour == "silent") return 0;
  if (DdeInitializeA(&server.instance, Serve, APPCLASS_STANDARD, 0) != 0) return 1;
  HSZ service = DdeCreateStringHandleA(server.instance, a[1].c_str(), CP_WINANSI);
  if (!DdeNameService(server.instance, service, nullptr, DNS_REGISTER)) return 1;
  Append(server.file, "ready\n");
  RunMessageLoop();
  DdeUninitialize(server.instance);
  Append(server.file, "gone\n");
  return 0;
}

Arguments EnvironmentArguments() {
  std::thread([] {
    Sleep(kLifeMilliseconds);
    Die();
  }).detach();
  ServerState().serves_once = true;
  char text[1000] = {};
  GetEnvironmentVariableA("QV_TEST_CHILD", text, sizeof text);
  std::istringstream words(text);
  Arguments arguments;
  for (std::string word; words >> word;) arguments.push_back(word);
  return arguments;
}

}  // namespace

int main(int argc, char** argv) {
  struct Command {
    size_t arguments;
    std::function<int(const Arguments&)> run;
  };
  const std::map<std::string, Command> commands = {{"exit", {2, Exit}},
                                                   {"arguments", {2, ListArguments}},
                                                   {"wait", {2, Wait}},
                                                   {"registry", {4, WriteRegistry}},
                                                   {"profile", {4, WriteProfile}},
                                                   {"interrupt", {2, WaitForInterrupt}},
                                                   {"serve", {4, ServeDde}}};
  Arguments arguments = platform::Utf8Arguments(argc, argv);
  if (arguments.empty()) arguments = EnvironmentArguments();
  auto command = commands.find(arguments.empty() ? "" : arguments[0]);
  if (command == commands.end() || arguments.size() < command->second.arguments) return 2;
  return command->second.run(arguments);
}
