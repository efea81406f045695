// The Common Messaging Calls 1.0 surface. Only sending works, for the one session that logon hands
// out; every other function answers that it is not supported.
#include <cstddef>
#include <cstring>

#include "mapi/hand_off.h"
#include "mapi/include/qvsmapi.h"
#include "mapi/request_builder.h"
#include "platform/guarded_call.h"

namespace qv {
namespace {

// Hosts pass the published structures: in a 32-bit process the layout is a contract.
constexpr bool kIs32Bit = sizeof(void*) == 4;
static_assert(!kIs32Bit || (sizeof(QvCmcRecipient) == 24 && sizeof(QvCmcAttachment) == 20 &&
                            sizeof(QvCmcMessage) == 44 && sizeof(QvCmcTime) == 12));
static_assert(!kIs32Bit ||
              (offsetof(QvCmcRecipient, address) == 8 && offsetof(QvCmcRecipient, role) == 12 &&
               offsetof(QvCmcRecipient, recip_flags) == 16));
static_assert(!kIs32Bit || (offsetof(QvCmcAttachment, attach_title) == 0 &&
                            offsetof(QvCmcAttachment, attach_filename) == 8));
static_assert(!kIs32Bit ||
              (offsetof(QvCmcMessage, subject) == 8 && offsetof(QvCmcMessage, time_sent) == 12 &&
               offsetof(QvCmcMessage, text_note) == 24 &&
               offsetof(QvCmcMessage, recipients) == 28 &&
               offsetof(QvCmcMessage, attachments) == 32));

constexpr QvCmcSession kSession = 1000;
constexpr uint32_t kSuccess = QVCMC_SUCCESS;
constexpr uint32_t kNotSupported = QVCMC_NOT_SUPPORTED;
constexpr int32_t kItemImplementedVersion = 8;  // of the configuration query
constexpr uint16_t kImplementedVersion = 1;

bool AddFirstAttachment(const QvCmcAttachment* attachment) {
  if (!attachment) return BeginMailRequest(nullptr, nullptr, true);
  return BeginMailRequest(attachment->attach_filename, attachment->attach_title, true);
}

// Runs under GuardedCall: nothing on this stack needs a destructor.
void RouteRecipients(void* context) {
  const auto* recipient = static_cast<const QvCmcRecipient*>(context);
  for (bool last = false; !last; ++recipient) {
    RouteRecipient(static_cast<uint32_t>(recipient->role) + 1, recipient->address);
    last = (recipient->recip_flags & QVCMC_RECIPIENT_LAST) != 0;
  }
}

// The list has no count. One without its end mark runs into memory that is not there: false.
bool AddRecipients(QvCmcRecipient* recipients) {
  if (recipients &&
      !platform::GuardedCall(RouteRecipients, platform::CatchEveryFault, recipients)) {
    return false;
  }
  AppendRecipientLists();
  return true;
}

bool Send(const QvCmcMessage& message) {
  const bool copied = AddFirstAttachment(message.attachments);
  if (copied) AddRequestSubject(message.subject);
  const bool routed = AddRecipients(message.recipients);
  if (!copied || !routed) return false;
  AddRequestBody(message.text_note);
  return DeliverMailRequest();
}

}  // namespace
}  // namespace qv

extern "C" {

uint32_t QVSMAPI_CALL cmc_logon(char* service, char* /*user*/, char* /*password*/,
                                char* /*character_set*/, uintptr_t /*ui_id*/,
                                uint16_t /*caller_version*/, uint32_t /*flags*/,
                                QvCmcSession* session, void* /*extensions*/) {
  if (service) return qv::kNotSupported;
  if (session) *session = qv::kSession;
  return qv::kSuccess;
}

uint32_t QVSMAPI_CALL cmc_logoff(QvCmcSession session, uintptr_t /*ui_id*/, uint32_t /*flags*/,
                                 void* /*extensions*/) {
  return session == qv::kSession ? qv::kSuccess : qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_send(QvCmcSession session, QvCmcMessage* message, uint32_t /*flags*/,
                               uintptr_t /*ui_id*/, void* /*extensions*/) {
  const bool sent = session == qv::kSession && message && qv::Send(*message);
  return sent ? qv::kSuccess : qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_query_configuration(QvCmcSession session, int32_t item, void* reference,
                                              void* extensions) {
  if (session != 0 || extensions || item != qv::kItemImplementedVersion) return qv::kNotSupported;
  if (reference) std::memcpy(reference, &qv::kImplementedVersion, sizeof qv::kImplementedVersion);
  return qv::kSuccess;
}

uint32_t QVSMAPI_CALL cmc_send_documents(char* /*addresses*/, char* /*subject*/, char* /*text*/,
                                         uint32_t /*flags*/, char* /*paths*/, char* /*names*/,
                                         char* /*delimiter*/, uintptr_t /*ui_id*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_act_on(QvCmcSession /*session*/, void* /*reference*/,
                                 int32_t /*operation*/, uint32_t /*flags*/, uintptr_t /*ui_id*/,
                                 void* /*extensions*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_list(QvCmcSession /*session*/, char* /*message_type*/, uint32_t /*flags*/,
                               void* /*seed*/, uint32_t* /*count*/, uintptr_t /*ui_id*/,
                               void** /*result*/, void* /*extensions*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_read(QvCmcSession /*session*/, void* /*reference*/, uint32_t /*flags*/,
                               QvCmcMessage** /*message*/, uintptr_t /*ui_id*/,
                               void* /*extensions*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_look_up(QvCmcSession /*session*/, QvCmcRecipient* /*sought*/,
                                  uint32_t /*flags*/, uintptr_t /*ui_id*/, uint32_t* /*count*/,
                                  QvCmcRecipient** /*found*/, void* /*extensions*/) {
  return qv::kNotSupported;
}

uint32_t QVSMAPI_CALL cmc_free(void* /*memory*/) { return qv::kNotSupported; }
}
