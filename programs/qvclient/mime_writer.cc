#include "programs/qvclient/mime_writer.h"

#include <atomic>
#include <cstdio>
#include <ctime>

#include "programs/common/files.h"
#include "programs/common/progress.h"
#include "programs/qvclient/base64_text.h"
#include "programs/qvclient/header_text.h"

namespace qvclient {
namespace {

// Base64 and header lines hold no "=_", so no line of the message can be taken for the boundary.
constexpr char kBoundary[] = "=_qvclient_part_=";
constexpr char kDomain[] = "localhost";

constexpr size_t kChunk = kBase64LineBytes * 4096;

std::string UserName() {
  char name[256] = "";
  for (const char* variable : {"USERNAME", "USER", "LOGNAME"}) {
    DWORD length = GetEnvironmentVariableA(variable, name, sizeof name);
    if (length > 0 && length < sizeof name) return name;
  }
  return "user";
}

std::string AsciiUserName() {
  std::string name = UserName();
  for (char& c : name) {
    if (c < 0x21 || c > 0x7E) c = '_';
  }
  return name;
}

// In universal time and in English, whatever the locale.
std::string DateText(std::time_t now) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::tm* utc = std::gmtime(&now);
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02d %s %d %02d:%02d:%02d +0000", kDays[utc->tm_wday],
                utc->tm_mday, kMonths[utc->tm_mon], utc->tm_year + 1900, utc->tm_hour, utc->tm_min,
                utc->tm_sec);
  return text;
}

uint32_t NextNumber() {
  static constinit std::atomic<uint32_t> number{0};
  return ++number;
}

std::string WithLineEnds(const std::string& text) {
  std::string lines;
  lines.reserve(text.size() + text.size() / 32);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (text[i] == '\r' || text[i] == '\n') {
      lines += "\r\n";
    } else {
      lines += text[i];
    }
  }
  return lines;
}

std::string PartStart(const std::string& type, const std::string& disposition) {
  return std::string("--") + kBoundary + "\r\nContent-Type: " + type +
         "\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: " + disposition +
         "\r\n\r\n";
}

std::string MessageStart(const Message& message, const MessageStamp& stamp) {
  return AddressField("From", {stamp.from}) + AddressField("To", message.to) +
         AddressField("Cc", message.cc) + AddressField("Bcc", message.bcc) +
         TextField("Subject", message.subject) + "Date: " + stamp.date + "\r\nMessage-ID: <" +
         stamp.message_id +
         ">\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed;\r\n boundary=\"" + kBoundary +
         "\"\r\n\r\n" + PartStart("text/plain; charset=utf-8", "inline") +
         Base64Lines(WithLineEnds(message.body));
}

std::string AttachmentStart(const std::string& name) {
  return PartStart("application/octet-stream" + PlainNameParameter(name),
                   "attachment" + FileNameParameter(name));
}

// Fills the chunk unless the file ends, so that only the file's last line may be a short one.
DWORD ReadChunk(program::FileHandle& file, std::string* chunk) {
  chunk->resize(kChunk);
  size_t filled = 0;
  DWORD error = ERROR_SUCCESS, done = 1;
  while (error == ERROR_SUCCESS && done != 0 && filled < kChunk) {
    error = file.Read(chunk->data() + filled, static_cast<DWORD>(kChunk - filled), &done);
    filled += done;
  }
  chunk->resize(filled);
  return error;
}

WriteOutcome WriteAttachment(const Attachment& attachment, const Sink& sink) {
  program::FileHandle file;
  uint64_t size = 0;
  DWORD error = file.OpenToRead(attachment.path);
  if (error == ERROR_SUCCESS) error = file.Size(&size);
  if (error != ERROR_SUCCESS) return {error, attachment.path};
  program::Progress progress("storing " + attachment.name, size);
  std::string chunk;
  DWORD written = sink(AttachmentStart(attachment.name));
  while (written == ERROR_SUCCESS) {
    error = ReadChunk(file, &chunk);
    if (error != ERROR_SUCCESS) return {error, attachment.path};
    if (chunk.empty()) break;
    written = sink(Base64Lines(chunk));
    progress.Advance(chunk.size());
  }
  return {written, ""};
}

}  // namespace

MessageStamp StampNow() {
  std::time_t now = std::time(nullptr);
  std::string id = std::to_string(now) + "." + std::to_string(GetCurrentProcessId()) + "." +
                   std::to_string(NextNumber()) + "@" + kDomain;
  return {AsciiUserName() + "@" + kDomain, DateText(now), id};
}

WriteOutcome WriteMessage(const Message& message, const MessageStamp& stamp, const Sink& sink) {
  WriteOutcome outcome{sink(MessageStart(message, stamp)), ""};
  for (const Attachment& attachment : message.attachments) {
    if (outcome.error != ERROR_SUCCESS) return outcome;
    outcome = WriteAttachment(attachment, sink);
  }
  if (outcome.error == ERROR_SUCCESS) {
    outcome.error = sink(std::string("--") + kBoundary + "--\r\n");
  }
  return outcome;
}

}  // namespace qvclient
