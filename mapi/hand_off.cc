#include "mapi/hand_off.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "app/debug_output.h"
#include "mapi/registry_path.h"
#include "mapi/request_builder.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr char kService[] = "QUORVANTIS";
constexpr char kTopic[] = "WWW_OpenURL";
constexpr const char* kCommandKeys[] = {"qvp", "shell", "open", "command"};
constexpr uint32_t kCommandSize = 260;  // bytes read of the registered command

enum class Step {
  kNone,
  kInitialize,
  kServiceName,
  kTopicName,
  kConnect,
  kExecute,
  kOpenCommandKey,
  kReadCommand,
  kCreateProcess,
};

// How a chain of steps ended: kNone, or the step that failed and its error number.
struct Outcome {
  Step failed = Step::kNone;
  uint32_t error = 0;

  bool Succeeded() const { return failed == Step::kNone; }
};

// What the debugger output says of a step that failed.
struct StepLine {
  Step step;
  const char* format;  // takes the error number
};

constexpr StepLine kStepLines[] = {
    {Step::kInitialize, "QVSMAPI: DdeInitialize failed with error 0x%X; DDE is not available\n"},
    {Step::kServiceName,
     "QVSMAPI: DdeCreateStringHandle failed with error 0x%X; no handle for the service name\n"},
    {Step::kTopicName,
     "QVSMAPI: DdeCreateStringHandle failed with error 0x%X; no handle for the topic name\n"},
    {Step::kConnect, "QVSMAPI: DdeConnect failed with error 0x%X; no client answers\n"},
    {Step::kExecute,
     "QVSMAPI: DdeClientTransaction failed with error 0x%X; the client did not take the request\n"},
    {Step::kOpenCommandKey,
     "QVSMAPI: RegOpenKeyEx failed with error %u; no command is registered for the qvp scheme\n"},
    {Step::kReadCommand,
     "QVSMAPI: RegQueryValueEx failed with error %u; the registered command cannot be read\n"},
    {Step::kCreateProcess,
     "QVSMAPI: CreateProcess failed with error %u; the registered command must be the bare path of "
     "the client's program\n"},
};

// Takes the failed attempts, the milliseconds they took, and the last one's error number.
constexpr char kRetryLine[] =
    "QVSMAPI: %u attempts in %u ms failed after the client was started, the last with error 0x%X\n";

void Report(const Outcome& outcome) {
  for (const StepLine& line : kStepLines) {
    if (line.step == outcome.failed) DebugPrintf(line.format, outcome.error);
  }
}

// --- One conversation ---

HDDEDATA CALLBACK IgnoreTransaction(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
  return nullptr;
}

// A client-only DDE instance; its end ends the conversation.
class DdeSession {
 public:
  ~DdeSession() {
    if (topic_) DdeFreeStringHandle(instance_, topic_);
    if (service_) DdeFreeStringHandle(instance_, service_);
    if (instance_) DdeUninitialize(instance_);
  }

  Outcome Initialize() {
    const UINT error = DdeInitializeA(&instance_, IgnoreTransaction, APPCMD_CLIENTONLY, 0);
    if (error == DMLERR_NO_ERROR) return {};
    instance_ = 0;
    return {Step::kInitialize, error};
  }

  Outcome CreateNames() {
    service_ = DdeCreateStringHandleA(instance_, kService, CP_WINANSI);
    if (!service_) return Failure(Step::kServiceName);
    topic_ = DdeCreateStringHandleA(instance_, kTopic, CP_WINANSI);
    return topic_ ? Outcome{} : Failure(Step::kTopicName);
  }

  Outcome Connect() {
    conversation_ = DdeConnect(instance_, service_, topic_, nullptr);
    return conversation_ ? Outcome{} : Failure(Step::kConnect);
  }

