// A DDE server for tests of the hand-off: answers the client's service with a behaviour that the
// test chooses, writes down what it was sent, and ends.
//
// A program started by the hand-off gets no arguments, so the environment variable QV_TEST_SERVER
// holds them: "BEHAVIOUR DELAY_MS WAIT_MS OUTPUT".
//   BEHAVIOUR  accept, refuse, die-on-connect, die-on-execute, silent (no service: it just ends)
//   DELAY_MS   before the service is registered
//   WAIT_MS    before an execute is answered
//   OUTPUT     OUTPUT.ready appears with the service, OUTPUT with the request, OUTPUT.gone when the
//              service is no longer there
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/windows_api.h"

namespace dde_test_server {

constexpr DWORD kLifeMilliseconds = 15000;  // an unused server ends by itself

struct State {
  std::string behaviour, output;
  DWORD delay = 0, wait = 0;
  DWORD instance = 0;
  bool executed = false, finished = false;
};

State& TheState() {
  static State state;
  return state;
}

void WriteFileText(const std::string& path, const std::string& text) {
  HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  DWORD done = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr);
  CloseHandle(file);
}

HDDEDATA Answer(ULONG_PTR value) { return reinterpret_cast<HDDEDATA>(value); }

HDDEDATA OnExecute(HDDEDATA data) {
  State& state = TheState();
  std::string request(DdeGetData(data, nullptr, 0, 0), '\0');
  DdeGetData(data, reinterpret_cast<LPBYTE>(request.data()), static_cast<DWORD>(request.size()), 0);
  WriteFileText(state.output, request);
  if (state.behaviour == "die-on-execute") std::_Exit(3);
  Sleep(state.wait);
  state.executed = true;
  return Answer(state.behaviour == "refuse" ? DDE_FNOTPROCESSED : DDE_FACK);
}

HDDEDATA CALLBACK OnTransaction(UINT type, UINT, HCONV, HSZ, HSZ, HDDEDATA data, ULONG_PTR,
                                ULONG_PTR) {
  State& state = TheState();
  switch (type) {
    case XTYP_CONNECT:
      if (state.behaviour == "die-on-connect") std::_Exit(3);
      return Answer(TRUE);
    case XTYP_EXECUTE:
      return OnExecute(data);
    case XTYP_DISCONNECT:
      state.finished = state.executed;
      return nullptr;
    default:
      return nullptr;
  }
}

void ServeMessages() {
  const DWORD start = GetTickCount();
  while (!TheState().finished && GetTickCount() - start < kLifeMilliseconds) {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
    Sleep(1);
  }
}

int Run() {
  State& state = TheState();
  char settings[1000] = {};
  GetEnvironmentVariableA("QV_TEST_SERVER", settings, sizeof settings);
  std::istringstream(settings) >> state.behaviour >> state.delay >> state.wait >> state.output;
  Sleep(state.delay);
  if (state.behaviour == "silent") return 0;
  if (DdeInitializeA(&state.instance, OnTransaction, APPCLASS_STANDARD, 0)) return 1;
  HSZ service = DdeCreateStringHandleA(state.instance, "QUORVANTIS", CP_WINANSI);
  if (!DdeNameService(state.instance, service, nullptr, DNS_REGISTER)) return 1;
  WriteFileText(state.output + ".ready", "");
  ServeMessages();
  DdeUninitialize(state.instance);
  WriteFileText(state.output + ".gone", "");
  return 0;
}

}  // namespace dde_test_server

int main() { return dde_test_server::Run(); }
