#include "programs/qvclient/request_reader.h"

#include <gtest/gtest.h>

#include <set>

namespace qvclient {
namespace {

constexpr char kFolder[] = "C:\\T\\Q\\";

// The question about copies answered from a list of names.
CopyQuestion Copies(std::set<std::string> names) {
  return [names](const std::string& path) {
    if (!path.starts_with(kFolder)) return CopyState::kOutside;
    std::string name = path.substr(sizeof kFolder - 1);
    if (name.find_first_of("\\/:") != std::string::npos) return CopyState::kOutside;
    return names.contains(name) ? CopyState::kCopy : CopyState::kMissing;
  };
}

std::string Listed(const char* label, const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) text += std::string(label) + "{" + value + "} ";
  return text;
}

// One line: attachments (a "!" marks one to be kept), subject, recipients, body, problems.
std::string Dump(const Request& request) {
  std::string text;
  for (const RequestAttachment& attachment : request.attachments) {
    EXPECT_TRUE(attachment.path.starts_with(kFolder));
    text += std::string(attachment.delete_copy ? "" : "!") + "attach{" +
            attachment.path.substr(sizeof kFolder - 1) + "} ";
  }
  if (!request.subject.empty()) text += "subject{" + request.subject + "} ";
  text += Listed("to", request.to) + Listed("cc", request.cc) + Listed("bcc", request.bcc);
  if (!request.body.empty()) text += "body{" + request.body + "} ";
  text += Listed("problem", request.problems);
  if (!text.empty()) text.pop_back();
  return text;
}

struct Row {
  const char* name;
  std::string text;
  std::set<std::string> copies;
  std::string dump;
};

void CheckRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Dump(ReadRequest(row.text, Copies(row.copies))), row.dump);
  }
}

// A request with one good attachment "a" and what follows it.
std::string After(const std::string& rest) {
  return "mailto:?deletefile=1&attach=C%3A\\T\\Q\\a" + rest + "&";
}

TEST(RequestReader, TakesGoodRequestsApart) {
  CheckRows({
      {"everything",
       After("&deletefile=1&attach=C%3A\\T\\Q\\b%20c.txt&subject=Q3%20report&to=x,y&cc=z&bcc=w"
             "&body=Hi%2C%0Dthere"),
       {"a", "b c.txt"},
       "attach{a} attach{b c.txt} subject{Q3 report} to{x} to{y} cc{z} bcc{w} body{Hi,\rthere}"},
      {"attachment alone", After(""), {"a"}, "attach{a}"},
      {"copy to be kept",
       "mailto:?attach=C%3A\\T\\Q\\a&subject=s&",
       {"a"},
       "!attach{a} subject{s}"},
      {"first copy failed",
       "mailto:?&deletefile=1&attach=C%3A\\T\\Q\\b&subject=s&",
       {"b"},
       "attach{b} subject{s}"},
      {"no attachment", "mailto:?&subject=s&body=b&", {}, "subject{s} body{b}"},
      {"nothing at all", "mailto:?&", {}, ""},
      {"raw bytes above ASCII",
       After("&subject=Gr\xC3\xBC\xC3\x9F"),
       {"a"},
       "attach{a} subject{Gr\xC3\xBC\xC3\x9F}"},
      {"address types, commas, empty ones",
       After("&to=SMTP%3Abob,smtp%3Aann,,x%2Cy@z,SMTP%3A"),
       {"a"},
       "attach{a} to{bob} to{ann} to{x,y@z}"},
      {"data behind a terminator",
       After("&body=x") + std::string("\0junk", 5),
       {"a"},
       "attach{a} body{x}"},
      {"one \"&\" at the end is the hand-off's", After("&body=x&"), {"a"}, "attach{a} body{x&}"},
  });
}

TEST(RequestReader, DecidesBetweenTextAndPiecesByTheirOrder) {
  CheckRows({
      {"subject that pretends to attach",
       After("&subject=s&deletefile=1&attach=C%3A\\T\\Q\\b&to=x"),
       {"a", "b"},
       "attach{a} subject{s&deletefile=1&attach=C:\\T\\Q\\b} to{x}"},
      {"subject with \"&subject=\" in it",
       After("&subject=s&subject=t&to=x"),
       {"a"},
       "attach{a} subject{s&subject=t} to{x}"},
      {"subject ends at a body",
       After("&subject=s&body=t&body=u"),
       {"a"},
       "attach{a} subject{s} body{t&body=u}"},
      {"body that pretends to be more",
       After("&body=b&to=x&subject=s&attach=C%3A\\T\\Q\\b"),
       {"a", "b"},
       "attach{a} body{b&to=x&subject=s&attach=C:\\T\\Q\\b}"},
      {"list ends only at what may follow",
       After("&cc=x&to=y&bcc=z&cc=w"),
       {"a"},
       "attach{a} cc{x&to=y} bcc{z&cc=w}"},
      {"name with a separator",
       After("&subject=b.txt&subject=s"),
       {"a&subject=b.txt"},
       "attach{a&subject=b.txt} subject{s}"},
      {"name with an attachment in it",
       After("&deletefile=1&attach=b&to=x"),
       {"a&deletefile=1&attach=b"},
       "attach{a&deletefile=1&attach=b} to{x}"},
      {"name up to the very end", After("&body=b"), {"a&body=b"}, "attach{a&body=b}"},
      {"shortest name wins", After("&subject=b"), {"a", "a&subject=b"}, "attach{a} subject{b}"},
  });
}

