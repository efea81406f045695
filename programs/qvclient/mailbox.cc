#include "programs/qvclient/mailbox.h"

#include <map>

#include "platform/native_files.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvclient {
namespace {

Message MessageOf(const Request& request) {
  Message message{request.subject, request.to, request.cc, request.bcc, request.body, {}};
  for (const RequestAttachment& attachment : request.attachments) {
    message.attachments.push_back({program::LastPart(attachment.path), attachment.path});
  }
  return message;
}

// Two attachments may be one file, since the library copies one over another of the same name.
std::map<std::string, std::string> CopiesToDelete(const Request& request) {
  std::map<std::string, std::string> paths;
  for (const RequestAttachment& attachment : request.attachments) {
    if (attachment.delete_copy) paths.emplace(program::FoldCase(attachment.path), attachment.path);
  }
  return paths;
}

}  // namespace

Mailbox::Mailbox(const MailboxOptions& options, const program::Reporter& reporter)
    : options_(options),
      reporter_(reporter),
      copies_(options.staging_folder),
      store_(options.folder) {}

bool Mailbox::Take(std::string_view request_text) {
  if (options_.show_requests) reporter_.Line(program::OneLine(std::string(request_text)));
  Request request =
      ReadRequest(request_text, [this](const std::string& path) { return copies_.State(path); });
  for (const std::string& problem : request.problems) {
    reporter_.Error("the request is damaged: " + problem);
  }
  if (!request.readable) return false;
  return Keep(request) && request.problems.empty();
}

bool Mailbox::Keep(const Request& request) {
  StoreOutcome outcome = store_.Store(MessageOf(request), StampNow());
  if (outcome.error != ERROR_SUCCESS) {
    ReportFailure(outcome);
    return false;
  }
  bool all_deleted = true;
  size_t deleted = 0;
  if (!options_.keep_copies && request.problems.empty()) {
    deleted = DeleteCopies(request, &all_deleted);
  }
  Announce(request, outcome.file_name, deleted);
  return all_deleted;
}

void Mailbox::ReportFailure(const StoreOutcome& outcome) const {
  reporter_.Error("the message could not be stored: " + platform::NativePath(outcome.failed_path) +
                  ": " + program::ErrorText(outcome.error) +
                  "; the copies of its attachments stay in " +
                  platform::NativePath(copies_.folder()));
}

size_t Mailbox::DeleteCopies(const Request& request, bool* all_deleted) const {
  size_t deleted = 0;
  for (const auto& [folded, path] : CopiesToDelete(request)) {
    DWORD error = copies_.Delete(path);
    if (error == ERROR_SUCCESS) {
      ++deleted;
      continue;
    }
    *all_deleted = false;
    reporter_.Error("cannot delete the copy " + platform::NativePath(path) + ": " +
                    program::ErrorText(error));
  }
  return deleted;
}

void Mailbox::Announce(const Request& request, const std::string& file_name, size_t deleted) const {
  if (options_.quiet) return;
  size_t recipients = request.to.size() + request.cc.size() + request.bcc.size();
  reporter_.Line(file_name + ": " + program::Count(recipients, "recipient") + ", " +
                 program::Count(request.attachments.size(), "attachment") + ", " +
                 std::to_string(deleted) +
                 " deleted from the staging folder, subject: " + program::OneLine(request.subject));
}

}  // namespace qvclient
