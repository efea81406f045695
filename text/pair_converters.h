// Converters between the forms of one East Asian family, by arithmetic on codes.
//
//   932, 10001, 20001, 20002   Japanese: Shift-JIS, Macintosh, EUC, ISO-2022
//   936, 10025, 20004, 20014   simplified Chinese: EUC, Macintosh, ISO-2022, GBK
//   949, 10003, 20003          Korean: EUC, Macintosh, ISO-2022
//
//   PairConverter converter(20002, 932);
//   uint32_t room = sizeof out;
//   uint32_t used = converter.Convert(mail, size, out, &room, kCrLf);
//
// What is read and written is told in text/east_asian_forms.h. A character without a counterpart
// becomes SUB (1A). Between 932, 20001 and 20002 every character has one. The sets of the other
// pages are larger than their family's: GBK has more than GB 2312, 949 more than KS X 1001, the
// Macintosh pages signs of their own. For those of 10001, which stand elsewhere in the other
// Japanese pages, the tables of both pages are asked, as far as they are loaded.
//
// A text without errors comes back unchanged from there and back, but for the choice between equal
// sequences: ESC $ @ comes back as ESC $ B, ESC ( J as ESC ( B.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <memory>

#include "text/code_pages.h"
#include "text/converters.h"

namespace qv {

// True for two different pages of one family.
bool IsEastAsianPair(CodePage from, CodePage to);

// The code in `to` of a code that a reader of `from` gives; of the two IsEastAsianPair holds.
// kReplacement without a
// counterpart. The writer of `to` still may have no form for it.
uint32_t CounterpartOf(uint32_t code, CodePage from, CodePage to);

class PairConverter final : public Converter {
 public:
  PairConverter(CodePage from, CodePage to) : Converter(from, to) {}
  // For pages of one family, and for equal pages.
  bool usable() const override;
  // Equal pages: copies, changing line ends only. Otherwise each call reads and writes a text of
  // its own: it begins in the initial state, and what it wrote is closed (back in ASCII), also when
  // the room ended. Stops before a character or line end that does not fit, and before one that the
  // end of the input cuts; an ISO-2022 text that was stopped in the middle cannot be taken up again
  // there, since the rest has lost its state.
  uint32_t Convert(const char* input, uint32_t input_bytes, char* output, uint32_t* output_bytes,
                   int line_end_mode) const override;
};

// Null without memory.
std::unique_ptr<Converter> NewPairConverter(CodePage source, CodePage destination);

}  // namespace qv
