// Links and mail addresses of a text, as a list or as a page. The text arrives in pieces of any
// size; where it is cut makes no difference. Its bytes go out as they are, in its own code page.
//
//   LinkList list(options, write);           // or LinkPage
//   while (more) list.Add(piece);
//   list.Finish();
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "net/links.h"
#include "programs/qvtool/text_conversion.h"

namespace qvtool {

struct LinkOptions {
  CodePage code_page = kUtf8;
  bool no_spaces = false;  // a blank ends every candidate
};

// Feeds the finder.
class FoundLinks : public ZRURLFinder {
 public:
  FoundLinks(uint32_t mode, const LinkOptions& options, Sink sink)
      : ZRURLFinder(mode, options.no_spaces), sink_(std::move(sink)) {
    SetCodePage(options.code_page);
  }

  // False when the sink said so.
  bool Add(std::string_view piece);
  bool Finish();

 protected:
  void Write(std::string_view bytes) { going_on_ = going_on_ && sink_(bytes); }
  // The finder counts bytes in 32 bits, the text may have more.
  uint64_t WholePosition(uint32_t position) const;

 private:
  Sink sink_;
  uint64_t fed_ = 0;  // bytes, the piece at work among them
  bool going_on_ = true;
};

// A line per find: "url" or "mail", position, length, the find itself, with TABs between.
class LinkList final : public FoundLinks {
 public:
  LinkList(const LinkOptions& options, Sink sink) : FoundLinks(0, options, std::move(sink)) {}

  void FoundURL(const char* text) override { WriteFind("url", text); }
  void FoundAddress(const char* text) override { WriteFind("mail", text); }
  void FoundURLRange(uint32_t position, uint32_t length) override { Note(position, length); }
  void FoundAddressRange(uint32_t position, uint32_t length) override { Note(position, length); }

 private:
  void Note(uint32_t position, uint32_t length);
  void WriteFind(const char* kind, const char* text);

  uint64_t position_ = 0;
  uint32_t length_ = 0;
};

// The text as HTML, line ends and blanks as they are, with every find inside a link to it. A find
// whose scheme would let the text run as a script in the reader's page stays plain text.
class LinkPage final : public FoundLinks {
 public:
  LinkPage(const LinkOptions& options, Sink sink)
      : FoundLinks(kEchoMode, options, std::move(sink)) {}

  void EchoChar(uint8_t byte) override;
  void FoundURL(const char* text) override;
  void FoundAddress(const char* text) override;

 private:
  void WriteLink(std::string_view scheme, std::string_view text);
  void WriteText(std::string_view text);
};

}  // namespace qvtool
