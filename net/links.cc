#include "net/links.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "net/link_rules.h"
#include "net/link_table.h"

namespace qv {
namespace {

using namespace link_rules;  // NOLINT: states, sets and actions are this file's vocabulary

constexpr uint32_t kFullInQuotes = 1024;  // bytes after which a quoted phrase is given up
constexpr uint32_t kMostAddress = 256;    // bytes of an address that are reported
constexpr uint32_t kDotsOfLiteral = 3;    // of "[10.0.0.1]"
constexpr uint32_t kMostRun = 512;        // two of them are less than a full token

uint8_t ClosingBracket(uint8_t byte) {
  switch (byte) {
    case '(':
      return ')';
    case '[':
      return ']';
    case '{':
      return '}';
    default:
      return 0;
  }
}

uint8_t LowerCase(uint8_t c) { return c >= 'A' && c <= 'Z' ? static_cast<uint8_t>(c | 0x20) : c; }

}  // namespace
}  // namespace qv

using namespace qv::link_rules;  // NOLINT
using qv::link_table::kNextState;
using qv::link_table::kSetsCloser;
using qv::link_table::kSlow;
using qv::link_table::kStartsToken;

// --- what subclasses override ---

void ZRURLFinder::SetCodePage(CodePage cp) {
  code_page_ = cp;
  lead_ranges_[0] = lead_ranges_[1] = {0, 0};
  switch (cp) {
    case 932:
    case 10001:
      lead_ranges_[0] = {0x9F, 0x81};
      lead_ranges_[1] = {0xEF, 0xE0};
      break;
    case 950:
    case 10002:
      lead_ranges_[0] = {0xFE, 0xA1};
      break;
    case 936:
    case 949:
    case 10003:
    case 10025:
    case 20001:
      lead_ranges_[0] = {0, 0x8E};
      lead_ranges_[1] = {0xFE, 0xA1};
      break;
    case 20014:
      lead_ranges_[0] = {0xFE, 0x81};
      break;
    default:
      break;
  }
}

void ZRURLFinder::EchoChar(uint8_t) {}
void ZRURLFinder::FoundURL(const char*) {}
void ZRURLFinder::FoundURLRange(uint32_t, uint32_t) {}
void ZRURLFinder::FoundAddress(const char*) {}
void ZRURLFinder::FoundAddressRange(uint32_t, uint32_t) {}
void ZRURLFinder::NoteState(uint32_t) {}

// --- conditions ---

bool ZRURLFinder::IsLeadByte(uint8_t byte) const {
  if (byte == 0) return false;
  if (lead_ranges_[0].high == 0 && byte == lead_ranges_[0].low) return true;
  return std::any_of(std::begin(lead_ranges_), std::end(lead_ranges_),
                     [byte](const auto& range) { return byte >= range.low && byte <= range.high; });
}

// Letter case is ignored.
bool ZRURLFinder::TokenEndsWith(const char* word, size_t word_length) const {
  return used_ >= word_length &&
         std::equal(word, word + word_length, token_ + used_ - word_length,
                    [](char a, char b) { return a == qv::LowerCase(static_cast<uint8_t>(b)); });
}

bool ZRURLFinder::IsHostPrefix() const {
  return std::any_of(std::begin(kHostPrefixes), std::end(kHostPrefixes),
                     [this](std::string_view prefix) {
                       return used_ == prefix.size() + (quote_ ? 1 : 0) &&
                              TokenEndsWith(prefix.data(), prefix.size());
                     });
}

bool ZRURLFinder::Holds(uint32_t conditions, uint8_t byte) const {
  const auto asked = [conditions](uint32_t condition) { return (conditions & condition) != 0; };
  if (conditions == kAlways) return true;
  if (asked(kEscaped) && !escape_) return false;
  if (asked(kInQuotes) && !quote_) return false;
  if (asked(kOutOfQuotes) && quote_) return false;
  if (asked(kLeadPending) && lead_ == 0) return false;
  if (asked(kIsLead) && !IsLeadByte(byte)) return false;
  if (asked(kAfterHostPrefix) && !IsHostPrefix()) return false;
  if (asked(kNoSpaces) && !no_spaces_) return false;
  if (asked(kAfterBlankOrDot) && !IsIn(kBlank | kDot, previous_)) return false;
  if (asked(kAfterDot) && previous_ != '.') return false;
  if (asked(kAfterMailto) && !TokenEndsWith("mailto:", 7)) return false;
  if (asked(kAfterNews) && !TokenEndsWith("news:", 5)) return false;
  if (asked(kIsCloser) && byte != closer_) return false;
  return !asked(kNoCloser) || closer_ == 0;
}

