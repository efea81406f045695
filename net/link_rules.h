// The rules by which links and mail addresses are found in text (net/links.h), as data.
//
// A token is collected byte by byte; a rule says what a byte does in a state. The rules of a state
// are tried in their order, the first that applies decides. Every state ends with a rule for any
// byte.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace qv::link_rules {

enum State : uint8_t {
  kIdle,        // no token
  kQuoted,      // double-quoted phrase: a quoted local part or name
  kWord,        // scheme characters
  kScheme,      // after a scheme and ':'
  kSlash,       // after ":/"
  kSlashes,     // after "://"
  kHost,        // host of a link after "//"
  kBody,        // body of a link
  kLocalPart,   // local part of a mail address
  kBlanks,      // blanks after a local part
  kAt,          // after '@'
  kDomain,      // domain of a mail address
  kLiteral,     // domain literal in '[' and ']'
  kHostPrefix,  // after a host prefix ("www") and its '.'
  kStateCount
};

// --- sets of bytes ---

using Sets = uint32_t;  // one bit per set; a rule with several takes a byte of any of them

enum : Sets {
  kAny = 1 << 0,
  kSchemeChar = 1 << 1,
  kLinkChar = 1 << 2,
  kNoLinkChar = 1 << 3,
  kBodyChar = 1 << 4,
  kNoBodyChar = 1 << 5,
  kNewsHostChar = 1 << 6,
  kDomainChar = 1 << 7,
  kLetterOrDigit = 1 << 8,
  kLiteralChar = 1 << 9,
  kBracket = 1 << 10,
  kTrailing = 1 << 11,    // punctuation that does not belong to the link before it
  kAtom = 1 << 12,        // outside quotes
  kQuotedAtom = 1 << 13,  // inside quotes
  kFrom20 = 1 << 14,      // 0x20 and above
  kBlank = 1 << 15,
  kDot = 1 << 16,
  kColon = 1 << 17,
  kStroke = 1 << 18,
  kAtSign = 1 << 19,
  kQuote = 1 << 20,
  kBackslash = 1 << 21,
  kOpenBracket = 1 << 22,  // '['
};

#define QV_LETTERS_AND_DIGITS "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
constexpr std::string_view kLinkChars = QV_LETTERS_AND_DIGITS "$-_.+!*'(),;/?:@&=%";
constexpr std::string_view kBodyChars = QV_LETTERS_AND_DIGITS "$-_.+!*'(),;/?:@&=%{}|\\^~[]`#";

constexpr struct {
  Sets set;
  std::string_view bytes;
} kSetBytes[] = {
    {kSchemeChar, QV_LETTERS_AND_DIGITS "+-."},
    {kLinkChar, kLinkChars},
    {kBodyChar, kBodyChars},
    {kNewsHostChar, QV_LETTERS_AND_DIGITS ".-"},
    {kDomainChar, QV_LETTERS_AND_DIGITS ".-_"},
    {kLetterOrDigit, QV_LETTERS_AND_DIGITS},
    {kLiteralChar, "0123456789.]"},
    {kBracket, "()[]{}"},
    {kTrailing, ",;:?"},
    {kBlank, " "},
    {kDot, "."},
    {kColon, ":"},
    {kStroke, "/"},
    {kAtSign, "@"},
    {kQuote, "\""},
    {kBackslash, "\\"},
    {kOpenBracket, "["},
};
#undef QV_LETTERS_AND_DIGITS

constexpr std::string_view kNoAtom = " ()<>@,;:\\\".[]";

constexpr std::array<Sets, 256> MakeSets() {
  std::array<Sets, 256> sets = {};
  for (const auto& named : kSetBytes) {
    for (const char c : named.bytes) sets[static_cast<uint8_t>(c)] |= named.set;
  }
  for (uint32_t c = 0; c < 256; ++c) {
    const bool printable = c >= 0x20 && c <= 0x7E;
    const bool special = kNoAtom.find(static_cast<char>(c)) != kNoAtom.npos;
    sets[c] |= kAny | (c >= 0x20 ? Sets{kFrom20} : 0) | (printable ? Sets{kQuotedAtom} : 0);
    if (printable && !special) sets[c] |= kAtom;
    if (!(sets[c] & kLinkChar)) sets[c] |= kNoLinkChar;
    if (!(sets[c] & kBodyChar)) sets[c] |= kNoBodyChar;
  }
  return sets;
}

// The sets that a byte is in.
constexpr std::array<Sets, 256> kSetsOf = MakeSets();

constexpr bool IsIn(Sets sets, uint8_t byte) { return (kSetsOf[byte] & sets) != 0; }

// --- what must hold besides ---

using Conditions = uint32_t;

