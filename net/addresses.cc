#include "net/addresses.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "app/leveled_log.h"
#include "text/text_scans.h"

namespace qv {
namespace {

constexpr int32_t kDecision = 4, kDetail = 5;  // log levels
constexpr size_t kMostInPlace = 255;           // bytes of an address that is cleaned in place
constexpr size_t kMostName = 255;
constexpr uint32_t kMostByteOfLiteral = 255;

// --- classes of characters ---

enum : uint8_t {
  kDigit = 1,
  kLabel = 2,    // may stand in a label of a domain
  kSpecial = 4,  // ends an unquoted mailbox
};

constexpr std::array<uint8_t, 256> MakeClasses() {
  std::array<uint8_t, 256> classes = {};
  for (size_t c = 0; c < 256; ++c) {
    const bool digit = c >= '0' && c <= '9', letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
    if (c < 0x20 || c >= 0x7F) classes[c] |= kSpecial;
    if (digit) classes[c] |= kDigit;
    if (digit || letter || c == '-' || c == '_') classes[c] |= kLabel;
  }
  for (const char c : std::string_view("<>()[]\\,;:@\" ")) {
    classes[static_cast<uint8_t>(c)] |= kSpecial;
  }
  return classes;
}

constexpr std::array<uint8_t, 256> kClasses = MakeClasses();

bool Is(uint8_t wanted, char c) { return (kClasses[static_cast<uint8_t>(c)] & wanted) != 0; }

// --- one address under examination ---

// Where an address stands in its text. The text under examination runs from `start` to `end`, whose
// character counts as the terminator: it is one, or the '>' of the brackets that were entered.
struct Parts {
  const char* start = nullptr;
  const char* end = nullptr;
  const char* mailbox = nullptr;     // its first character
  const char* at = nullptr;          // the '@' between mailbox and domain; null without one
  const char* domain_end = nullptr;  // behind the domain: the closing character of the enclosure

