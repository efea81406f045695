// The Simple MAPI surface. Only sending works; logon hands out one fixed session that nothing here
// checks, and every other function answers that it is not supported.
#include <cstddef>

#include "mapi/hand_off.h"
#include "mapi/include/qvsmapi.h"
#include "mapi/request_builder.h"

namespace qv {
namespace {

// Hosts pass the published structures: in a 32-bit process the layout is a contract.
constexpr bool kIs32Bit = sizeof(void*) == 4;
static_assert(!kIs32Bit || (sizeof(QvMapiRecipient) == 24 && sizeof(QvMapiFile) == 24 &&
                            sizeof(QvMapiMessage) == 48));
static_assert(!kIs32Bit || (offsetof(QvMapiRecipient, ulRecipClass) == 4 &&
                            offsetof(QvMapiRecipient, lpszAddress) == 12));
static_assert(!kIs32Bit || (offsetof(QvMapiFile, lpszPathName) == 12 &&
                            offsetof(QvMapiFile, lpszFileName) == 16));
static_assert(!kIs32Bit || (offsetof(QvMapiMessage, lpszSubject) == 4 &&
                            offsetof(QvMapiMessage, lpszNoteText) == 8 &&
                            offsetof(QvMapiMessage, nRecipCount) == 32 &&
                            offsetof(QvMapiMessage, lpRecips) == 36 &&
                            offsetof(QvMapiMessage, nFileCount) == 40 &&
                            offsetof(QvMapiMessage, lpFiles) == 44));

constexpr QvMapiSession kSession = 1000;
constexpr uint32_t kSuccess = QVMAPI_SUCCESS;
constexpr uint32_t kNotSupported = QVMAPI_NOT_SUPPORTED;
constexpr uint32_t kFailure = QVMAPI_GENERIC_FAILURE;

// Writes only where a "?" stands: any other text may lie in memory that cannot be written. No code
// page has "?" as the second byte of a character.
void ReplaceQuestionMarks(char* text) {
  if (!text) return;
  for (; *text; ++text) {
    if (*text == '?') *text = '_';
  }
}

// The result is that of the last attachment: an earlier one that failed is simply not there.
bool AddAttachments(const QvMapiMessage& message) {
  bool copied = false;
  const uint32_t count = message.lpFiles ? message.nFileCount : 0;
  for (uint32_t i = 0; i < count; ++i) {
    const QvMapiFile& file = message.lpFiles[i];
    ReplaceQuestionMarks(file.lpszFileName);
    ReplaceQuestionMarks(file.lpszPathName);
    copied = BeginMailRequest(file.lpszPathName, file.lpszFileName, i == 0);
  }
  return copied;
}

void AddRecipients(const QvMapiMessage& message) {
  if (message.nRecipCount == 0 || !message.lpRecips) return;
  for (uint32_t i = 0; i < message.nRecipCount; ++i) {
    RouteRecipient(message.lpRecips[i].ulRecipClass, message.lpRecips[i].lpszAddress);
  }
  AppendRecipientLists();
}

bool Send(const QvMapiMessage& message) {
  const bool copied = AddAttachments(message);
  if (copied) AddRequestSubject(message.lpszSubject);
  AddRecipients(message);
  if (!copied) return false;
  AddRequestBody(message.lpszNoteText);
  return DeliverMailRequest();
}

}  // namespace
}  // namespace qv

extern "C" {

uint32_t QVSMAPI_CALL MAPILogon(uintptr_t /*window*/, char* /*profile*/, char* /*password*/,
                                uint32_t /*flags*/, uint32_t /*reserved*/, QvMapiSession* session) {
  if (session) *session = qv::kSession;
  return qv::kSuccess;
}

uint32_t QVSMAPI_CALL MAPILogoff(QvMapiSession /*session*/, uintptr_t /*window*/,
                                 uint32_t /*flags*/, uint32_t /*reserved*/) {
  return qv::kSuccess;
}

uint32_t QVSMAPI_CALL MAPISendMail(QvMapiSession /*session*/, uintptr_t /*window*/,
                                   QvMapiMessage* message, uint32_t /*flags*/,
                                   uint32_t /*reserved*/) {
  return message && qv::Send(*message) ? qv::kSuccess : qv::kFailure;
}

uint32_t QVSMAPI_CALL MAPISendDocuments(uintptr_t /*window*/, char* /*delimiter*/, char* /*paths*/,
                                        char* /*names*/, uint32_t /*reserved*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIFindNext(QvMapiSession /*session*/, uintptr_t /*window*/,
                                   char* /*message_type*/, char* /*seed*/, uint32_t /*flags*/,
                                   uint32_t /*reserved*/, char* /*message_id*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIReadMail(QvMapiSession /*session*/, uintptr_t /*window*/,
                                   char* /*message_id*/, uint32_t /*flags*/, uint32_t /*reserved*/,
                                   QvMapiMessage** /*message*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPISaveMail(QvMapiSession /*session*/, uintptr_t /*window*/,
                                   QvMapiMessage* /*message*/, uint32_t /*flags*/,
                                   uint32_t /*reserved*/, char* /*message_id*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIDeleteMail(QvMapiSession /*session*/, uintptr_t /*window*/,
                                     char* /*message_id*/, uint32_t /*flags*/,
                                     uint32_t /*reserved*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIFreeBuffer(void* /*buffer*/) { return qv::kNotSupported; }

uint32_t QVSMAPI_CALL MAPIAddress(QvMapiSession /*session*/, uintptr_t /*window*/,
                                  char* /*caption*/, uint32_t /*edit_fields*/, char* /*labels*/,
                                  uint32_t /*count*/, QvMapiRecipient* /*recipients*/,
                                  uint32_t /*flags*/, uint32_t /*reserved*/,
                                  uint32_t* /*new_count*/, QvMapiRecipient** /*new_recipients*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIDetails(QvMapiSession /*session*/, uintptr_t /*window*/,
                                  QvMapiRecipient* /*recipient*/, uint32_t /*flags*/,
                                  uint32_t /*reserved*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL MAPIResolveName(QvMapiSession /*session*/, uintptr_t /*window*/,
                                      char* /*name*/, uint32_t /*flags*/, uint32_t /*reserved*/,
                                      QvMapiRecipient** /*recipient*/) {
  return qv::kNotSupported;
}
}
