#include "programs/qvclient/request_reader.h"

#include <algorithm>
#include <span>

#include "programs/common/escapes.h"
#include "programs/common/text.h"

namespace qvclient {
namespace {

constexpr std::string_view kStart = "mailto:?";
constexpr std::string_view kDeleteMark = "deletefile=1&";
constexpr std::string_view kAttach = "attach=";
constexpr std::string_view kSubject = "&subject=";
constexpr std::string_view kTo = "&to=", kCc = "&cc=", kBcc = "&bcc=", kBody = "&body=";

using Separators = std::span<const std::string_view>;
constexpr std::string_view kAfterAttachment[] = {
    "&deletefile=1&attach=", "&attach=", kSubject, kTo, kCc, kBcc, kBody};
constexpr std::string_view kAfterSubject[] = {kTo, kCc, kBcc, kBody};
constexpr std::string_view kAfterTo[] = {kCc, kBcc, kBody};
constexpr std::string_view kAfterCc[] = {kBcc, kBody};
constexpr std::string_view kAfterBcc[] = {kBody};
constexpr std::string_view kAfterStart[] = {kSubject, kTo, kCc, kBcc, kBody};

bool StartsWithAny(std::string_view text, Separators separators) {
  return std::any_of(separators.begin(), separators.end(),
                     [&](std::string_view separator) { return text.starts_with(separator); });
}

// Where the first of the separators stands at or behind `from`, the text's end when none does.
size_t NextSeparator(std::string_view text, Separators separators, size_t from = 0) {
  for (size_t at = text.find('&', from); at < text.size(); at = text.find('&', at + 1)) {
    if (StartsWithAny(text.substr(at), separators)) return at;
  }
  return text.size();
}

std::string WithoutAddressType(const std::string& address) {
  constexpr std::string_view kType = "smtp:";
  bool typed = program::FoldCase(address.substr(0, kType.size())) == kType;
  return typed ? address.substr(kType.size()) : address;
}

class RequestReader {
 public:
  RequestReader(std::string_view text, const CopyQuestion& state_of_copy)
      : rest_(text), state_of_copy_(state_of_copy) {}

  Request Read() {
    if (!ReadEnvelope()) return std::move(request_);
    request_.readable = true;
    ReadAttachments();
    SkipUnknown();
    if (Take(kSubject)) request_.subject = Text(Piece(kAfterSubject), "the subject");
    if (Take(kTo)) ReadList(Piece(kAfterTo), &request_.to);
    if (Take(kCc)) ReadList(Piece(kAfterCc), &request_.cc);
    if (Take(kBcc)) ReadList(Piece(kAfterBcc), &request_.bcc);
    if (Take(kBody)) request_.body = Text(Piece({}), "the body");
    if (!rest_.empty()) Problem("text that belongs to no piece: ", rest_);
    return std::move(request_);
  }

 private:
  void Problem(const std::string& what, std::string_view text = "") {
    constexpr size_t kShown = 200;  // bytes: a message, not the whole request
    std::string shown = program::RepairUtf8(text.substr(0, kShown));
    request_.problems.push_back(what + shown);
  }

  // What encloses the pieces: the start, and the "&" that the library puts last.
  bool ReadEnvelope() {
    rest_ = rest_.substr(0, rest_.find('\0'));
    if (rest_.size() > kLongestRequest) {
      Problem("the request is longer than the mail library writes");
      return false;
    }
    if (!Take(kStart)) {
      Problem("the request does not begin with \"mailto:?\"");
      return false;
    }
    if (rest_.ends_with('&')) {
      rest_.remove_suffix(1);
    } else {
      Problem("the request is cut off at its end");
    }
    return true;
  }

  bool Take(std::string_view piece) {
    if (!rest_.starts_with(piece)) return false;
    rest_.remove_prefix(piece.size());
    return true;
  }

  // The text up to the first of the separators.
  std::string_view Piece(Separators separators) {
    return TakeBytes(NextSeparator(rest_, separators));
  }

  std::string_view TakeBytes(size_t size) {
    std::string_view piece = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return piece;
  }

  // Attachments stand first. Directly behind the start there is no "&", except when the library
  // could not copy the first one.
  void ReadAttachments() {
    bool at_start = true;
    RequestAttachment attachment;
    while (TakeAttachmentMark(at_start, &attachment.delete_copy)) {
      at_start = false;
      if (ReadPath(&attachment.path)) request_.attachments.push_back(attachment);
    }
  }

  bool TakeAttachmentMark(bool at_start, bool* delete_copy) {
    std::string_view before = rest_;
    bool separated = Take("&") || at_start;
    *delete_copy = Take(kDeleteMark);
    if (separated && Take(kAttach)) return true;
    rest_ = before;
    return false;
  }

  // Takes the path up to the first separator where it names a copy.
  bool ReadPath(std::string* path) {
    size_t first_end = NextSeparator(rest_, kAfterAttachment);
    // A file name has no room for more than 51 separators; the folder may add a few.
    constexpr int kMostSeparators = 64;
    size_t end = first_end;
    for (int tries = 0; tries < kMostSeparators && end <= kLongestPath; ++tries) {
      std::string candidate = program::Unescape(rest_.substr(0, end), nullptr);
      if (state_of_copy_(candidate) == CopyState::kCopy) {
        // A path that was escaped otherwise than the library escapes names the file all the same.
        *path = Text(TakeBytes(end), "an attachment's path");
        return true;
      }
      if (end == rest_.size()) break;
      end = NextSeparator(rest_, kAfterAttachment, end + 1);
    }
    ReportPath(TakeBytes(first_end));
    return false;
  }

  void ReportPath(std::string_view escaped) {
    std::string path = program::Unescape(escaped, nullptr);
    bool missing = state_of_copy_(path) == CopyState::kMissing;
    Problem(missing ? "no such copy: " : "not a copy in the staging folder: ", path);
  }

  void SkipUnknown() {
    if (rest_.empty() || StartsWithAny(rest_, kAfterStart)) return;
    Problem("text that belongs to no piece: ", Piece(kAfterStart));
  }

  std::string Text(std::string_view escaped, const std::string& what) {
    bool damaged = false;
    std::string text = program::Unescape(escaped, &damaged);
    if (damaged) Problem("a broken escape in " + what);
    if (program::IsUtf8(text)) return text;
    Problem(what + " is not UTF-8");
    return program::RepairUtf8(text);
  }

  // Addresses hold their own commas escaped.
  void ReadList(std::string_view list, std::vector<std::string>* addresses) {
    while (!list.empty()) {
      size_t comma = std::min(list.find(','), list.size());
      AddAddress(Text(list.substr(0, comma), "an address"), addresses);
      list.remove_prefix(std::min(comma + 1, list.size()));
    }
  }

  void AddAddress(const std::string& text, std::vector<std::string>* addresses) {
    std::string address = WithoutAddressType(text);
    if (address.size() > kLongestAddress) {
      Problem("an address longer than the mail library writes: ", address);
    } else if (!address.empty()) {
      addresses->push_back(address);
    }
  }

  std::string_view rest_;
  const CopyQuestion& state_of_copy_;
  Request request_;
};

}  // namespace

Request ReadRequest(std::string_view text, const CopyQuestion& state_of_copy) {
  return RequestReader(text, state_of_copy).Read();
}

}  // namespace qvclient
