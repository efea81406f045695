#include "programs/qvclient/header_text.h"

#include <algorithm>
#include <string_view>

#include "programs/common/escapes.h"
#include "programs/common/text.h"
#include "programs/qvclient/base64_text.h"

namespace qvclient {
namespace {

constexpr size_t kLineLength = 76;
constexpr std::string_view kWordStart = "=?UTF-8?B?", kWordEnd = "?=";
constexpr size_t kLongestWord = 75;
constexpr char kContinued[] = "\r\n ";

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

std::string WithoutControls(std::string text) {
  auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  std::replace_if(text.begin(), text.end(), is_control, ' ');
  return text;
}

std::string Trimmed(const std::string& text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Bytes that a Base64 word of `length` characters can hold.
size_t WordRoom(size_t length) { return (length - kWordStart.size() - kWordEnd.size()) / 4 * 3; }

// Takes whole characters off the front, at most `room` bytes.
std::string_view TakeCharacters(std::string_view* text, size_t room) {
  size_t end = 0;
  for (size_t next = 0; next < text->size();) {
    program::DecodeUtf8(*text, &next);
    if (next > room) break;
    end = next;
  }
  std::string_view taken = text->substr(0, end);
  text->remove_prefix(end);
  return taken;
}

// The text in encoded words, one a line; `column` is where the first one begins.
std::string EncodedWords(std::string_view text, size_t column) {
  std::string words;
  size_t room = WordRoom(std::min(kLongestWord, kLineLength - column));
  while (!text.empty()) {
    if (!words.empty()) words += kContinued;
    words += kWordStart;
    words += Base64(TakeCharacters(&text, room));
    words += kWordEnd;
    room = WordRoom(kLongestWord);
  }
  return words;
}

// Plain text must not look like an encoded word nor lose blanks at its ends.
bool IsPlainText(const std::string& text, size_t column) {
  return IsAscii(text) && column + text.size() <= kLineLength &&
         text.find("=?") == std::string::npos && Trimmed(text) == text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::string Unquoted(const std::string& text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return text;
  std::string plain;
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == '\\' && i + 2 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

// Letters of atoms (RFC 5322), and those above ASCII (RFC 6532).
bool IsAtomLetter(char c) {
  auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || std::isalnum(byte) != 0 ||
         std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != std::string_view::npos;
}

bool IsDotAtom(std::string_view text) {
  char before = '.';
  for (char c : text) {
    if (c == '.' ? before == '.' : !IsAtomLetter(c)) return false;
    before = c;
  }
  return before != '.';
}

bool IsDomain(std::string_view text) {
  bool literal = text.size() > 2 && text.front() == '[' && text.back() == ']';
  if (!literal) return IsDotAtom(text);
  return text.find_first_of("[]\\ ", 1) == text.size() - 1;
}

std::string AddressSpec(const std::string& address) {
  size_t at = address.find_last_of('@');
  bool has_domain = at != std::string::npos && IsDomain(std::string_view(address).substr(at + 1));
  if (!has_domain) return IsDotAtom(address) ? address : Quoted(address);
  std::string local = address.substr(0, at);
  return (IsDotAtom(local) ? local : Quoted(Unquoted(local))) + address.substr(at);
}

// A display name; its words take lines of their own when they do not fit.
std::string Phrase(const std::string& name, size_t column) {
  bool plain = IsAscii(name) && name.size() + 2 + column <= kLineLength;
  return plain ? Quoted(name) : EncodedWords(name, column);
}

std::string Mailbox(const std::string& text, size_t column) {
  std::string address = Trimmed(WithoutControls(text));
  size_t open = address.find_last_of('<');
  bool named = open != std::string::npos && address.back() == '>' && open + 2 < address.size();
  if (!named) return AddressSpec(address);
  std::string name = Unquoted(Trimmed(address.substr(0, open)));
  std::string spec = AddressSpec(Trimmed(address.substr(open + 1, address.size() - open - 2)));
  if (name.empty()) return "<" + spec + ">";
  return Phrase(name, column) + kContinued + "<" + spec + ">";
}

bool IsParameterLetter(unsigned char byte) {
  return byte < 0x80 && (std::isalnum(byte) != 0 ||
                         std::string_view("!#$&+-.^_`{|}~").find(static_cast<char>(byte)) !=
                             std::string_view::npos);
}

// A piece of at most `room` characters that splits no escape.
std::string_view TakeEscaped(std::string_view* text, size_t room) {
  size_t end = std::min(room, text->size());
  size_t escape = text->substr(0, end).find_last_of('%');
  if (escape != std::string_view::npos && end - escape < 3) end = escape;
  std::string_view taken = text->substr(0, end);
  text->remove_prefix(end);
  return taken;
}

std::string ExtendedParameter(const std::string& name, const std::string& value) {
  constexpr size_t kPieceRoom = 50;  // beside the parameter's name, number and character set
  constexpr std::string_view kCharset = "UTF-8''";
  std::string escaped = program::Escape(value, IsParameterLetter);
  std::string_view rest = escaped;
  if (rest.size() <= kPieceRoom) {
    return std::string(";") + kContinued + name + "*=" + std::string(kCharset) + escaped;
  }
  std::string text;
  for (int number = 0; !rest.empty(); ++number) {
    text += std::string(";") + kContinued + name + "*" + std::to_string(number) + "*=";
    if (number == 0) text += kCharset;
    text += TakeEscaped(&rest, kPieceRoom);
  }
  return text;
}

}  // namespace

std::string TextField(const std::string& name, const std::string& text) {
  std::string shown = WithoutControls(text);
  std::string start = name + ": ";
  bool plain = IsPlainText(shown, start.size());
  return start + (plain ? shown : EncodedWords(shown, start.size())) + "\r\n";
}

std::string AddressField(const std::string& name, const std::vector<std::string>& addresses) {
  std::string field;
  for (const std::string& address : addresses) {
    std::string mailbox = Mailbox(address, name.size() + 2);
    if (mailbox == "\"\"") continue;  // nothing but blanks and controls
    field += field.empty() ? name + ": " : std::string(",") + kContinued;
    field += mailbox;
  }
  return field.empty() ? "" : field + "\r\n";
}

std::string FileNameParameter(const std::string& file_name) {
  constexpr size_t kQuotedRoom = 60;
  bool plain = IsAscii(file_name) && file_name.size() <= kQuotedRoom &&
               WithoutControls(file_name) == file_name;
  if (!plain) return ExtendedParameter("filename", file_name);
  return std::string(";") + kContinued + "filename=" + Quoted(file_name);
}

std::string PlainNameParameter(const std::string& file_name) {
  constexpr size_t kRoom = 60;
  std::string name;
  for (size_t at = 0; at < file_name.size();) {
    char32_t c = program::DecodeUtf8(file_name, &at);
    name += c < 0x7F && c >= 0x20 ? static_cast<char>(c) : '_';
  }
  if (name.size() > kRoom) {
    size_t dot = std::min(name.find_last_of('.'), name.size());
    std::string ending = name.size() - dot <= 10 ? name.substr(dot) : "";
    name = name.substr(0, kRoom - ending.size()) + ending;
  }
  return std::string(";") + kContinued + "name=" + Quoted(name);
}

}  // namespace qvclient
