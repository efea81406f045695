#include "programs/qvsend/outgoing.h"

#include <algorithm>

#include "programs/common/text.h"

namespace qvsend {
namespace {

// Converts texts of one code page and keeps the warnings.
class Converter {
 public:
  Converter(uint32_t code_page, std::vector<std::string>* warnings)
      : code_page_(code_page), warnings_(warnings) {}

  std::string Text(const std::string& utf8, const std::string& what) {
    auto converted = program::ToCodePage(utf8, code_page_);
    known_ = known_ && converted.has_value();
    if (!converted) return "";
    if (!converted->lost.empty()) {
      warnings_->push_back("the system's code page " + std::to_string(code_page_) + " has no \"" +
                           converted->lost + "\": it changes in " + what);
    }
    return converted->bytes;
  }

  // "?" is no part of a file name.
  std::string Name(const std::string& utf8) {
    std::string name = Text(utf8, "the attachment name " + utf8);
    std::replace(name.begin(), name.end(), '?', '_');
    return name;
  }

  bool known() const { return known_; }

 private:
  uint32_t code_page_;
  std::vector<std::string>* warnings_;
  bool known_ = true;
};

void AddRecipients(const std::vector<std::string>& addresses, uint32_t recipient_class,
                   Converter& converter, Outgoing* outgoing) {
  for (const std::string& address : addresses) {
    std::string text = converter.Text(address, "the address " + address);
    outgoing->recipients.push_back({recipient_class, text});
  }
}

std::vector<QvMapiRecipient> MapiRecipients(Outgoing& outgoing) {
  std::vector<QvMapiRecipient> recipients;
  for (OutgoingRecipient& recipient : outgoing.recipients) {
    QvMapiRecipient entry{};
    entry.ulRecipClass = recipient.recipient_class;
    entry.lpszAddress = recipient.address.data();
    recipients.push_back(entry);
  }
  return recipients;
}

std::vector<QvMapiFile> MapiFiles(Outgoing& outgoing) {
  std::vector<QvMapiFile> files;
  for (OutgoingFile& file : outgoing.files) {
    QvMapiFile entry{};
    entry.nPosition = 0xFFFFFFFF;  // not placed in the text
    entry.lpszPathName = file.path.data();
    entry.lpszFileName = file.name.data();
    files.push_back(entry);
  }
  return files;
}

std::vector<QvCmcRecipient> CmcRecipients(Outgoing& outgoing) {
  std::vector<QvCmcRecipient> recipients;
  for (OutgoingRecipient& recipient : outgoing.recipients) {
    QvCmcRecipient entry{};
    entry.address = recipient.address.data();
    entry.role = static_cast<int32_t>(recipient.recipient_class) - QVMAPI_TO;
    recipients.push_back(entry);
  }
  if (!recipients.empty()) recipients.back().recip_flags = QVCMC_RECIPIENT_LAST;
  return recipients;
}

}  // namespace

bool ConvertLetter(const Letter& letter, uint32_t code_page, Outgoing* outgoing,
                   std::vector<std::string>* warnings) {
  Converter converter(code_page, warnings);
  outgoing->subject = converter.Text(letter.subject, "the subject");
  outgoing->body = converter.Text(letter.body, "the body");
  outgoing->has_body = letter.has_body;
  AddRecipients(letter.to, QVMAPI_TO, converter, outgoing);
  AddRecipients(letter.cc, QVMAPI_CC, converter, outgoing);
  AddRecipients(letter.bcc, QVMAPI_BCC, converter, outgoing);
  for (const AttachmentFile& file : letter.files) {
    std::string path = converter.Text(file.path, "the path of " + file.shown);
    outgoing->files.push_back({path, converter.Name(file.name)});
  }
  return converter.known();
}

bool SendByMapi(const program::MailLibrary& library, Outgoing& outgoing) {
  std::vector<QvMapiRecipient> recipients = MapiRecipients(outgoing);
  std::vector<QvMapiFile> files = MapiFiles(outgoing);
  QvMapiMessage message{};
  message.lpszSubject = outgoing.subject.data();
  message.lpszNoteText = outgoing.has_body ? outgoing.body.data() : nullptr;
  message.nRecipCount = static_cast<uint32_t>(recipients.size());
  message.lpRecips = recipients.data();
  message.nFileCount = static_cast<uint32_t>(files.size());
  message.lpFiles = files.data();
  QvMapiSession session = 0;
  if (library.mapi_logon(0, nullptr, nullptr, 0, 0, &session) != QVMAPI_SUCCESS) return false;
  uint32_t result = library.mapi_send_mail(session, 0, &message, 0, 0);
  library.mapi_logoff(session, 0, 0, 0);
  return result == QVMAPI_SUCCESS;
}

bool SendByCmc(const program::MailLibrary& library, Outgoing& outgoing) {
  std::vector<QvCmcRecipient> recipients = CmcRecipients(outgoing);
  QvCmcAttachment attachment{};
  if (!outgoing.files.empty()) {
    attachment.attach_title = outgoing.files.front().name.data();
    attachment.attach_filename = outgoing.files.front().path.data();
  }
  attachment.attach_flags = QVCMC_ATTACHMENT_LAST;
  QvCmcMessage message{};
  message.subject = outgoing.subject.data();
  message.text_note = outgoing.has_body ? outgoing.body.data() : nullptr;
  message.recipients = recipients.empty() ? nullptr : recipients.data();
  message.attachments = outgoing.files.empty() ? nullptr : &attachment;
  QvCmcSession session = 0;
  constexpr uint16_t kVersion = 100;  // CMC 1.00
  uint32_t result =
      library.cmc_logon(nullptr, nullptr, nullptr, nullptr, 0, kVersion, 0, &session, nullptr);
  if (result != QVCMC_SUCCESS) return false;
  result = library.cmc_send(session, &message, 0, 0, nullptr);
  library.cmc_logoff(session, 0, 0, nullptr);
  return result == QVCMC_SUCCESS;
}

}  // namespace qvsend
