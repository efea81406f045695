// One DDE session of a client, for the tests of both halves.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace platform_test {

inline HDDEDATA CALLBACK AnswerNothing(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR,
                                       ULONG_PTR) {
  return nullptr;
}

class DdeClient {
 public:
  DdeClient() { DdeInitializeA(&instance_, AnswerNothing, APPCMD_CLIENTONLY, 0); }
  ~DdeClient() { DdeUninitialize(instance_); }
  DdeClient(const DdeClient&) = delete;
  DdeClient& operator=(const DdeClient&) = delete;

  // 0, or the DDE error.
  UINT Connect(const std::string& service) {
    HSZ service_handle = DdeCreateStringHandleA(instance_, service.c_str(), CP_WINANSI);
    HSZ topic = DdeCreateStringHandleA(instance_, "Topic", CP_WINANSI);
    conversation_ = DdeConnect(instance_, service_handle, topic, nullptr);
    DdeFreeStringHandle(instance_, service_handle);
    DdeFreeStringHandle(instance_, topic);
    return conversation_ ? 0 : DdeGetLastError(instance_);
  }
  // Sends exactly these bytes. 0, or the DDE error.
  UINT Execute(std::string data, DWORD timeout = 1000) {
    HDDEDATA result =
        DdeClientTransaction(reinterpret_cast<LPBYTE>(data.data()), static_cast<DWORD>(data.size()),
                             conversation_, nullptr, CF_TEXT, XTYP_EXECUTE, timeout, nullptr);
    return result ? 0 : DdeGetLastError(instance_);
  }
  UINT ConnectAndExecute(const std::string& service, const std::string& data) {
    UINT error = Connect(service);
    return error ? error : Execute(data);
  }
  DWORD instance() const { return instance_; }

 private:
  DWORD instance_ = 0;
  HCONV conversation_ = nullptr;
};

}  // namespace platform_test
