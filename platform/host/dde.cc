// The DDE calls that both halves share: instances, string handles, data.
#include "platform/host/dde.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/host/calls.h"
#include "platform/host/dde_data.h"
#include "platform/host/dde_instance.h"
#include "platform/host/dde_server.h"
#include "platform/host/message_queue.h"
#include "platform/host/process.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr size_t kLongestString = 255;

}  // namespace

std::shared_ptr<DdeInstance> FindInstance(DWORD number) {
  return std::dynamic_pointer_cast<DdeInstance>(FindObject(number));
}

HSZ MakeString(const std::shared_ptr<DdeInstance>& instance, const std::string& text) {
  if (text.empty() || text.size() > kLongestString) return nullptr;
  std::lock_guard hold(instance->mutex);
  auto [place, added] = instance->strings.try_emplace(UpperCaseUtf8(text), 0);
  if (added) {
    auto string = std::make_shared<DdeString>();
    string->owner = instance;
    string->text = text;
    place->second = AddObject(string);
  } else if (auto string = std::dynamic_pointer_cast<DdeString>(FindObject(place->second))) {
    ++string->uses;
  }
  return reinterpret_cast<HSZ>(place->second);
}

void ReleaseString(const std::shared_ptr<DdeInstance>& instance, HSZ handle) {
  auto string = FindHandle<DdeString>(handle);
  if (!string) return;
  std::lock_guard hold(instance->mutex);
  if (--string->uses > 0) return;
  instance->strings.erase(UpperCaseUtf8(string->text));
  RemoveObject(reinterpret_cast<uintptr_t>(handle));
}

std::string TextOf(HSZ handle) {
  auto string = FindHandle<DdeString>(handle);
  return string ? string->text : "";
}

HCONV AddConversation(const std::shared_ptr<DdeInstance>& instance,
                      std::shared_ptr<DdeConversation> conversation) {
  conversation->owner = instance;
  uintptr_t number = AddObject(std::move(conversation));
  std::lock_guard hold(instance->mutex);
  instance->conversations.insert(number);
  return reinterpret_cast<HCONV>(number);
}

bool RemoveConversation(HCONV handle) {
  auto conversation = FindHandle<DdeConversation>(handle);
  auto number = reinterpret_cast<uintptr_t>(handle);
  if (!conversation || !RemoveObject(number)) return false;
  conversation->Close();
  if (auto owner = conversation->owner.lock()) {
    std::lock_guard hold(owner->mutex);
    owner->conversations.erase(number);
  }
  return true;
}

namespace {

// Everything that an instance still owns goes with it.
void CloseInstance(const std::shared_ptr<DdeInstance>& instance) {
  std::map<std::string, uintptr_t> strings;
  std::set<uintptr_t> conversations;
  std::map<std::string, std::shared_ptr<DdeServer>> servers;
  {
    std::lock_guard hold(instance->mutex);
    strings.swap(instance->strings);
    conversations = instance->conversations;
    servers.swap(instance->servers);
  }
  for (auto& [service, server] : servers) server->Stop(true);
  for (uintptr_t number : conversations) RemoveConversation(reinterpret_cast<HCONV>(number));
  for (auto& [text, number] : strings) RemoveObject(number);
}

}  // namespace
}  // namespace host

using host::Enter;

UINT DdeInitializeA(LPDWORD number, PFNCALLBACK callback, DWORD flags, DWORD) {
  if (DWORD fault = Enter(__func__)) return fault;
  if (!number || *number != 0 || !callback) return DMLERR_INVALIDPARAMETER;
  auto instance = std::make_shared<host::DdeInstance>();
  instance->callback = callback;
  instance->thread = GetCurrentThreadId();
  instance->client_only = (flags & APPCMD_CLIENTONLY) != 0;
  host::MakeMessageQueue();
  *number = static_cast<DWORD>(host::AddObject(instance));
  return DMLERR_NO_ERROR;
}

BOOL DdeUninitialize(DWORD number) {
  if (Enter(__func__)) return FALSE;
  auto instance = host::FindInstance(number);
  if (!instance || !host::RemoveObject(number)) return FALSE;
  host::CloseInstance(instance);
  return TRUE;
}

UINT DdeGetLastError(DWORD number) {
  Enter(__func__);
  auto instance = host::FindInstance(number);
  return instance ? instance->last_error.exchange(DMLERR_NO_ERROR) : DMLERR_DLL_NOT_INITIALIZED;
}

HSZ DdeCreateStringHandleA(DWORD number, LPCSTR text, int) {
  auto instance = host::FindInstance(number);
  if (DWORD fault = Enter(__func__)) return host::FailDde(instance, fault, HSZ{});
  if (!instance) return nullptr;
  HSZ string = host::MakeString(instance, host::Utf8FromAnsi(text ? text : ""));
  return string ? string : host::FailDde(instance, DMLERR_INVALIDPARAMETER, HSZ{});
}

BOOL DdeFreeStringHandle(DWORD number, HSZ string) {
  auto instance = host::FindInstance(number);
  if (DWORD fault = Enter(__func__)) return host::FailDde(instance, fault, FALSE);
  if (!instance || host::TextOf(string).empty()) {
    return host::FailDde(instance, DMLERR_INVALIDPARAMETER, FALSE);
  }
  host::ReleaseString(instance, string);
  return TRUE;
}

int DdeCmpStringHandles(HSZ a, HSZ b) {
  Enter(__func__);
  std::string first = host::UpperCaseUtf8(host::TextOf(a));
  std::string second = host::UpperCaseUtf8(host::TextOf(b));
  return first < second ? -1 : first > second;
}

// The bytes from `offset` on, as many as there is room for; without a buffer, how many there are.
DWORD DdeGetData(HDDEDATA handle, LPBYTE buffer, DWORD size, DWORD offset) {
  if (Enter(__func__)) return 0;
  auto data = host::FindHandle<host::DdeData>(handle);
  if (!data) return 0;
  if (!buffer) return static_cast<DWORD>(data->bytes.size());
  if (offset >= data->bytes.size()) return 0;
  return static_cast<DWORD>(data->bytes.copy(reinterpret_cast<char*>(buffer), size, offset));
}
