// Takes a request of the mail library apart:
//
//   mailto:?deletefile=1&attach=PATH[&deletefile=1&attach=PATH...]
//     [&subject=TEXT][&to=A,B][&cc=A,B][&bcc=A,B][&body=TEXT]&
//
//   Request request = ReadRequest(text, [&](const std::string& path) { return copies.State(path);
//   });
//
// "&" and "=" stand unescaped in texts, so the fixed order of the pieces decides:
//   - only pieces before the subject are attachments, whatever the subject says;
//   - an attachment's path ends at the first separator where the text so far names a copy, because
//     a file name may hold a separator too; where none does, at the first separator;
//   - the subject ends at the first "&to=", "&cc=", "&bcc=" or "&body=" after it, a list at the
//     first piece that may follow it, and the body at the end.
//
// Whatever is wrong is listed under `problems` and the rest is read as well as it can be: a broken
// escape stays as it stands, bytes that are not UTF-8 become U+FFFD, an attachment without its copy
// and an address longer than the library writes are left out. Nothing throws but bad_alloc; the
// work is bounded for any text.
// Threads: any; the question about copies is asked on the caller's.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qvclient {

// The library's own buffer, without the terminator: a longer request is not from it.
constexpr size_t kLongestRequest = 21767;
// Escaped bytes of one path, and bytes of one address.
constexpr size_t kLongestPath = 2000;
constexpr size_t kLongestAddress = 255;

enum class CopyState {
  kCopy,     // an ordinary file directly inside the staging folder
  kMissing,  // would be one, but is not there
  kOutside,  // anything else: another folder, a device, a stream, a folder
};
using CopyQuestion = std::function<CopyState(const std::string& path)>;

struct RequestAttachment {
  std::string path;
  bool delete_copy = false;
};

struct Request {
  std::vector<RequestAttachment> attachments;
  std::string subject;
  std::vector<std::string> to, cc, bcc;  // without a leading "SMTP:"
  std::string body;                      // lines end with single CRs, as the library writes them
  std::vector<std::string> problems;
  bool readable = false;  // false: not a request at all, nothing else is set but `problems`
};

Request ReadRequest(std::string_view text, const CopyQuestion& state_of_copy);

}  // namespace qvclient
