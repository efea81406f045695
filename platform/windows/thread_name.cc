#include "platform/thread_name.h"

#include "platform/guarded_call.h"

namespace platform {
namespace {

// What debuggers take a name from.
constexpr DWORD kNameException = 0x406D1388;
struct NameMessage {
  ULONG_PTR kind;  // kNameKind
  ULONG_PTR name;  // const char*
  ULONG_PTR thread_id;
  ULONG_PTR flags;
};
constexpr ULONG_PTR kNameKind = 0x1000;

void RaiseName(void* context) {
  const auto* message = static_cast<const NameMessage*>(context);
  const ULONG_PTR arguments[] = {message->kind, message->name, message->thread_id, message->flags};
  RaiseException(kNameException, 0, 4, arguments);
}

}  // namespace

void ShowThreadName(DWORD thread_id, const char* name) {
  if (!IsDebuggerPresent()) return;
  NameMessage message{kNameKind, reinterpret_cast<ULONG_PTR>(name), thread_id, 0};
  GuardedCall(RaiseName, CatchEveryFault, &message);
}

}  // namespace platform
