// The client's half of DDE: one conversation over one socket, each call waiting for its answer.
#include <algorithm>

#include "platform/host/calls.h"
#include "platform/host/clock.h"
#include "platform/host/control.h"
#include "platform/host/dde_instance.h"
#include "platform/host/dde_wire.h"

namespace host {
namespace {

// How long the broadcast takes to find that nobody is there.
constexpr DWORD kNobodyMilliseconds = 5;
// A server that does not look at its queue for so long counts as hung.
constexpr DWORD kHungMilliseconds = 5000;
constexpr UINT kBusyError = 0x4001;
constexpr DWORD kBusyFlag = 0x4000;

struct ClientConversation : DdeConversation {
  Descriptor socket;
  FrameReader reader;
  uint32_t executes = 0;  // numbers of the transactions; a late answer is told by its own

  void Close() override { socket.Close(); }
};

// Connects and is accepted, or null.
std::shared_ptr<ClientConversation> Converse(const std::string& service, const std::string& topic) {
  auto conversation = std::make_shared<ClientConversation>();
  conversation->socket = ConnectToService(service);
  if (!conversation->socket.is_open()) {
    PassTime(kNobodyMilliseconds);
    return nullptr;
  }
  int socket = conversation->socket.number();
  Frame question{FrameKind::kConnect, service + std::string(1, '\0') + topic};
  if (!SendFrame(socket, question, kHungMilliseconds)) return nullptr;
  bool gone;
  uint64_t deadline = RealMilliseconds() + kHungMilliseconds;
  auto answer = ReceiveFrame(socket, &conversation->reader, deadline, &gone);
  return answer && answer->kind == FrameKind::kAccepted ? conversation : nullptr;
}

// The flags with which the server acknowledges, or nothing after the time-out. A server that dies
// shows as one that keeps silent, as on Windows.
std::optional<DWORD> Execute(ClientConversation& conversation, std::string_view data,
                             DWORD milliseconds) {
  uint64_t deadline = RealMilliseconds() + milliseconds;
  uint32_t number = ++conversation.executes;
  int socket = conversation.socket.number();
  bool gone = !SendFrame(socket, {FrameKind::kExecute, NumberBytes(number) + std::string(data)},
                         milliseconds);
  while (!gone) {
    auto answer = ReceiveFrame(socket, &conversation.reader, deadline, &gone);
    if (!answer) break;
    std::string_view body = answer->body;
    auto answered = TakeNumber(&body), flags = TakeNumber(&body);
    if (answer->kind == FrameKind::kAcknowledged && answered == number && flags) return flags;
  }
  uint64_t now = RealMilliseconds();
  if (TicksFrozen()) {
    PassTime(milliseconds);
  } else if (now < deadline) {
    PassTime(static_cast<DWORD>(deadline - now));
  }
  return std::nullopt;
}

UINT ErrorOf(std::optional<DWORD> flags) {
  if (!flags) return DMLERR_EXECACKTIMEOUT;
  if (*flags & DDE_FACK) return DMLERR_NO_ERROR;
  return *flags & kBusyFlag ? kBusyError : DMLERR_NOTPROCESSED;
}

}  // namespace
}  // namespace host

using host::Enter;
using host::FailDde;

HCONV DdeConnect(DWORD number, HSZ service, HSZ topic, CONVCONTEXT*) {
  auto instance = host::FindInstance(number);
  if (DWORD fault = Enter(__func__)) return FailDde(instance, fault, HCONV{});
  std::string service_text = host::TextOf(service), topic_text = host::TextOf(topic);
  if (!instance || service_text.empty() || topic_text.empty()) {
    return FailDde(instance, DMLERR_INVALIDPARAMETER, HCONV{});
  }
  auto conversation = host::Converse(service_text, topic_text);
  if (!conversation) return FailDde(instance, DMLERR_NO_CONV_ESTABLISHED, HCONV{});
  return host::AddConversation(instance, conversation);
}

// Executes only, each waiting for its end; that is all that is asked of it here.
HDDEDATA DdeClientTransaction(LPBYTE data, DWORD size, HCONV handle, HSZ, UINT, UINT type,
                              DWORD timeout, LPDWORD result) {
  auto conversation = host::FindHandle<host::ClientConversation>(handle);
  auto instance = conversation ? conversation->owner.lock() : nullptr;
  if (DWORD fault = Enter(__func__)) return FailDde(instance, fault, HDDEDATA{});
  if (!instance || type != XTYP_EXECUTE || !data) {
    return FailDde(instance, DMLERR_INVALIDPARAMETER, HDDEDATA{});
  }
  // Room for the transaction's number beside the data.
  if (size > host::kLargestBody - 4) return FailDde(instance, DMLERR_MEMORY_ERROR, HDDEDATA{});
  auto flags = host::Execute(*conversation, {reinterpret_cast<char*>(data), size}, timeout);
  if (result) *result = flags.value_or(0);
  UINT error = host::ErrorOf(flags);
  if (error != DMLERR_NO_ERROR) return FailDde(instance, error, HDDEDATA{});
  return reinterpret_cast<HDDEDATA>(uintptr_t{TRUE});
}
