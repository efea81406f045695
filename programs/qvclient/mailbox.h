// What the client does with one request, in two steps:
//
//   Delivery delivery = mailbox.Receive(text);   // at once, before the acknowledgement
//   mailbox.Store(delivery);                     // later, however long it takes
//
// Receiving takes the request apart and the copies of its attachments out of the staging folder, so
// that no later message touches them. Storing writes the message, deletes the copies, and reports.
// Copies are deleted only when the message with their bytes is safely stored; those of a damaged
// request stay in the staging folder and those of a failed store go back there, so that nothing is
// lost.
// Threads: the two steps may run on different ones, each on one at a time.
#pragma once

#include <string>
#include <string_view>

#include "programs/common/reporter.h"
#include "programs/qvclient/claimed_copies.h"
#include "programs/qvclient/message_store.h"
#include "programs/qvclient/request_reader.h"
#include "programs/qvclient/staged_copies.h"

namespace qvclient {

struct MailboxOptions {
  std::string folder;          // of the messages
  std::string staging_folder;  // of the copies
  bool keep_copies = false;
  bool quiet = false;          // no line for a message that was stored
  bool show_requests = false;  // the request's text before that line
};

struct Delivery {
  std::string text;
  Request request;
  ClaimedCopies copies;
};

class Mailbox {
 public:
  Mailbox(const MailboxOptions& options, const program::Reporter& reporter);

  Delivery Receive(std::string_view request_text) const;

  // False when the message could not be stored or something was wrong with it; that is reported.
  bool Store(Delivery& delivery);

 private:
  bool StoreMessage(Delivery& delivery);
  void ReportFailure(const StoreOutcome& outcome, ClaimedCopies& copies) const;
  void Announce(const Request& request, const std::string& file_name, size_t deleted) const;

  MailboxOptions options_;
  const program::Reporter& reporter_;
  StagedCopies copies_;
  MessageStore store_;
};

}  // namespace qvclient