// --- actions ---

void ZRURLFinder::SetFlags(uint32_t actions) {
  if (actions & kCountDot) ++dot_count_;
  if (actions & kSetEscape) escape_ = 1;
  if (actions & kClearEscape) escape_ = 0;
  if (actions & kToggleQuote) quote_ ^= 1;
  if (actions & kClearLead) lead_ = 0;
  if (actions & kNoteSlashes) slashes_ = 1;
  if (actions & kSetCloser) closer_ = qv::ClosingBracket(previous_);
}

void ZRURLFinder::Store(uint8_t byte) {
  if (used_ == 0) token_position_ = position_;
  token_[used_++] = static_cast<char>(byte);
}

void ZRURLFinder::DropToken() {
  state_ = kIdle;
  used_ = dot_count_ = 0;
  slashes_ = 0;
}

void ZRURLFinder::FollowRules(uint8_t byte) {
  const Rule* rule = kFirstRules[state_];
  while (!IsIn(rule->bytes, byte) || !Holds(rule->when, byte)) ++rule;
  const Actions actions = rule->actions;
  // Outside echo mode a quote that waits in kIdle is left there.
  if ((actions & kEndBefore) && (state_ != kIdle || IsEchoing())) EndToken();
  SetFlags(actions);
  if (actions & kRememberLead) lead_ = byte;
  if (actions & kEnd) {
    EndToken();
    FollowRules(byte);
    return;
  }
  state_ = rule->next;
  if (actions & kStore) Store(byte);
  if ((actions & kEcho) && IsEchoing()) EchoChar(byte);
  if ((actions & kEndWhenFull) && used_ == qv::kFullInQuotes) EndToken();
}

// --- feeding ---

void ZRURLFinder::FeedByRules(uint8_t byte) {
  if (used_ >= kMostToken) EndToken();
  if (IsEchoing()) NoteState(state_);
  FollowRules(byte);
  previous_ = byte;
  ++position_;
}

// What an entry of the table says of one byte.
void ZRURLFinder::LookUp(uint8_t byte, uint8_t entry) {
  const uint32_t next = entry & kNextState;
  if (entry & kSetsCloser) closer_ = qv::ClosingBracket(previous_);
  if (state_ != kIdle && (next == kIdle || (entry & kStartsToken))) DropToken();
  if (next != kIdle) Store(byte);
  state_ = next;
  previous_ = byte;
  ++position_;
}

void ZRURLFinder::Feed(uint8_t byte) {
  if (CanLookUp() && used_ < qv::kFullInQuotes - 1) {
    const auto& classes = qv::link_table::kClasses[lead_ranges_[0].low != 0];
    const auto& rows = qv::link_table::kRows[no_spaces_][quote_];
    const uint8_t entry = rows[state_][classes.of_byte[byte]];
    if (!(entry & kSlow)) return LookUp(byte, entry);
  }
  FeedByRules(byte);
}

// Takes the bytes of a run into the token. `token` is where the last token of the run begins, null
// when none does.
void ZRURLFinder::TakeRun(const uint8_t* bytes, const uint8_t* end, const uint8_t* token) {
  const uint32_t state = state_;
  if (token != nullptr || state == kIdle) DropToken();
  state_ = state;
  if (state != kIdle) {
    if (token != nullptr) token_position_ = position_ + static_cast<uint32_t>(token - bytes);
    const uint8_t* const from = token != nullptr ? token : bytes;
    std::memcpy(token_ + used_, from, static_cast<size_t>(end - from));
    used_ += static_cast<uint32_t>(end - from);
  }
  previous_ = end[-1];
  position_ += static_cast<uint32_t>(end - bytes);
}

