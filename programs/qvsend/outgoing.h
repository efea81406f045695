// A message in the form that the library takes: bytes of the system's code page.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "programs/common/mail_library.h"
#include "programs/qvsend/attachment_list.h"

namespace qvsend {

// As the user wrote it, in UTF-8.
struct Letter {
  std::vector<std::string> to, cc, bcc;
  std::string subject;
  std::string body;
  bool has_body = false;
  std::vector<AttachmentFile> files;
};

struct OutgoingRecipient {
  uint32_t recipient_class;  // QVMAPI_TO, QVMAPI_CC, QVMAPI_BCC
  std::string address;
};

struct OutgoingFile {
  std::string path, name;
};

struct Outgoing {
  std::string subject, body;
  bool has_body = false;
  std::vector<OutgoingRecipient> recipients;
  std::vector<OutgoingFile> files;
};

// Converts the letter. What the code page lacks becomes "?" ("_" in a name) and leaves a line in
// *warnings. The paths of the files must be in the code page already. False when the system does
// not know the code page.
bool ConvertLetter(const Letter& letter, uint32_t code_page, Outgoing* outgoing,
                   std::vector<std::string>* warnings);

// Logon, send, logoff. True when the client has the message.
bool SendByMapi(const program::MailLibrary& library, Outgoing& outgoing);
// Only the first file goes.
bool SendByCmc(const program::MailLibrary& library, Outgoing& outgoing);

}  // namespace qvsend
