// qvsend: sends a message through the mail library, as any host application does.
#include <algorithm>
#include <cstdio>
#include <optional>

#include "platform/native_files.h"
#include "platform/windows_api.h"
#include "programs/common/command_line.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/mail_library.h"
#include "programs/common/program_settings.h"
#include "programs/common/progress.h"
#include "programs/common/reporter.h"
#include "programs/common/text.h"
#include "programs/qvsend/attachment_list.h"
#include "programs/qvsend/copies_ahead.h"
#include "programs/qvsend/diagnosis.h"
#include "programs/qvsend/outgoing.h"
#include "programs/qvsend/plain_paths.h"
#include "programs/qvsend/request_limits.h"
#include "programs/qvsend/send_turn.h"
#include "text/code_page_strings.h"

namespace qvsend {
namespace {

// The library takes 5000 bytes of a body; whoever gives more than this gave the wrong file.
constexpr uint64_t kLongestBody = 16 << 20;

constexpr char kExample[] =
    "  qvsend --to ann@example.com --cc bob@example.com --subject \"Minutes\" \\\n"
    "      --body \"See attached.\" --attach minutes.pdf --attach notes.txt=\"My notes.txt\"\n"
    "A message needs at least one attachment. A text that begins with \"-\" is given as\n"
    "--subject=TEXT.";

struct Options {
  std::vector<std::string> to, cc, bcc, attach;
  std::string subject, body, body_file, via = "mapi", library;
  bool has_body = false, has_body_file = false;
};

void Describe(const program::CommandPart& line, Options& options) {
  line.Add("--to", options.to, "A recipient; may be repeated").Type("ADDRESS");
  line.Add("--cc", options.cc, "A copy recipient; may be repeated").Type("ADDRESS");
  line.Add("--bcc", options.bcc, "A hidden recipient; may be repeated").Type("ADDRESS");
  auto one = [&](const char* name, std::string& value, const char* help) {
    return line.Add(name, value, help).TakeLast();
  };
  one("--subject", options.subject, "The subject").Type("TEXT");
  const program::Option text = one("--body", options.body, "The text of the message").Type("TEXT");
  const program::Option file =
      one("--body-file", options.body_file, "A file with that text; - reads standard input")
          .Type("FILE");
  file.Excludes(text);
  line.Add("--attach", options.attach, "A file, and the name that it is to carry; may be repeated")
      .Type("FILE[=NAME]");
  one("--via", options.via, "The interface of the library: mapi or cmc")
      .Type("INTERFACE")
      .OneOf({"mapi", "cmc"});
  one("--library", options.library, "The mail library; otherwise the one beside this program")
      .Type("PATH");
  line.WhenGiven([&options, text, file] {
    options.has_body_file = file.IsGiven();
    options.has_body = text.IsGiven() || file.IsGiven();
  });
}

// What stops a message, as one line; nothing when it may go on.
using Trouble = std::optional<std::string>;

DWORD ReadStandardInput(std::string* text) {
  char chunk[4096];
  while (size_t size = std::fread(chunk, 1, sizeof chunk, stdin)) {
    text->append(chunk, size);
    if (text->size() > kLongestBody) return ERROR_NOT_ENOUGH_MEMORY;
  }
  return std::ferror(stdin) ? ERROR_READ_FAULT : ERROR_SUCCESS;
}

DWORD ReadTextFile(const std::string& native, std::string* text) {
  std::string path = platform::PlatformPath(native);
  return path.empty() ? ERROR_INVALID_NAME : program::ReadWholeFile(path, kLongestBody, text);
}

Trouble ReadBody(const Options& options, std::string* body) {
  if (!options.has_body_file) {
    *body = options.body;
    return std::nullopt;
  }
  DWORD error =
      options.body_file == "-" ? ReadStandardInput(body) : ReadTextFile(options.body_file, body);
  if (error != ERROR_SUCCESS) {
    return "cannot read the body from " + options.body_file + ": " + program::ErrorText(error);
  }
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (body->starts_with(kByteOrderMark)) body->erase(0, kByteOrderMark.size());
  if (program::IsUtf8(*body) && body->find('\0') == std::string::npos) return std::nullopt;
  return "the body in " + options.body_file + " is no UTF-8 text: convert it first";
}

Trouble FindFiles(const std::vector<std::string>& arguments, std::vector<AttachmentFile>* files) {
  for (const std::string& argument : arguments) {
    AttachmentFile file;
    DWORD error = FindAttachment(argument, &file);
    if (error != ERROR_SUCCESS) {
      return "cannot read the attachment " + file.shown + ": " + program::ErrorText(error);
    }
    files->push_back(file);
  }
  if (files->empty()) {
    return "no attachment: the library delivers only messages with at least one; add --attach FILE";
  }
  return std::nullopt;
}

Trouble MakeLetter(const Options& options, Letter* letter) {
  letter->to = options.to;
  letter->cc = options.cc;
  letter->bcc = options.bcc;
  letter->subject = options.subject;
  letter->has_body = options.has_body;
  for (const auto* addresses : {&options.to, &options.cc, &options.bcc}) {
    if (std::count(addresses->begin(), addresses->end(), "") != 0) return "an address is empty";
  }
  Trouble trouble = ReadBody(options, &letter->body);
  if (!trouble) trouble = FindFiles(options.attach, &letter->files);
  MakeNamesDistinct(&letter->files);
  return trouble;
}

// CMC has room for one attachment.
void KeepFirstFile(Letter* letter, const program::Reporter& reporter) {
  if (letter->files.size() < 2) return;
  reporter.Warn("by CMC only the first attachment is sent, " +
                program::Count(letter->files.size() - 1, "other") + " not");
  letter->files.resize(1);
}

Trouble CheckFit(const Outgoing& outgoing, uint32_t code_page, const program::Reporter& reporter) {
  RequestFit fit = FitRequest(outgoing, code_page, program::StagingFolder());
  if (!fit.files_fit) return "the attachments' names are too long together: send fewer at a time";
  if (!fit.addresses.empty()) {
    std::string address =
        program::FromCodePage(fit.addresses.front(), code_page).value_or(fit.addresses.front());
    return "too long or too many addresses, from " + address +
           " on: send to fewer recipients at a time";
  }
  if (fit.subject_cut) reporter.Warn("the subject is too long and will be cut");
  if (fit.body_cut) reporter.Warn("the body is too long and will be cut");
  return std::nullopt;
}

std::string Summary(const Outgoing& outgoing) {
  return "sent: " + program::Count(outgoing.recipients.size(), "recipient") + ", " +
         program::Count(outgoing.files.size(), "attachment");
}

uint64_t TotalSize(const Letter& letter) {
  uint64_t size = 0;
  for (const AttachmentFile& file : letter.files) size += file.size;
  return size;
}

bool Send(const program::MailLibrary& library, const Options& options, const Letter& letter,
          Outgoing& outgoing) {
  std::string size = std::to_string(TotalSize(letter) / 1024) + " KB";
  program::Progress progress("sending " + size, 0);
  return options.via == "cmc" ? SendByCmc(library, outgoing) : SendByMapi(library, outgoing);
}

Trouble LoadLibraryOf(const Options& options, program::MailLibrary* library) {
  std::string path = platform::PlatformPath(options.library);
  bool unnamed = options.library.empty(), valid = unnamed || !path.empty();
  std::string failed = valid ? library->Load(unnamed ? "" : path) : "the name is not valid";
  if (failed.empty()) return std::nullopt;
  std::string shown = unnamed ? program::ShownPath(library->path) : options.library;
  return "cannot load the library " + shown + ": " + failed + "; name it with --library";
}

Trouble Deliver(const Options& options, Letter& letter, const program::Reporter& reporter) {
  uint32_t code_page = GetSystemCodePage();
  if (options.via == "cmc") KeepFirstFile(&letter, reporter);
  PlainPaths plain_paths;
  if (std::string failed = plain_paths.Replace(&letter.files, code_page); !failed.empty()) {
    return failed;
  }
  Outgoing outgoing;
  std::vector<std::string> warnings;
  if (!ConvertLetter(letter, code_page, &outgoing, &warnings)) {
    return "the system's code page " + std::to_string(code_page) + " is not known here";
  }
  for (const std::string& warning : warnings) reporter.Warn(warning);
  if (Trouble trouble = CheckFit(outgoing, code_page, reporter)) return trouble;
  program::MailLibrary library;
  if (Trouble trouble = LoadLibraryOf(options, &library)) return trouble;
  SendTurn turn;
  if (std::string failed = turn.Take(); !failed.empty()) return failed;
  if (std::string failed = CopyAhead(letter, outgoing, code_page); !failed.empty()) return failed;
  if (!Send(library, options, letter, outgoing)) return WhyNotSent(letter, outgoing, code_page);
  reporter.Line(Summary(outgoing));
  return std::nullopt;
}

int Run(const std::vector<std::string>& arguments) {
  program::Reporter reporter("qvsend");
  const program::CommandLine line("qvsend", "Sends a message through the mail library.", kExample);
  Options options;
  Describe(line.part(), options);
  if (auto end = line.Parse(arguments, reporter)) return *end;
  program::UseProgramSettings();
  Letter letter;
  Trouble trouble = MakeLetter(options, &letter);
  if (!trouble) trouble = Deliver(options, letter, reporter);
  if (!trouble) return program::kDone;
  reporter.Error(*trouble);
  return program::kFailed;
}

}  // namespace
}  // namespace qvsend

int main(int argc, char** argv) {
  platform::UseBinaryStreams();
  return qvsend::Run(platform::Utf8Arguments(argc, argv));
}