  char CharAt(const char* p) const { return p == end ? '\0' : *p; }
  char before() const { return mailbox > start ? mailbox[-1] : '\0'; }
  char after() const { return CharAt(domain_end); }
  const char* mailbox_end() const { return at != nullptr ? at : domain_end; }
};

bool Fail(const char* line) {
  LogAtLevel(kDecision, line);
  return false;
}

// --- the '@' ---

// The signs that decide which '@' counts, of the text from some start to `end`. A start that moves
// on changes nothing here: what lies before it no longer counts.
struct Signs {
  const char* last_at = nullptr;
  const char* at_before_last = nullptr;
  const char* route_end = nullptr;  // the last ':' before the last '@'
};

Signs FindSigns(const char* start, const char* end) {
  Signs signs;
  const char* colon = nullptr;
  for (const char* p = start; p < end; ++p) {
    if (*p == ':') colon = p;
    if (*p != '@') continue;
    signs.at_before_last = signs.last_at;
    signs.last_at = p;
    signs.route_end = colon;
  }
  return signs;
}

const char* Find(char wanted, const char* from, const char* end) {
  const size_t length = static_cast<size_t>(end - from);
  return length == 0 ? nullptr : static_cast<const char*>(std::memchr(from, wanted, length));
}

// Sets `at`, narrowing the text until one '@' is left: a source route goes first, then all before a
// '<' and from its '>' on. False when there are too many.
bool FindAt(Parts& parts) {
  const char* const text_end = parts.end;
  Signs signs = FindSigns(parts.start, text_end);
  bool closed = false;  // `end` is the one that belongs to a '<'
  for (;;) {
    if (signs.last_at == nullptr || signs.last_at < parts.start) return true;
    if (signs.at_before_last == nullptr || signs.at_before_last < parts.start) break;
    if (signs.route_end != nullptr) {
      parts.start = signs.route_end + 1;
      LogAtLevel(kDetail, "ZRCleanAddress:  culled routing info");
      break;
    }
    const char* open = Find('<', parts.start, text_end);
    if (open == nullptr) return Fail("ZRCleanAddress: too many '@'signs");
    parts.start = open + 1;
    // The same end as before has the same signs; so each byte is looked at once, however many '<'.
    if (closed && (parts.end >= parts.start || parts.end == text_end)) continue;
    const char* close = Find('>', parts.start, text_end);
    parts.end = close != nullptr ? close : text_end;
    closed = true;
    signs = FindSigns(parts.start, parts.end);
  }
  parts.at = signs.last_at;
  return true;
}

// --- the domain ---

// "#123": a host by its number; a '.' must follow.
bool PassNumber(const Parts& parts, const char*& p) {
  do ++p;
  while (Is(kDigit, parts.CharAt(p)));
  return parts.CharAt(p) == '.' || Fail("ZRCleanAddress: invalid '#IP' domain part");
}

// Reads a decimal number; one too large stays too large. False when there is none.
bool ReadByte(const Parts& parts, const char*& p) {
  if (!Is(kDigit, parts.CharAt(p))) return false;
  uint32_t value = 0;
  for (; Is(kDigit, parts.CharAt(p)); ++p) {
    value = std::min(value * 10 + static_cast<uint32_t>(*p - '0'), kMostByteOfLiteral + 1);
  }
  return value <= kMostByteOfLiteral;
}

// "[10.0.0.1]", with any count of numbers.
bool PassLiteral(const Parts& parts, const char*& p) {
  do {
    ++p;
    const bool number = ReadByte(parts, p);
    if (number && parts.CharAt(p) == ']') return ++p, true;
    if (!number || parts.CharAt(p) != '.') {
      return Fail("ZRCleanAddress: invalid [x.x.x.x] IP domain part");
    }
  } while (true);
}

bool PassLabel(const Parts& parts, const char*& p) {
  const char c = parts.CharAt(p);
  if (c == '#') return PassNumber(parts, p);
  if (c == '[') return PassLiteral(parts, p);
  if (!Is(kLabel, c)) {
    LogAtLevel(kDecision, "ZRCleanAddress: invalid character in domain part '%c'",
               static_cast<uint8_t>(c));
    return false;
  }
  while (Is(kLabel, parts.CharAt(p))) ++p;
  return true;
}

// Sets `domain_end`. A text that begins with its '@' has no domain to look at.
bool FindDomainEnd(Parts& parts) {
  const char*& p = parts.domain_end = parts.at;
  if (parts.at == parts.start) return true;
  do {
    ++p;
    if (!PassLabel(parts, p)) return Fail("ZRCleanAddress: unable to isolate valid domain name");
  } while (parts.CharAt(p) == '.');
  return true;
}

// --- without '@' ---

// Sets `domain_end` to the '>' outside quotes and comments, or to the end.
void FindEnclosureEnd(Parts& parts) {
  const char* open = ZRFindUnquoted(parts.start, '<');
  const char* close = ZRFindUnquoted(open != nullptr ? open : parts.start, '>');
  parts.domain_end = close != nullptr && close < parts.end ? close : parts.end;
}

// --- the mailbox ---

bool IsEscaped(const Parts& parts, const char* p) { return p > parts.start && p[-1] == '\\'; }

bool FindQuotedMailbox(Parts& parts) {
  const char*& p = parts.mailbox = parts.mailbox_end() - 1;
  do {
    --p;
    const bool line_end = *p == '\r' || *p == '\n';
    if (!line_end && *p != '"') continue;
    if (IsEscaped(parts, p)) {
      --p;
    } else if (line_end) {
      return Fail("ZRCleanAddress: unescaped line break in mailbox");
    }
  } while (p > parts.start && *p != '"');
  return *p == '"' || Fail("ZRCleanAddress: unterminated quoted mailbox part");
}

// False when nothing stands between the enclosure and the '@'.
bool FindPlainMailbox(Parts& parts) {
  const char*& p = parts.mailbox = parts.mailbox_end();
  do {
    --p;
    if (Is(kSpecial, *p) && IsEscaped(parts, p)) --p;
  } while (p > parts.start && !Is(kSpecial, *p));
  if (Is(kSpecial, *p)) ++p;
  return p != parts.at;
}

// Sets `mailbox`. False, without a line, when the text has none.
bool FindMailbox(Parts& parts) {
  parts.mailbox = parts.mailbox_end();
  if (parts.mailbox == parts.start) return false;
  const char* last = parts.mailbox - 1;
  const bool quoted = *last == '"' && last > parts.start && last[-1] != '\\';
  const bool valid = quoted ? FindQuotedMailbox(parts) : FindPlainMailbox(parts);
  return valid || Fail("ZRCleanAddress: unable to isolate valid mailbox");
}

// --- what comes out ---

bool EnclosureMatches(const Parts& parts) {
  const char before = parts.before(), after = parts.after();
  if (parts.mailbox == parts.start) return parts.domain_end == parts.end || IsWhitespace(after);
  if (parts.domain_end == parts.end) return IsWhitespace(before);
  return (before == '<' && after == '>') || before == after ||
         (IsWhitespace(before) && IsWhitespace(after));
}

// A text of bounded length, always terminated.
class Output {
 public:
  Output(char* out, size_t size) : out_(out), left_(size - 1) { *out_ = '\0'; }
  // Appends all, or nothing.
  bool Append(const char* from, const char* to) {
    const size_t length = static_cast<size_t>(to - from);
    if (length > left_) return false;
    AppendCut(from, to);
    return true;
  }
  // Appends as much as fits.
  void AppendCut(const char* from, const char* to) {
    const size_t length = std::min(static_cast<size_t>(to - from), left_);
    std::memcpy(out_, from, length);
    out_ += length;
    left_ -= length;
    *out_ = '\0';
  }

