/* A host application in plain C that knows nothing of the project but its public header. */
#include <qvsmapi.h>
#include <stddef.h>
#include <string.h>

static char* Put(char* place, const char* text) { return strcpy(place, text); }

/* One message with one attachment through Simple MAPI; the result of the send. */
uint32_t SendMapiFromC(QvMapiLogon logon, QvMapiSendMail send, QvMapiLogoff logoff,
                       const char* file_path) {
  char path[1000], subject[20], text[20], to[20], cc[20];
  QvMapiRecipient recipients[2];
  QvMapiFile file;
  QvMapiMessage message;
  QvMapiSession session = 0;
  uint32_t result;

  memset(recipients, 0, sizeof recipients);
  memset(&file, 0, sizeof file);
  memset(&message, 0, sizeof message);
  recipients[0].ulRecipClass = QVMAPI_TO;
  recipients[0].lpszAddress = Put(to, "bob");
  recipients[1].ulRecipClass = QVMAPI_CC;
  recipients[1].lpszAddress = Put(cc, "carol");
  file.lpszPathName = Put(path, file_path);
  message.lpszSubject = Put(subject, "Q3 report");
  message.lpszNoteText = Put(text, "Hi,\r\nsee attached.");
  message.nRecipCount = 2;
  message.lpRecips = recipients;
  message.nFileCount = 1;
  message.lpFiles = &file;
  if (logon(0, NULL, NULL, 0, 0, &session) != QVMAPI_SUCCESS) return 1;
  result = send(session, 0, &message, 0, 0);
  logoff(session, 0, 0, 0);
  return result;
}

/* The same through CMC. */
uint32_t SendCmcFromC(QvCmcLogon logon, QvCmcSend send, QvCmcLogoff logoff, const char* file_path) {
  char path[1000], subject[20], text[20], to[20], cc[20];
  QvCmcRecipient recipients[2];
  QvCmcAttachment attachment;
  QvCmcMessage message;
  QvCmcSession session = 0;
  uint32_t result;

  memset(recipients, 0, sizeof recipients);
  memset(&attachment, 0, sizeof attachment);
  memset(&message, 0, sizeof message);
  recipients[0].address = Put(to, "bob");
  recipients[1].address = Put(cc, "carol");
  recipients[1].role = 1;
  recipients[1].recip_flags = QVCMC_RECIPIENT_LAST;
  attachment.attach_filename = Put(path, file_path);
  attachment.attach_flags = QVCMC_ATTACHMENT_LAST;
  message.subject = Put(subject, "Q3 report");
  message.text_note = Put(text, "Hi,\r\nsee attached.");
  message.recipients = recipients;
  message.attachments = &attachment;
  if (logon(NULL, NULL, NULL, NULL, 0, 100, 0, &session, NULL) != QVCMC_SUCCESS) return 1;
  result = send(session, &message, 0, 0, NULL);
  logoff(session, 0, 0, NULL);
  return result;
}
