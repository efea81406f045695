#include "programs/qvsend/client_probe.h"

#include "platform/windows_api.h"

namespace qvsend {
namespace {

HDDEDATA CALLBACK IgnoreTransaction(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
  return nullptr;
}

}  // namespace

bool ClientAnswers() {
  DWORD instance = 0;
  if (DdeInitializeA(&instance, IgnoreTransaction, APPCMD_CLIENTONLY, 0) != DMLERR_NO_ERROR) {
    return false;
  }
  HSZ service = DdeCreateStringHandleA(instance, "QUORVANTIS", CP_WINANSI);
  HSZ topic = DdeCreateStringHandleA(instance, "WWW_OpenURL", CP_WINANSI);
  bool answers = DdeConnect(instance, service, topic, nullptr) != nullptr;
  if (topic != nullptr) DdeFreeStringHandle(instance, topic);
  if (service != nullptr) DdeFreeStringHandle(instance, service);
  DdeUninitialize(instance);  // ends the conversation
  return answers;
}

}  // namespace qvsend
