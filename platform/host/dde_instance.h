// DDE instances and what they own; shared by the client and the server half.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "platform/host/dde.h"
#include "platform/host/handles.h"

namespace host {

class DdeServer;

struct DdeInstance : Object {
  PFNCALLBACK callback = nullptr;
  DWORD thread = 0;  // where the callback runs
  bool client_only = false;
  std::atomic<UINT> last_error{DMLERR_NO_ERROR};

  std::mutex mutex;                                           // guards what follows
  std::map<std::string, uintptr_t> strings;                   // handles by upper-case text
  std::set<uintptr_t> conversations;                          // handles
  std::map<std::string, std::shared_ptr<DdeServer>> servers;  // by upper-case service
};

struct DdeString : Object {
  std::weak_ptr<DdeInstance> owner;
  std::string text;   // UTF-8, not empty
  uint32_t uses = 1;  // under the owner's mutex
};

// One end of a conversation.
struct DdeConversation : Object {
  std::weak_ptr<DdeInstance> owner;
  virtual void Close() = 0;
};

std::shared_ptr<DdeInstance> FindInstance(DWORD number);

// The end of a call that fails: keeps the error for DdeGetLastError.
template <typename Result>
Result FailDde(const std::shared_ptr<DdeInstance>& instance, UINT error, Result result) {
  if (instance) instance->last_error = error;
  return result;
}

// A handle for a text, the present one where the instance has it; 0 for a text that may be none.
HSZ MakeString(const std::shared_ptr<DdeInstance>& instance, const std::string& text);
void ReleaseString(const std::shared_ptr<DdeInstance>& instance, HSZ string);
// The text of a handle; "" when it is none.
std::string TextOf(HSZ string);

// Adds a conversation to the instance and gives its handle.
HCONV AddConversation(const std::shared_ptr<DdeInstance>& instance,
                      std::shared_ptr<DdeConversation> conversation);
// Closes it and takes it away. False when there is none of this handle.
bool RemoveConversation(HCONV handle);

}  // namespace host
