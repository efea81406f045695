#include "mapi/request_builder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "files/disk_file.h"
#include "platform/windows_api.h"
#include "text/code_page_strings.h"

namespace qv {
namespace {

constexpr char kStart[] = "mailto:?";
constexpr char kFirstAttachment[] = "mailto:?deletefile=1&attach=";
constexpr char kNextAttachment[] = "&deletefile=1&attach=";
constexpr char kStagingFolder[] = "Quorvantis";

constexpr std::string_view kEscapedCharacters = ":<>\"|;',()[]{} %#~^`\r";
static_assert(kEscapedCharacters.size() == 21);

constexpr std::array<bool, 256> kIsEscaped = [] {
  std::array<bool, 256> table{};
  for (char c : kEscapedCharacters) table[static_cast<uint8_t>(c)] = true;
  return table;
}();

uint32_t Length(const char* text) { return static_cast<uint32_t>(std::strlen(text)); }

struct Character {
  uint32_t taken;    // bytes of the source
  uint32_t written;  // bytes of the request
};

Character NextCharacter(const char* p) {
  if (kIsEscaped[static_cast<uint8_t>(*p)]) return {1, 3};
  const uint32_t bytes = CPCharSizeOrOne(p, GetInterchangeCodePage());
  return {bytes, bytes};
}

void WriteEscape(uint8_t byte, char* destination) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  destination[0] = '%';
  destination[1] = kDigits[byte >> 4];
  destination[2] = kDigits[byte & 15];
}

// Length of the text when nothing cuts it.
uint32_t EscapedLength(const char* source) {
  uint32_t length = 0;
  while (*source) {
    const Character character = NextCharacter(source);
    source += character.taken;
    length += character.written;
  }
  return length;
}

// Bytes that the text behind `prefix` may take, its terminator included, when the "&" of the
// hand-off still has to follow; 0 when not even the prefix fits.
uint32_t RoomBehind(const char* prefix) {
  constexpr uint32_t kTerminator = 1, kFinalAmpersand = 1;
  const uint32_t used = Length(RequestBuffers().request) + Length(prefix) + kFinalAmpersand;
  return used + kTerminator <= kRequestSize ? kRequestSize - used : 0;
}

// The caller has made sure that they fit.
void AppendPiece(const char* prefix, const char* text, uint32_t text_length) {
  char* end = RequestBuffers().request + Length(RequestBuffers().request);
  const uint32_t prefix_length = Length(prefix);
  std::memcpy(end, prefix, prefix_length);
  std::memcpy(end + prefix_length, text, text_length);
  end[prefix_length + text_length] = '\0';
}

// Escapes the text into its buffer, cut to what the buffer and the request hold, and appends it.
void AppendTextPiece(const char* prefix, const char* source, char* buffer, uint32_t buffer_size) {
  const uint32_t room = RoomBehind(prefix);
  if (room == 0) return;
  std::memset(buffer, 0, buffer_size);
  const uint32_t length = EscapeRequestText(source, buffer, std::min(buffer_size, room));
  AppendPiece(prefix, buffer, length);
}

// Copies what the buffer takes of a text in the system's code page, and converts it there.
template <uint32_t kSize>
void TakeText(char (&text)[kSize], const char* source, CodePage cp) {
  CPStrNCopy(text, source, kSize - 1, cp);
  CPConvert(text, cp, GetInterchangeCodePage(), kSize);
}

// Each run of line-end bytes becomes one CR.
void FoldLineEnds(char* text) {
  const auto is_line_end = [](char c) { return c == '\r' || c == '\n'; };
  char* out = text;
  for (const char* p = text; *p; ++p) {
    if (!is_line_end(*p)) {
      *out++ = *p;
    } else if (!is_line_end(p[1])) {
      *out++ = '\r';
    }
  }
  *out = '\0';
}

// --- Attachments ---

// The part behind the last "\"; null when there is none or nothing follows it.
const char* LastPart(const char* path, CodePage cp) {
  const char* separator = CPStrRChr(path, "\\", cp);
  return separator && separator[1] ? separator + 1 : nullptr;
}

bool GetStagingFolder(char* path) {
  CDiskFile folder;
  return folder.GoToTempFolder() == ZRErrNone && folder.SetName(kStagingFolder) == ZRErrNone &&
         folder.CreateFolder() == ZRErrNone && folder.GetNativePath(path, kPathSize) == ZRErrNone;
}

enum class Fit { kFits, kTooLong };

// Appends "\" and the name to the folder in `path`, a buffer of kPathSize bytes.
Fit AppendName(char* path, const char* name) {
  const uint32_t folder_length = Length(path);
  const uint32_t name_length = Length(name);
  if (name_length >= kPathSize - folder_length - 1) return Fit::kTooLong;
  path[folder_length] = '\\';
  std::memcpy(path + folder_length + 1, name, name_length + 1);
  return Fit::kFits;
}

// Escapes the copy's path in UTF-8 into `escaped`, a zero-filled buffer of kPathSize bytes.
Fit EscapePath(const char* path, CodePage cp, char* escaped) {
  // Larger than any result that can be taken, so that a path cut by the conversion is noticed; not
  // larger than what CPConvert does without allocating.
  char text[2 * kPathSize] = {};
  std::memcpy(text, path, Length(path) + 1);
  CPConvert(text, cp, GetInterchangeCodePage(), sizeof text);
  if (EscapedLength(text) >= kPathSize) return Fit::kTooLong;
  EscapeRequestText(text, escaped, kPathSize);
  return Fit::kFits;
}

// A copy is read-only when its original is. One that an earlier send left behind must not stop this
// one.
bool CopyOver(const char* path, const char* copy_path) {
  if (CopyFileA(path, copy_path, FALSE)) return true;
  return GetLastError() == ERROR_ACCESS_DENIED &&
         SetFileAttributesA(copy_path, FILE_ATTRIBUTE_NORMAL) && CopyFileA(path, copy_path, FALSE);
}

// Copies the file into the staging folder and adds the piece that names the copy. Whether the piece
// fits is settled first: the client deletes only copies that it hears of.
bool TakeAttachment(const char* path, const char* name, CodePage cp, const char* prefix) {
  char copy_path[kPathSize] = {};
  char escaped_path[kPathSize] = {};
  if (!GetStagingFolder(copy_path)) return false;
  if (AppendName(copy_path, name) == Fit::kTooLong ||
      EscapePath(copy_path, cp, escaped_path) == Fit::kTooLong ||
      Length(escaped_path) >= RoomBehind(prefix)) {
    RequestBuffers().attachments_full = true;
    return false;
  }
  if (!path || !CopyOver(path, copy_path)) return false;
  AppendPiece(prefix, escaped_path, Length(escaped_path));
  return true;
}

// --- Recipients ---

char* ListOfClass(uint32_t recipient_class) {
  switch (recipient_class) {
    case 1:
      return RequestBuffers().to;
    case 2:
      return RequestBuffers().cc;
    case 3:
      return RequestBuffers().bcc;
    default:
      return nullptr;
  }
}

// Bytes of the list that leave it below `room`: all, or up to the last comma that does. Commas
// inside an address are escaped, so each comma ends an address.
uint32_t FittingListLength(const char* list, uint32_t room) {
  uint32_t length = Length(list);
  if (length < room) return length;
  for (length = room; length > 0; --length) {
    if (list[length - 1] == ',') return length - 1;
  }
  return 0;
}

void AppendList(const char* prefix, const char* list) {
  const uint32_t length = FittingListLength(list, RoomBehind(prefix));
  if (length > 0) AppendPiece(prefix, list, length);
}

}  // namespace