 private:
  char* out_;
  size_t left_;
};

enum class Written { kAll, kMailboxOnly, kNothing };

Written WriteAddress(const Parts& parts, Output& output) {
  if (!output.Append(parts.mailbox, parts.mailbox_end())) return Written::kNothing;
  if (parts.at == nullptr) return Written::kAll;
  output.AppendCut(parts.at, parts.at + 1);
  const bool domain = parts.domain_end > parts.at;
  const bool fits = domain && output.Append(parts.at + 1, parts.domain_end);
  return fits ? Written::kAll : Written::kMailboxOnly;
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsWhitespace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsWhitespace(text.back())) text.remove_suffix(1);
  return text;
}

// The name is what stands before the opening character and behind the closing one.
void WriteDisplayName(const Parts& parts, Output output) {
  char joined[kMostName + 1];
  Output all(joined, sizeof joined);
  if (parts.mailbox > parts.start) all.AppendCut(parts.start, parts.mailbox - 1);
  if (parts.domain_end != parts.end) all.AppendCut(parts.domain_end + 1, parts.end);
  std::string_view name = Trimmed(joined);
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
    name = name.substr(1, name.size() - 2);
  }
  output.AppendCut(name.data(), name.data() + name.size());
}

struct Name {
  char* out;  // null: none is asked for
  uint32_t size;
};

bool Clean(std::string_view text, Output output, Name name) {
  Parts parts;
  parts.start = text.data();
  parts.end = text.data() + text.size();
  if (!FindAt(parts)) return false;
  if (parts.at == nullptr) {
    FindEnclosureEnd(parts);
  } else if (!FindDomainEnd(parts)) {
    return false;
  }
  bool valid = FindMailbox(parts);
  if (!EnclosureMatches(parts)) valid = Fail("ZRCleanAddress: Enclosing characters do not match");
  const Written written = WriteAddress(parts, output);
  if (written != Written::kNothing && name.out != nullptr) {
    WriteDisplayName(parts, Output(name.out, name.size));
  }
  return valid && written == Written::kAll;
}

}  // namespace
}  // namespace qv

int ZRCleanAddress(const char* address, char* output, uint32_t output_size, char* display_name,
                   uint32_t display_name_size) {
  if (address == nullptr || output == nullptr || output_size == 0) return 0;
  qv::LogAtLevel(qv::kDecision, "ZRCleanAddress attempting to normalize addr '%s'", address);
  qv::Name name = {display_name_size > 0 ? display_name : nullptr, display_name_size};
  char copy[qv::kMostInPlace + 1];
  if (output == address) {
    const size_t length = strnlen(address, qv::kMostInPlace);
    std::memcpy(copy, address, length);
    copy[length] = '\0';
    address = copy;
    name.out = nullptr;
  }
  const bool valid = qv::Clean(address, qv::Output(output, output_size), name);
  if (valid) {
    qv::LogAtLevel(qv::kDecision, "ZRCleanAddress succeeded, cleaned name is '%s'", output);
  } else {
    qv::LogAtLevel(qv::kDecision, "ZRCleanAddress failed");
  }
  return valid ? 1 : 0;
}