enum : Conditions {
  kAlways = 0,
  kEscaped = 1 << 0,  // the byte before was a backslash in quotes
  kInQuotes = 1 << 1,
  kOutOfQuotes = 1 << 2,
  kLeadPending = 1 << 3,      // the byte before was a lead byte
  kIsLead = 1 << 4,           // the byte is a lead byte
  kAfterHostPrefix = 1 << 5,  // the token is a host prefix
  kNoSpaces = 1 << 6,         // blanks end every token
  kAfterBlankOrDot = 1 << 7,  // the byte before
  kAfterDot = 1 << 8,         // the byte before
  kAfterMailto = 1 << 9,      // the token ends with "mailto:"
  kAfterNews = 1 << 10,       // the token ends with "news:"
  kIsCloser = 1 << 11,        // the byte closes the bracket that stands before the token
  kNoCloser = 1 << 12,        // no bracket stands there
};

constexpr std::string_view kHostPrefixes[] = {"qv", "www", "ftp", "www2", "www3", "news", "nntp"};

// --- what is done ---

using Actions = uint32_t;

enum : Actions {
  kStore = 1 << 0,      // append the byte to the token
  kEnd = 1 << 1,        // decide what the token was, then look at the byte as in kIdle
  kEndBefore = 1 << 2,  // decide what the token was, then go on with this rule
  kEcho = 1 << 3,       // hand the byte out (echo mode); a token goes first with kEndBefore
  kCountDot = 1 << 4,
  kSetEscape = 1 << 5,
  kClearEscape = 1 << 6,
  kToggleQuote = 1 << 7,
  kRememberLead = 1 << 8,
  kClearLead = 1 << 9,
  kNoteSlashes = 1 << 10,  // the token has "//" behind its scheme
  kSetCloser = 1 << 11,    // expect what closes the byte before, nothing when it opens nothing
  kEndWhenFull = 1 << 12,  // after storing
};

struct Rule {
  State state;
  Sets bytes;
  Conditions when;
  State next;  // of no meaning with kEnd
  Actions actions;
};

constexpr Actions kStoreInQuotes = kStore | kEndWhenFull;

