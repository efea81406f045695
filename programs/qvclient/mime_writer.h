// Writes one message as a standard message file (RFC 5322, MIME): multipart/mixed with the body as
// UTF-8 text and each attachment, all in Base64.
//
//   WriteOutcome outcome = WriteMessage(message, StampNow(), [&](std::string_view bytes) {
//     return file.Write(bytes);
//   });
//
// Attachments are read piece by piece: one of any size takes a few hundred kilobytes of memory.
// Threads: one message at a time in a process (the clock's record is shared).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows_api.h"

namespace qvclient {

struct Attachment {
  std::string name;  // that the recipient sees
  std::string path;  // of the bytes
};

struct Message {
  std::string subject;
  std::vector<std::string> to, cc, bcc;
  std::string body;  // line ends of any kind; they are written as CR LF
  std::vector<Attachment> attachments;
};

// What tells one message from another.
struct MessageStamp {
  std::string from;        // an address
  std::string date;        // as in RFC 5322
  std::string message_id;  // without angle brackets
};
// For a message written now by the user who runs the program.
MessageStamp StampNow();

using Sink =
    std::function<DWORD(std::string_view bytes)>;  // returns the system's error, 0 for none

struct WriteOutcome {
  DWORD error = ERROR_SUCCESS;
  std::string attachment;  // path of the one that could not be read; "" when the sink failed
};

WriteOutcome WriteMessage(const Message& message, const MessageStamp& stamp, const Sink& sink);

}  // namespace qvclient