TEST(RequestReader, ReportsDamageAndReadsTheRest) {
  const std::string long_address(256, 'x');
  CheckRows({
      {"empty", "", {}, "problem{the request does not begin with \"mailto:?\"}"},
      {"something else",
       "http://x/?attach=C%3A\\T\\Q\\a&",
       {"a"},
       "problem{the request does not begin with \"mailto:?\"}"},
      {"cut off",
       "mailto:?deletefile=1&attach=C%3A\\T\\Q\\a&subject=s%2",
       {"a"},
       "attach{a} subject{s%2} problem{the request is cut off at its end} "
       "problem{a broken escape in the subject}"},
      {"broken escapes stay",
       After("&subject=100%&to=a%zz&body=%0"),
       {"a"},
       "attach{a} subject{100%} to{a%zz} body{%0} problem{a broken escape in the subject} "
       "problem{a broken escape in an address} problem{a broken escape in the body}"},
      {"not UTF-8",
       After("&subject=a\xFF%C3&body=\xC0\x80"),
       {"a"},
       "attach{a} subject{a\xEF\xBF\xBD\xEF\xBF\xBD} body{\xEF\xBF\xBD\xEF\xBF\xBD} "
       "problem{the subject is not UTF-8} problem{the body is not UTF-8}"},
      {"no such copy", After("&subject=s"), {}, "subject{s} problem{no such copy: C:\\T\\Q\\a}"},
      {"next attachment after a missing one",
       After("&deletefile=1&attach=C%3A\\T\\Q\\b"),
       {"b"},
       "attach{b} problem{no such copy: C:\\T\\Q\\a}"},
      {"outside the folder",
       "mailto:?deletefile=1&attach=C%3A\\T\\Q\\..\\a&to=x&",
       {"a"},
       "to{x} problem{not a copy in the staging folder: C:\\T\\Q\\..\\a}"},
      {"unknown piece",
       "mailto:?deletefile=1&subject=s&",
       {},
       "subject{s} problem{text that belongs to no piece: deletefile=1}"},
      {"piece out of order", After("&bcc=x") + "&to=y&", {"a"}, "attach{a} bcc{x&&to=y}"},
      {"address longer than any",
       After("&to=" + long_address + ",y"),
       {"a"},
       "attach{a} to{y} problem{an address longer than the mail library writes: " +
           long_address.substr(0, 200) + "}"},
      {"longer than the library's buffer",
       After("&body=" + std::string(kLongestRequest, 'x')),
       {"a"},
       "problem{the request is longer than the mail library writes}"},
  });
}

// The work is bounded: questions about files are the dear part of it.
TEST(RequestReader, AsksBoundedQuestionsWhateverTheText) {
  const struct {
    const char* name;
    std::string unit;
    size_t most;
  } kRows[] = {{"separators", "&to=", 1000},
               {"attachments", "&attach=", 200000},
               {"attachments that could be copies", "&attach=C%3A\\T\\Q\\a&to=", 100000},
               {"escapes", "%41%", 10},
               {"commas", ",", 10}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    std::string text = "mailto:?attach=C%3A\\T\\Q\\a";
    while (text.size() + row.unit.size() < kLongestRequest) text += row.unit;
    size_t asked = 0;
    Request request = ReadRequest(text + "&", [&](const std::string&) {
      ++asked;
      return CopyState::kMissing;
    });
    EXPECT_FALSE(request.problems.empty());
    EXPECT_LT(asked, row.most);
  }
}

// Every text that was cut anywhere still gives only copies that are there.
TEST(RequestReader, InventsNoAttachmentHoweverTheRequestIsCut) {
  std::string text = After("&deletefile=1&attach=C%3A\\T\\Q\\b%20c&subject=s&to=x&body=y");
  for (size_t size = 0; size <= text.size(); ++size) {
    Request request = ReadRequest(text.substr(0, size), Copies({"a", "b c"}));
    EXPECT_LE(request.attachments.size(), 2u) << size;
    bool whole = size == text.size();
    EXPECT_TRUE(whole || !request.problems.empty() || text[size - 1] == '&') << size;
  }
}

}  // namespace
}  // namespace qvclient
