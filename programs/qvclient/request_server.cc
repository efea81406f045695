#include "programs/qvclient/request_server.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "platform/windows_api.h"
#include "programs/qvclient/request_reader.h"

namespace qvclient {
namespace {

constexpr char kService[] = "QUORVANTIS";
constexpr char kTopic[] = "WWW_OpenURL";
constexpr UINT kStopMessage = WM_APP + 1;

struct ServerState {
  RequestServerOptions options;
  std::atomic<DWORD> thread{0};  // that serves, 0 for none; any thread asks
  DWORD instance = 0;            // 0: not started
  HSZ service = nullptr;
  HSZ topic = nullptr;
};
ServerState& State() {
  static ServerState state;
  return state;
}

HDDEDATA Answer(ULONG_PTR value) { return reinterpret_cast<HDDEDATA>(value); }

// One byte more than a request may have is enough to see that it is too long.
std::string DataOf(HDDEDATA data) {
  DWORD size = std::min<DWORD>(DdeGetData(data, nullptr, 0, 0), kLongestRequest + 2);
  std::string text(size, '\0');
  text.resize(DdeGetData(data, reinterpret_cast<LPBYTE>(text.data()), size, 0));
  return text;
}

HDDEDATA Execute(HDDEDATA data) {
  const RequestServerOptions& options = State().options;
  bool accepted = options.accept(DataOf(data));
  if (options.acknowledge_after != 0) Sleep(options.acknowledge_after);
  return Answer(accepted ? DDE_FACK : DDE_FNOTPROCESSED);
}

HDDEDATA CALLBACK OnTransaction(UINT type, UINT, HCONV, HSZ string1, HSZ string2, HDDEDATA data,
                                ULONG_PTR, ULONG_PTR) {
  const ServerState& state = State();
  if (type == XTYP_CONNECT) {
    bool ours = DdeCmpStringHandles(string1, state.topic) == 0 &&
                DdeCmpStringHandles(string2, state.service) == 0;
    return Answer(ours ? TRUE : FALSE);
  }
  return type == XTYP_EXECUTE ? Execute(data) : nullptr;
}

std::string ServiceTrouble(const char* what) {
  char text[64];
  std::snprintf(text, sizeof text, "%s failed with error 0x%04X", what,
                static_cast<unsigned>(DdeGetLastError(State().instance)));
  return text;
}

}  // namespace

std::string StartRequestServer(const RequestServerOptions& options) {
  ServerState& state = State();
  state.options = options;
  state.thread = GetCurrentThreadId();
  // Makes the thread's message queue, so that a stop that comes early is not lost.
  MSG message;
  PeekMessageA(&message, nullptr, WM_APP, WM_APP, PM_REMOVE);
  UINT error = DdeInitializeA(&state.instance, OnTransaction, APPCLASS_STANDARD, 0);
  if (error != DMLERR_NO_ERROR) return "DDE is not available, error " + std::to_string(error);
  state.service = DdeCreateStringHandleA(state.instance, kService, CP_WINANSI);
  state.topic = DdeCreateStringHandleA(state.instance, kTopic, CP_WINANSI);
  if (state.service == nullptr || state.topic == nullptr) return ServiceTrouble("a string handle");
  if (DdeNameService(state.instance, state.service, nullptr, DNS_REGISTER) == nullptr) {
    return ServiceTrouble("the registration of the service");
  }
  return "";
}

void RunRequestServer() {
  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0 && message.message != kStopMessage) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

void StopRequestServer() { PostThreadMessageA(State().thread, kStopMessage, 0, 0); }

void EndRequestServer() {
  ServerState& state = State();
  state.thread = 0;
  if (state.instance == 0) return;
  if (state.service != nullptr) {
    DdeNameService(state.instance, state.service, nullptr, DNS_UNREGISTER);
    DdeFreeStringHandle(state.instance, state.service);
  }
  if (state.topic != nullptr) DdeFreeStringHandle(state.instance, state.topic);
  DdeUninitialize(state.instance);
  state.instance = 0;
  state.service = state.topic = nullptr;
  state.options = {};
}

}  // namespace qvclient
