// Finds links and mail addresses in running text that is fed a byte or a block at a time.
//
//   class Marker : public ZRURLFinder {
//    public:
//     Marker() : ZRURLFinder(kEchoMode, true) {}
//     void EchoChar(uint8_t byte) override { page += byte; }
//     void FoundURL(const char* text) override { page += "<a>"; page += text; page += "</a>"; }
//     ...
//   };
//   Marker marker;
//   marker.FeedText(text, count);    // as often as there is text
//   marker.FeedText(nullptr, 0);     // the end: the last token is decided
//
// Links are "scheme://host..." of any scheme, "mailto:" and "news:" with a dot behind, and
// "www.example.com" without a scheme; addresses are local@domain with a dot in the domain, or
// local@[a.b.c.d]. The rules stand in net/link_rules.h. The base class does nothing with what is
// found.
//
// Echo mode hands every byte that is not part of a find out again, each once and in the order of
// the text, with two exceptions: the bytes behind the 256th of an over-long address are dropped,
// and a double-byte character overtakes a double quote that is still collected.
//
// Decisions: a candidate of more than 256 bytes whose domain has no dot is plain text, as a shorter
// one is. Outside echo mode a quote that closes nothing stays collected and begins the next token,
// so a find that begins with it starts at the quote's own position.
//
// Threads: one at a time. Nothing is allocated. The text has no zero bytes; one is a byte that ends
// a token. A virtual operation must not feed the finder that calls it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/code_pages.h"

class ZRURLFinder {
 public:
  static constexpr uint32_t kEchoMode = 1;  // every other mode is silent

  // `no_spaces`: a blank ends every candidate. The code page is 10000, without lead bytes.
  ZRURLFinder(uint32_t mode, bool no_spaces) : mode_(mode), no_spaces_(no_spaces) {}

  // --- what a subclass overrides, in the order of the table ---

  virtual ~ZRURLFinder() = default;
  // Lead bytes of 932, 936, 949, 950, 10001 to 10003, 10025, 20001 and 20014; of no other.
  virtual void SetCodePage(CodePage cp);
  // A byte of plain text, in echo mode.
  virtual void EchoChar(uint8_t byte);
  // A link, terminated; the text is the finder's and changes afterwards. FoundURLRange comes before
  // it: the bytes fed before the link's first, and its length in bytes.
  virtual void FoundURL(const char* text);
  virtual void FoundURLRange(uint32_t position, uint32_t length);
  // The same of a mail address, of which at most 256 bytes are reported.
  virtual void FoundAddress(const char* text);
  virtual void FoundAddressRange(uint32_t position, uint32_t length);
  // In echo mode: the state before each byte is looked at; 0 after a token was handed out as plain
  // text, and before bytes are handed out that were trimmed off a find.
  virtual void NoteState(uint32_t state);

  // --- feeding ---

  void Feed(uint8_t byte);
  // Null bytes are the end of the text: the token is decided and positions count from 0 again.
  void FeedText(const void* bytes, size_t count);
  // Decides what was collected, and reports it.
  void EndToken();

 private:
  static constexpr uint32_t kMostToken = 1025;  // bytes; a token that has as many ends

  bool IsEchoing() const { return mode_ == kEchoMode; }
  bool IsLeadByte(uint8_t byte) const;
  bool TokenEndsWith(const char* word, size_t word_length) const;
  bool IsHostPrefix() const;
  bool Holds(uint32_t conditions, uint8_t byte) const;

  void FollowRules(uint8_t byte);
  void SetFlags(uint32_t actions);
  void Store(uint8_t byte);
  void DropToken();

  bool CanLookUp() const { return !IsEchoing() && !escape_ && lead_ == 0; }
  void FeedByRules(uint8_t byte);
  void LookUp(uint8_t byte, uint8_t entry);
  size_t FeedRun(const uint8_t* bytes, size_t count);
  void TakeRun(const uint8_t* bytes, const uint8_t* end, const uint8_t* token);

  bool EndLink();
  bool EndAddress();
  void EndPlain();
  void EchoTrimmed(uint32_t from);
  uint32_t PositionOf(uint32_t index) const;

  char token_[kMostToken + 1] = {};  // and a terminator
  uint32_t used_ = 0;
  uint32_t mode_;
  uint32_t state_ = 0;
  uint32_t quote_ = 0;  // inside double quotes
  uint32_t no_spaces_;
  uint32_t escape_ = 0;     // the byte before was a backslash in quotes
  uint32_t dot_count_ = 0;  // of the token, behind its host prefix or scheme
  uint8_t slashes_ = 0;     // the token has "//" behind its scheme
  uint8_t previous_ = 0;    // byte
  uint8_t lead_ = 0;        // whose trail byte is due
  uint8_t closer_ = 0;      // of a bracket that stands before the token
  uint32_t position_ = 0;   // bytes fed
  CodePage code_page_ = 10000;
  struct {
    uint8_t high, low;
  } lead_ranges_[2] = {};        // a high end of 0: the low one alone
  uint32_t token_position_ = 0;  // bytes fed before the token's first
};
