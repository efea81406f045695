// Builds the MailRequest: one message as a single line of text in the form of a "mailto:" URL.
//
//   bool copied = BeginMailRequest(path, name, true);   // once per attachment
//   if (copied) AddRequestSubject(subject);
//   RouteRecipient(1, "bob"); AppendRecipientLists();
//   if (copied) AddRequestBody(text);
//   DeliverMailRequest();                               // mapi/hand_off.h
//
// Form, pieces in this order:
//   mailto:?deletefile=1&attach=PATH[&deletefile=1&attach=PATH...]
//     [&subject=TEXT][&to=A,B][&cc=A,B][&bcc=A,B][&body=TEXT]
// or "mailto:?" in place of the first attachment piece when that copy failed. Text is UTF-8, 21
// characters percent-escaped; bytes of 128 and above stay as they are.
//
// Attachments are copied into the staging folder ("Quorvantis" in the user's temporary folder);
// the client deletes the copies. All input is in the system's code page.
//
// All buffers are process-wide and unprotected: one send at a time. They are not cleared after a
// delivery.
//
// At the limits whole escapes and whole characters are kept, and every piece leaves room for the
// "&" of the hand-off:
//   - subject and escaped body are cut;
//   - an address that does not fit whole is dropped: its escaped form into 255 bytes, or into the
//     list together with its comma and the terminator;
//   - a recipient list that does not fit the request is cut at a comma;
//   - an attachment whose piece does not fit, or whose path does not fit its buffer, is not copied,
//     and neither is any later one, so that the send fails rather than arrives incomplete.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint32_t kRequestSize = 21768;  // bytes, terminator included; so for those below
constexpr uint32_t kSubjectSize = 768;    // escaped
constexpr uint32_t kListSize = 2000;      // escaped addresses with commas
constexpr uint32_t kBodySize = 6000;      // escaped
constexpr uint32_t kPathSize = 2000;      // attachment name, copy path, escaped copy path
constexpr uint32_t kSubjectLimit = 256;   // bytes taken of a subject, before its conversion
constexpr uint32_t kBodyLimit = 5000;     // bytes taken of a body
constexpr uint32_t kAddressLimit = 255;   // bytes taken of an address, and escaped bytes of it

struct MailRequestBuffers {
  char request[kRequestSize];
  char subject[kSubjectSize];
  char to[kListSize], cc[kListSize], bcc[kListSize];
  char body[kBodySize];
  // An attachment of this request did not fit: no later one is taken.
  bool attachments_full;
};

// The process's buffers; the hand-off reads and ends the request.
MailRequestBuffers& RequestBuffers();

}  // namespace qv

// Takes one attachment: `path` the file (or null), `name` what the copy is called (or null: the
// last part of the path). `first` starts a new request. Returns whether the copy was made.
bool BeginMailRequest(const char* path, const char* name, bool first);

// Adds "&subject="; nothing for a null or empty subject.
void AddRequestSubject(const char* subject);

// Adds the address to the To (1), Cc (2) or Bcc (3) list; other classes and null are ignored.
void RouteRecipient(uint32_t recipient_class, const char* address);
// `list` is one of the three buffers of kListSize bytes.
void AddListAddress(char* list, const char* address);
// Adds "&to=", "&cc=" and "&bcc=" with each list that holds something.
void AppendRecipientLists();

// Adds "&body=", also for an empty text; nothing for null.
void AddRequestBody(const char* body);

// Escapes source into a zero-filled destination of `size` bytes, stopping before the first
// character that does not fit whole with a terminator behind it. Returns the bytes written.
uint32_t EscapeRequestText(const char* source, char* destination, uint32_t size);