// Feeds bytes as long as the table knows them, at most kMostRun; returns how many. The token is
// copied once, at the end.
size_t ZRURLFinder::FeedRun(const uint8_t* bytes, size_t count) {
  const bool quote_waits = state_ == kIdle && used_ > 0;
  if (!CanLookUp() || quote_waits || used_ >= qv::kMostRun) return 0;
  const uint8_t* const classes = qv::link_table::kClasses[lead_ranges_[0].low != 0].of_byte.data();
  const auto& rows = qv::link_table::kRows[no_spaces_][quote_];
  const uint8_t* const limit = bytes + std::min<size_t>(count, qv::kMostRun);
  const uint8_t *p = bytes, *token = nullptr, *closer_at = nullptr;
  uint32_t state = state_;
  for (; p < limit; ++p) {
    const uint8_t entry = rows[state][classes[*p]];
    if (entry & kSlow) break;
    state = entry & kNextState;
    token = entry & kStartsToken ? p : token;
    closer_at = entry & kSetsCloser ? p : closer_at;
  }
  if (p == bytes) return 0;
  if (closer_at != nullptr) {
    closer_ = qv::ClosingBracket(closer_at == bytes ? previous_ : closer_at[-1]);
  }
  state_ = state;
  TakeRun(bytes, p, token);
  return static_cast<size_t>(p - bytes);
}

void ZRURLFinder::FeedText(const void* bytes, size_t count) {
  if (bytes == nullptr) {
    EndToken();
    position_ = 0;
    return;
  }
  const auto* p = static_cast<const uint8_t*>(bytes);
  const uint8_t* const end = p + count;
  while (p < end) {
    p += FeedRun(p, static_cast<size_t>(end - p));
    if (p < end) Feed(*p++);
  }
}

// --- the end of a token ---

// The bytes fed before a byte of the token. The token is a piece of the text, but for a quote that
// waited in front of it.
uint32_t ZRURLFinder::PositionOf(uint32_t index) const {
  return index == 0 ? token_position_ : position_ - (used_ - index);
}

// Hands out what was trimmed off a find.
void ZRURLFinder::EchoTrimmed(uint32_t from) {
  if (!IsEchoing() || from == used_) return;
  NoteState(kIdle);
  for (; from < used_; ++from) EchoChar(static_cast<uint8_t>(token_[from]));
}

bool ZRURLFinder::EndLink() {
  uint32_t end = used_;
  if (token_[end - 1] == '.') {
    if (dot_count_ == 1 && !slashes_) return false;
    --end;
  }
  if (dot_count_ == 0 && !slashes_) return false;
  if (IsIn(kTrailing, static_cast<uint8_t>(token_[end - 1]))) --end;
  const uint32_t begin = quote_ && token_[0] == '"' ? 1 : 0;
  if (begin == 1 && IsEchoing()) EchoChar('"');
  const char behind = std::exchange(token_[end], '\0');
  FoundURLRange(PositionOf(begin), end - begin);
  FoundURL(token_ + begin);
  token_[end] = behind;
  EchoTrimmed(end);
  return true;
}

bool ZRURLFinder::EndAddress() {
  uint32_t end = used_;
  if (dot_count_ == 0) return false;
  if (used_ > qv::kMostAddress) {
    end = used_ = qv::kMostAddress;
  } else {
    if (token_[end - 1] == '.') {
      if (dot_count_ == 1) return false;
      --end;
    }
    if (IsIn(kTrailing, static_cast<uint8_t>(token_[end - 1]))) --end;
  }
  const char behind = std::exchange(token_[end], '\0');
  FoundAddressRange(token_position_, end);
  FoundAddress(token_);
  token_[end] = behind;
  EchoTrimmed(end);
  return true;
}

void ZRURLFinder::EndPlain() {
  if (!IsEchoing()) return;
  for (uint32_t i = 0; i < used_; ++i) EchoChar(static_cast<uint8_t>(token_[i]));
  NoteState(kIdle);
}

void ZRURLFinder::EndToken() {
  if (used_ == 0) return;
  bool found = false;
  if (state_ == kHost || state_ == kBody) found = EndLink();
  const bool literal = state_ == kLiteral && previous_ == ']' && dot_count_ == qv::kDotsOfLiteral;
  if (state_ == kDomain || literal) found = EndAddress();
  if (!found) EndPlain();
  DropToken();
}
