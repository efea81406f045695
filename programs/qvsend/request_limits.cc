#include "programs/qvsend/request_limits.h"

#include "mapi/request_builder.h"
#include "programs/common/file_names.h"
#include "programs/common/text.h"
#include "text/code_pages.h"

namespace qvsend {
namespace {

// Lines end with CR LF after the library's conversion.
std::string WithLineEnds(const std::string& text) {
  std::string lines;
  for (size_t i = 0; i < text.size(); ++i) {
    bool line_end = text[i] == '\r' || text[i] == '\n';
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    lines += line_end ? std::string("\r\n") : std::string(1, text[i]);
  }
  return lines;
}

// Each run of line ends is one CR in the request.
std::string WithFoldedLineEnds(const std::string& text) {
  std::string folded;
  for (char c : text) {
    bool line_end = c == '\r' || c == '\n';
    if (line_end && !folded.empty() && folded.back() == '\r') continue;
    folded += line_end ? '\r' : c;
  }
  return folded;
}

// Follows the request as the library builds it.
class Fitter {
 public:
  Fitter(uint32_t code_page, const std::string& staging_folder)
      : code_page_(code_page), staging_folder_(staging_folder) {}

  RequestFit Fit(const Outgoing& outgoing) {
    AddFiles(outgoing.files);
    if (!outgoing.subject.empty()) AddSubject(outgoing.subject);
    for (auto [recipient_class, mark] : {std::pair{1u, "&to="}, {2u, "&cc="}, {3u, "&bcc="}}) {
      AddList(outgoing.recipients, recipient_class, mark);
    }
    if (outgoing.has_body) AddBody(outgoing.body);
    return fit_;
  }

 private:
  std::string Utf8(const std::string& bytes) const {
    return program::FromCodePage(bytes, code_page_).value_or(bytes);
  }

  // Bytes taken of a text before its conversion: where characters are walked, the terminator
  // counts.
  size_t Taken(size_t limit) const {
    return qv::IsCharacterWiseCodePage(static_cast<CodePage>(code_page_)) ? limit - 1 : limit;
  }

  bool Append(size_t size, size_t reserve = 0) {
    bool fits = used_ + size + reserve + 1 <= qv::kRequestSize;
    if (fits) used_ += size;
    return fits;
  }

  void AddFiles(const std::vector<OutgoingFile>& files) {
    used_ = std::string_view("mailto:?").size();
    for (const OutgoingFile& file : files) {
      size_t path = EscapedSize(program::Joined(staging_folder_, Utf8(file.name)));
      size_t mark = std::string_view("deletefile=1&attach=").size() + (&file == &files[0] ? 0 : 1);
      fit_.files_fit = fit_.files_fit && path < qv::kPathSize && Append(mark + path);
    }
  }

  void AddSubject(const std::string& subject) {
    std::string text = WithLineEnds(Utf8(subject));
    size_t escaped = EscapedSize(text);
    bool fits = subject.size() <= Taken(qv::kSubjectLimit) && text.size() <= qv::kSubjectLimit &&
                escaped < qv::kSubjectSize &&
                Append(std::string_view("&subject=").size() + escaped);
    fit_.subject_cut = !fits;
  }

  void AddBody(const std::string& body) {
    std::string text = WithLineEnds(Utf8(body));
    size_t escaped = EscapedSize(WithFoldedLineEnds(text));
    // One byte stays for the "&" behind the body.
    bool fits = body.size() <= Taken(qv::kBodyLimit) && text.size() <= qv::kBodyLimit &&
                escaped < qv::kBodySize && Append(std::string_view("&body=").size() + escaped, 1);
    fit_.body_cut = !fits;
  }

  void AddList(const std::vector<OutgoingRecipient>& recipients, uint32_t recipient_class,
               std::string_view mark) {
    size_t list = 0;
    for (const OutgoingRecipient& recipient : recipients) {
      if (recipient.recipient_class != recipient_class || recipient.address.empty()) continue;
      size_t escaped = EscapedSize(WithLineEnds(Utf8(recipient.address)));
      size_t added = escaped + (list == 0 ? 0 : 1);
      bool whole = recipient.address.size() <= Taken(qv::kAddressLimit) &&
                   escaped <= qv::kAddressLimit && list + added < qv::kListSize &&
                   Append(added + (list == 0 ? mark.size() : 0));
      if (whole) {
        list += added;
      } else {
        fit_.addresses.push_back(recipient.address);
      }
    }
  }

  uint32_t code_page_;
  std::string staging_folder_;
  size_t used_ = 0;  // bytes of the request so far
  RequestFit fit_;
};

}  // namespace

size_t EscapedSize(std::string_view utf8) {
  size_t size = 0;
  for (char c : utf8) {
    bool escaped = std::string_view(":<>\"|;',()[]{} %#~^`\r").find(c) != std::string_view::npos;
    size += escaped ? 3 : 1;
  }
  return size;
}

RequestFit FitRequest(const Outgoing& outgoing, uint32_t code_page,
                      const std::string& staging_folder) {
  return Fitter(code_page, staging_folder).Fit(outgoing);
}

}  // namespace qvsend