constexpr Rule kRules[] = {
    {kIdle, kFrom20, kLeadPending, kIdle, kClearLead | kEcho},
    {kIdle, kAny, kLeadPending, kIdle, kClearLead | kEndBefore | kEcho},
    {kIdle, kAny, kIsLead, kIdle, kRememberLead | kEcho},
    {kIdle, kSchemeChar, kAlways, kWord, kSetCloser | kStore},
    {kIdle, kAtom, kAlways, kLocalPart, kStore},
    {kIdle, kQuote, kOutOfQuotes, kQuoted, kToggleQuote | kStore},
    {kIdle, kQuote, kAlways, kIdle, kToggleQuote | kStore},
    {kIdle, kAny, kAlways, kIdle, kEndBefore | kEcho},

    {kQuoted, kAny, kEscaped, kQuoted, kClearEscape | kStoreInQuotes},
    {kQuoted, kBackslash, kInQuotes, kQuoted, kSetEscape | kStoreInQuotes},
    {kQuoted, kQuote, kAlways, kQuoted, kToggleQuote | kStoreInQuotes},
    {kQuoted, kSchemeChar | kQuotedAtom, kInQuotes, kQuoted, kStoreInQuotes},
    {kQuoted, kAny, kInQuotes, kIdle, kEnd},
    {kQuoted, kAtSign, kAlways, kAt, kStoreInQuotes},
    {kQuoted, kColon, kAlways, kScheme, kStoreInQuotes},
    {kQuoted, kDot, kAfterHostPrefix, kHostPrefix, kCountDot | kStoreInQuotes},
    {kQuoted, kDot, kAlways, kQuoted, kStoreInQuotes},
    {kQuoted, kBlank, kNoSpaces, kIdle, kEnd},
    {kQuoted, kBlank | kAtom, kAlways, kQuoted, kStoreInQuotes},
    {kQuoted, kAny, kAlways, kIdle, kEnd},

    {kWord, kAny, kIsLead, kIdle, kEnd},
    {kWord, kColon, kAlways, kScheme, kStore},
    {kWord, kDot, kAfterHostPrefix, kHostPrefix, kCountDot | kStore},
    {kWord, kDot, kAlways, kLocalPart, kStore},
    {kWord, kSchemeChar, kAlways, kWord, kStore},
    {kWord, kQuotedAtom, kInQuotes, kLocalPart, kStore},
    {kWord, kAtom, kOutOfQuotes, kLocalPart, kStore},
    {kWord, kAtSign, kAlways, kAt, kStore},
    {kWord, kBlank, kNoSpaces, kIdle, kEnd},
    {kWord, kBlank, kAlways, kBlanks, kStore},
    {kWord, kQuote, kOutOfQuotes | kAfterBlankOrDot, kQuoted, kToggleQuote | kStore},
    {kWord, kAny, kAlways, kIdle, kEnd},

    {kScheme, kStroke, kAlways, kSlash, kStore},
    {kScheme, kQuote, kAfterMailto, kLocalPart, kEndBefore | kToggleQuote | kStore},
    {kScheme, kLinkChar, kAfterMailto, kBody, kStore},
    {kScheme, kNewsHostChar, kAfterNews, kBody, kStore},
    {kScheme, kAny, kAlways, kIdle, kEnd},

    {kSlash, kStroke, kAlways, kSlashes, kNoteSlashes | kStore},
    {kSlash, kAny, kAlways, kIdle, kEnd},

    {kSlashes, kLinkChar, kAlways, kHost, kStore},
    {kSlashes, kAny, kAlways, kIdle, kEnd},

    {kHost, kDot, kEscaped | kAfterDot, kIdle, kClearEscape | kEnd},
    {kHost, kDot, kEscaped, kHost, kClearEscape | kCountDot | kStore},
    {kHost, kAny, kEscaped, kHost, kClearEscape | kStore},
    {kHost, kBackslash, kInQuotes, kHost, kSetEscape | kStore},
    {kHost, kStroke, kAlways, kBody, kStore},
    {kHost, kBracket, kIsCloser, kIdle, kEnd},
    {kHost, kBracket, kNoCloser, kIdle, kEnd},
    {kHost, kNoLinkChar, kAlways, kIdle, kEnd},
    {kHost, kDot, kAfterDot, kIdle, kEnd},
    {kHost, kDot, kAlways, kHost, kCountDot | kStore},
    {kHost, kAny, kAlways, kHost, kStore},

    {kBody, kDot, kEscaped, kBody, kClearEscape | kCountDot | kStore},
    {kBody, kAny, kEscaped, kBody, kClearEscape | kStore},
    {kBody, kBackslash, kInQuotes, kBody, kSetEscape | kStore},
    {kBody, kBracket, kIsCloser, kIdle, kEnd},
    {kBody, kBracket, kNoCloser, kIdle, kEnd},
    {kBody, kNoBodyChar, kAlways, kIdle, kEnd},
    {kBody, kDot, kAfterDot, kIdle, kEnd},
    {kBody, kDot, kAlways, kBody, kCountDot | kStore},
    {kBody, kAny, kAlways, kBody, kStore},

    {kLocalPart, kAny, kEscaped, kLocalPart, kClearEscape | kStore},
    {kLocalPart, kBackslash, kInQuotes, kLocalPart, kSetEscape | kStore},
    {kLocalPart, kAny, kLeadPending, kLocalPart, kClearLead | kStore},
    {kLocalPart, kAny, kIsLead, kLocalPart, kRememberLead | kStore},
    {kLocalPart, kAtSign, kOutOfQuotes, kAt, kStore},
    {kLocalPart, kAtSign, kAlways, kLocalPart, kStore},
    {kLocalPart, kQuote, kInQuotes, kLocalPart, kToggleQuote | kStore},
    {kLocalPart, kQuote, kAlways, kIdle, kEnd},
    {kLocalPart, kBlank, kOutOfQuotes | kNoSpaces, kIdle, kEnd},
    {kLocalPart, kBlank, kOutOfQuotes, kBlanks, kStore},
    {kLocalPart, kQuotedAtom, kInQuotes, kLocalPart, kStore},
    {kLocalPart, kAtom, kOutOfQuotes, kLocalPart, kStore},
    {kLocalPart, kDot, kAlways, kLocalPart, kStore},
    {kLocalPart, kAny, kAlways, kIdle, kSetCloser | kEnd},

    {kBlanks, kFrom20, kLeadPending, kBlanks, kClearLead | kStore},
    {kBlanks, kAny, kLeadPending, kIdle, kClearLead | kEnd},
    {kBlanks, kAny, kIsLead, kBlanks, kRememberLead | kStore},
    {kBlanks, kBlank, kNoSpaces, kIdle, kEnd},
    {kBlanks, kBlank, kAlways, kBlanks, kStore},
    {kBlanks, kAtSign, kAlways, kAt, kStore},
    {kBlanks, kAny, kAlways, kIdle, kEnd},

    {kAt, kBlank, kNoSpaces, kIdle, kEnd},
    {kAt, kBlank, kAlways, kAt, kStore},
    {kAt, kOpenBracket, kAlways, kLiteral, kStore},
    {kAt, kDomainChar, kAlways, kDomain, kStore},
    {kAt, kAny, kAlways, kIdle, kEnd},

    // The expected closer is a bracket, which no domain has.
    {kDomain, kDot, kAfterDot, kIdle, kEnd},
    {kDomain, kDot, kAlways, kDomain, kCountDot | kStore},
    {kDomain, kDomainChar, kAlways, kDomain, kStore},
    {kDomain, kAny, kAlways, kIdle, kEnd},

    {kLiteral, kDot, kAfterDot, kIdle, kEnd},
    {kLiteral, kDot, kAlways, kLiteral, kCountDot | kStore},
    {kLiteral, kLiteralChar, kAlways, kLiteral, kStore},
    {kLiteral, kAny, kAlways, kIdle, kEnd},

    {kHostPrefix, kLetterOrDigit, kAlways, kBody, kStore},
    {kHostPrefix, kAny, kAlways, kIdle, kEnd},
};

// The first rule of each state.
constexpr std::array<const Rule*, kStateCount> MakeFirstRules() {
  std::array<const Rule*, kStateCount> first = {};
  for (const Rule& rule : kRules) {
    if (first[rule.state] == nullptr) first[rule.state] = &rule;
  }
  return first;
}

constexpr std::array<const Rule*, kStateCount> kFirstRules = MakeFirstRules();

}  // namespace qv::link_rules
