// Any request over a staging folder with a few copies in it: only those are named, nothing is taken
// from behind the subject, and whatever is kept is valid UTF-8 without line ends where a mail
// header would break.
#include <algorithm>
#include <string_view>

#include "fuzz/fuzz_support.h"
#include "programs/qvclient/request_reader.h"
#include "text/code_page_strings.h"

namespace {

constexpr std::string_view kCopies[] = {"C:\\Temp\\Quorvantis\\a.txt",
                                        "C:\\Temp\\Quorvantis\\a&subject=b.txt",
                                        "C:\\Temp\\Quorvantis\\b&attach=c"};

qvclient::CopyState StateOf(const std::string& path) {
  for (std::string_view copy : kCopies)
    if (path == copy) return qvclient::CopyState::kCopy;
  return path.starts_with("C:\\Temp\\Quorvantis\\") ? qvclient::CopyState::kMissing
                                                    : qvclient::CopyState::kOutside;
}

bool IsUtf8(const std::string& text) {
  for (size_t at = 0; at < text.size();) {
    const auto left = static_cast<uint32_t>(text.size() - at);
    const uint32_t length = UTF8SequenceLength(text.data() + at, left);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const qvclient::Request request = qvclient::ReadRequest(text, StateOf);
  FUZZ_CHECK(request.readable || !request.problems.empty());
  for (const auto& attachment : request.attachments)
    FUZZ_CHECK(StateOf(attachment.path) == qvclient::CopyState::kCopy);
  FUZZ_CHECK(IsUtf8(request.subject) && IsUtf8(request.body));
  for (const auto* list : {&request.to, &request.cc, &request.bcc})
    for (const std::string& address : *list) {
      FUZZ_CHECK(IsUtf8(address) && !address.empty());
      FUZZ_CHECK(address.size() <= qvclient::kLongestAddress);
    }
  for (const std::string& problem : request.problems) FUZZ_CHECK(IsUtf8(problem));
  return 0;
}
