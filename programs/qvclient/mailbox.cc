#include "programs/qvclient/mailbox.h"

#include "programs/common/file_names.h"
#include "programs/common/files.h"

namespace qvclient {
namespace {

Message MessageOf(const Delivery& delivery) {
  const Request& request = delivery.request;
  Message message{request.subject, request.to, request.cc, request.bcc, request.body, {}};
  for (const RequestAttachment& attachment : request.attachments) {
    message.attachments.push_back(
        {program::LastPart(attachment.path), delivery.copies.PathOf(attachment.path)});
  }
  return message;
}

std::vector<std::string> CopiesToDelete(const Request& request) {
  std::vector<std::string> paths;
  for (const RequestAttachment& attachment : request.attachments) {
    if (attachment.delete_copy) paths.push_back(attachment.path);
  }
  return paths;
}

}  // namespace

Mailbox::Mailbox(const MailboxOptions& options, const program::Reporter& reporter)
    : options_(options),
      reporter_(reporter),
      copies_(options.staging_folder),
      store_(options.folder) {}

Delivery Mailbox::Receive(std::string_view request_text) const {
  Delivery delivery;
  delivery.text = request_text;
  delivery.request =
      ReadRequest(request_text, [this](const std::string& path) { return copies_.State(path); });
  bool may_delete = delivery.request.problems.empty() && !options_.keep_copies;
  if (may_delete) delivery.copies.Claim(CopiesToDelete(delivery.request), copies_);
  return delivery;
}

bool Mailbox::Store(Delivery& delivery) {
  if (options_.show_requests) reporter_.Line(program::OneLine(delivery.text));
  for (const std::string& problem : delivery.request.problems) {
    reporter_.Error("the request is damaged: " + problem);
  }
  if (!delivery.request.readable) return false;
  return StoreMessage(delivery) && delivery.request.problems.empty();
}

bool Mailbox::StoreMessage(Delivery& delivery) {
  StoreOutcome stored = store_.Store(MessageOf(delivery), StampNow());
  if (stored.error != ERROR_SUCCESS) {
    ReportFailure(stored, delivery.copies);
    return false;
  }
  ClaimedCopies::Outcome deleted = delivery.copies.Delete(copies_);
  for (const std::string& path : deleted.left) {
    reporter_.Error("cannot delete the copy " + program::ShownPath(path) +
                    ": delete it when no other program uses it");
  }
  Announce(delivery.request, stored.file_name, deleted.done);
  return deleted.left.empty();
}

void Mailbox::ReportFailure(const StoreOutcome& outcome, ClaimedCopies& copies) const {
  bool in_folder = outcome.failed_path == store_.folder();
  std::string place = in_folder ? program::ShownPath(outcome.failed_path)
                                : "the attachment " + program::LastPart(outcome.failed_path);
  std::string where = program::ShownPath(copies_.folder());
  for (const std::string& path : copies.Restore().left) {
    where += " and at " + program::ShownPath(path);
  }
  reporter_.Error("the message could not be stored: " + place + ": " +
                  program::ErrorText(outcome.error) + "; the copies of its attachments are in " +
                  where);
}

void Mailbox::Announce(const Request& request, const std::string& file_name, size_t deleted) const {
  if (options_.quiet) return;
  size_t recipients = request.to.size() + request.cc.size() + request.bcc.size();
  reporter_.Line(file_name + ": " + program::Count(recipients, "recipient") + ", " +
                 program::Count(request.attachments.size(), "attachment") + ", " +
                 (deleted == 1 ? "1 copy" : std::to_string(deleted) + " copies") +
                 " deleted, subject: " + program::OneLine(request.subject));
}

}  // namespace qvclient