MailRequestBuffers& RequestBuffers() {
  static constinit MailRequestBuffers buffers{};
  return buffers;
}

}  // namespace qv

uint32_t EscapeRequestText(const char* source, char* destination, uint32_t size) {
  uint32_t written = 0;
  while (*source) {
    const qv::Character character = qv::NextCharacter(source);
    if (written + character.written >= size) break;
    if (qv::kIsEscaped[static_cast<uint8_t>(*source)]) {
      qv::WriteEscape(static_cast<uint8_t>(*source), destination + written);
    } else {
      std::memcpy(destination + written, source, character.taken);
    }
    source += character.taken;
    written += character.written;
  }
  return written;
}

bool BeginMailRequest(const char* path, const char* name, bool first) {
  const CodePage cp = GetSystemCodePage();
  if (first) std::memset(&qv::RequestBuffers(), 0, sizeof(qv::MailRequestBuffers));
  if (!name && path) name = qv::LastPart(path, cp);
  const bool copied =
      name && !qv::RequestBuffers().attachments_full &&
      qv::TakeAttachment(path, name, cp, first ? qv::kFirstAttachment : qv::kNextAttachment);
  if (first && !copied) qv::AppendPiece(qv::kStart, "", 0);
  return copied;
}

void AddRequestSubject(const char* subject) {
  const CodePage cp = GetSystemCodePage();
  if (!subject || CPStrLen(subject, cp) == 0) return;
  char text[qv::kSubjectLimit + 1] = {};
  qv::TakeText(text, subject, cp);
  qv::AppendTextPiece("&subject=", text, qv::RequestBuffers().subject, qv::kSubjectSize);
}

void RouteRecipient(uint32_t recipient_class, const char* address) {
  if (char* list = qv::ListOfClass(recipient_class)) AddListAddress(list, address);
}

void AddListAddress(char* list, const char* address) {
  const CodePage cp = GetSystemCodePage();
  if (!address) return;
  char text[qv::kAddressLimit + 1] = {};
  qv::TakeText(text, address, cp);

  const uint32_t length = qv::EscapedLength(text);
  const uint32_t list_length = qv::Length(list);
  const uint32_t comma = list_length > 0 ? 1 : 0;
  // Part of an address is another address: one that does not fit whole is left out.
  const bool fits = length <= qv::kAddressLimit && list_length + comma + length < qv::kListSize;
  if (length == 0 || !fits) return;
  if (comma) list[list_length] = ',';
  char* end = list + list_length + comma;
  end[EscapeRequestText(text, end, qv::kListSize - list_length - comma)] = '\0';
}

void AppendRecipientLists() {
  qv::AppendList("&to=", qv::RequestBuffers().to);
  qv::AppendList("&cc=", qv::RequestBuffers().cc);
  qv::AppendList("&bcc=", qv::RequestBuffers().bcc);
}

void AddRequestBody(const char* body) {
  const CodePage cp = GetSystemCodePage();
  if (!body) return;
  char text[qv::kBodyLimit + 1] = {};
  qv::TakeText(text, body, cp);
  qv::FoldLineEnds(text);
  qv::AppendTextPiece("&body=", text, qv::RequestBuffers().body, qv::kBodySize);
}
