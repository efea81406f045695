// What the client does with one request: takes it apart, stores the message, deletes the copies of
// its attachments, and says so.
//
// Copies are deleted only when the message with their bytes is safely stored and nothing was wrong
// with the request; otherwise they stay, so that nothing is lost.
// Threads: one at a time.
#pragma once

#include <string>
#include <string_view>

#include "programs/common/reporter.h"
#include "programs/qvclient/message_store.h"
#include "programs/qvclient/staged_copies.h"

namespace qvclient {

struct MailboxOptions {
  std::string folder;          // of the messages
  std::string staging_folder;  // of the copies
  bool keep_copies = false;
  bool quiet = false;          // no line for a message that was stored
  bool show_requests = false;  // the request's text before that line
};

class Mailbox {
 public:
  Mailbox(const MailboxOptions& options, const program::Reporter& reporter);

  // False when the message could not be stored or something was wrong with it; that is reported.
  bool Take(std::string_view request_text);

 private:
  bool Keep(const Request& request);
  void ReportFailure(const StoreOutcome& outcome) const;
  // The number of copies that are gone.
  size_t DeleteCopies(const Request& request, bool* all_deleted) const;
  void Announce(const Request& request, const std::string& file_name, size_t deleted) const;

  MailboxOptions options_;
  const program::Reporter& reporter_;
  StagedCopies copies_;
  MessageStore store_;
};

}  // namespace qvclient
