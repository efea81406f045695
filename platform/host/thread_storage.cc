// Thread-local storage over the machine's keys, which have the same rule: a number that is given
// out again starts with 0 in every thread.
#include "platform/host/thread_storage.h"

#include <pthread.h>

#include <array>
#include <atomic>

#include "platform/host/calls.h"
#include "platform/host/process.h"

namespace host {
namespace {

constexpr size_t kIndexLimit = 1088;  // the system's own: 64 and 1024 more

struct ThreadStorage {
  std::array<std::atomic<bool>, kIndexLimit> ours{};  // keys that TlsAlloc gave out
};

ThreadStorage& State() {
  static constinit ThreadStorage state;
  return state;
}

bool IsOurs(DWORD index) {
  return index < kIndexLimit && State().ours[index].load(std::memory_order_acquire);
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

DWORD TlsAlloc(void) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, TLS_OUT_OF_INDEXES);
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY, TLS_OUT_OF_INDEXES);
  }
  if (key >= host::kIndexLimit) {
    pthread_key_delete(key);
    return Fail(ERROR_NOT_ENOUGH_MEMORY, TLS_OUT_OF_INDEXES);
  }
  host::State().ours[key].store(true, std::memory_order_release);
  return key;
}

BOOL TlsFree(DWORD index) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (index >= host::kIndexLimit || !host::State().ours[index].exchange(false)) {
    return Fail(ERROR_INVALID_PARAMETER, FALSE);
  }
  pthread_key_delete(index);
  return TRUE;
}

// A success clears the last error, since 0 is a value too.
LPVOID TlsGetValue(DWORD index) {
  if (index >= host::kIndexLimit) return Fail(ERROR_INVALID_PARAMETER, LPVOID{});
  SetLastError(ERROR_SUCCESS);
  return host::IsOurs(index) ? pthread_getspecific(index) : nullptr;
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!host::IsOurs(index)) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  if (pthread_setspecific(index, value) != 0) return Fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  return TRUE;
}