  // A client that took the request but does not acknowledge it in time has it all the same.
  Outcome Execute(const char* request) {
    auto* data = reinterpret_cast<LPBYTE>(const_cast<char*>(request));
    const DWORD size = static_cast<DWORD>(std::strlen(request));
    if (DdeClientTransaction(data, size, conversation_, nullptr, CF_TEXT, XTYP_EXECUTE,
                             kAcknowledgeMilliseconds, nullptr)) {
      return {};
    }
    const Outcome failure = Failure(Step::kExecute);
    const bool late =
        failure.error == DMLERR_DATAACKTIMEOUT || failure.error == DMLERR_EXECACKTIMEOUT;
    return late ? Outcome{} : failure;
  }

 private:
  Outcome Failure(Step step) const { return {step, DdeGetLastError(instance_)}; }

  DWORD instance_ = 0;
  HSZ service_ = nullptr;
  HSZ topic_ = nullptr;
  HCONV conversation_ = nullptr;
};

Outcome OfferRequest(const char* request) {
  DdeSession session;
  Outcome outcome = session.Initialize();
  if (outcome.Succeeded()) outcome = session.CreateNames();
  if (outcome.Succeeded()) outcome = session.Connect();
  if (outcome.Succeeded()) outcome = session.Execute(request);
  return outcome;
}

// Offers the request to a client that is just starting, without a pause: the wait of each connect
// spaces the attempts. The difference of ticks holds across a wrap of the counter.
bool OfferUntilAnswered(const char* request) {
  const DWORD start = GetTickCount();
  uint32_t failures = 0;
  Outcome last;
  bool delivered = false;
  while (!delivered && GetTickCount() - start < kRetryMilliseconds) {
    const Outcome outcome = OfferRequest(request);
    delivered = outcome.Succeeded();
    if (delivered) continue;
    last = outcome;
    ++failures;
  }
  if (failures > 0) DebugPrintf(kRetryLine, failures, GetTickCount() - start, last.error);
  return delivered;
}

// --- Starting the client ---

Outcome ReadLaunchCommand(char (&command)[kCommandSize + 1]) {
  RegistryPath path(HKEY_CLASSES_ROOT);
  for (const char* key : kCommandKeys) {
    if (const LSTATUS status = path.Open(key); status != ERROR_SUCCESS) {
      return {Step::kOpenCommandKey, static_cast<uint32_t>(status)};
    }
  }
  // The value may lie there without its terminator: the byte behind the 260 keeps it text.
  DWORD size = kCommandSize;
  const LSTATUS status = RegQueryValueExA(path.Key(), nullptr, nullptr, nullptr,
                                          reinterpret_cast<LPBYTE>(command), &size);
  if (status != ERROR_SUCCESS) return {Step::kReadCommand, static_cast<uint32_t>(status)};
  command[std::min<DWORD>(size, kCommandSize)] = '\0';
  return {};
}

void RemoveQuotes(char* text) { *std::remove(text, text + std::strlen(text), '"') = '\0'; }

Outcome StartProgram(const char* path) {
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(path, nullptr, nullptr, nullptr, FALSE, CREATE_NEW_PROCESS_GROUP, nullptr,
                      nullptr, &startup, &process)) {
    return {Step::kCreateProcess, GetLastError()};
  }
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  return {};
}

// Ends the request with "&"; the builder leaves room for it.
void EndRequest(MailRequestBuffers& buffers) {
  const size_t length = std::strlen(buffers.request);
  if (length + 1 < sizeof buffers.request) std::memcpy(buffers.request + length, "&", 2);
}

}  // namespace
}  // namespace qv

bool SendRequestOverDde(const char* request) {
  const qv::Outcome outcome = qv::OfferRequest(request);
  qv::Report(outcome);
  return outcome.Succeeded();
}

bool LaunchMailClient() {
  char command[qv::kCommandSize + 1] = {};
  qv::Outcome outcome = qv::ReadLaunchCommand(command);
  if (outcome.Succeeded()) {
    qv::RemoveQuotes(command);
    outcome = qv::StartProgram(command);
  }
  qv::Report(outcome);
  return outcome.Succeeded();
}

bool DeliverMailRequest() {
  qv::EndRequest(qv::RequestBuffers());
  const char* request = qv::RequestBuffers().request;
  if (SendRequestOverDde(request)) return true;
  return LaunchMailClient() && qv::OfferUntilAnswered(request);
}
