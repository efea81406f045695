// The readers and writers of the East Asian code pages: text as bytes on one side, codes of the
// page's table on the other.
//
//   Iso2022Reader reader(20002);
//   while (in != end) {
//     const ReadCharacter read = reader.Read(in, end);
//     if (read.size == 0) break;                   // the end of the input cuts the character
//     if (read.code != kNoCharacter) Use(read.code);
//     in += read.size;
//   }
//
//   Iso2022Writer writer(20002);
//   const int size = writer.Write(0x2422, out, room);  // bytes stored, or kNoRoom
//   ...
//   out += writer.Close(out, room_left);               // returns to ASCII; always fits
//
// Codes. In the double-byte pages a code is the byte, or lead byte * 256 + trail byte. The Japanese
// pages 20001 and 20002 share a table: their codes are ASCII, 00A1 to 00DF for half-width katakana,
// and 2121 to 7E7E for JIS X 0208. The codes of 20003 and 20004 are those of 949 and 936: ASCII,
// and two bytes A1 to FE.
//
// Reading. What is malformed, or belongs to a character set without codes here, is read as
// kReplacement: a lead byte before a control character alone, a pair that is no character as a
// whole, so that a text falls into the same pieces as in CPCharSize.
//
// Writing. A code that the page cannot express is written as kReplacement, so that a reader of the
// page reads back what was written.
//
// State. Objects are small and copyable, and hold the state of the text: a conversion in pieces
// keeps them between the pieces. A character that is read again, from a copy or from the object
// itself, is the same character; a look ahead behind it needs a copy. Write without room changes
// neither object nor output. A line end takes ISO-2022 text back to its initial state, in reading
// and in writing.
//
// Threads: any; an object belongs to one conversion.
#pragma once

#include <cstddef>
#include <cstdint>

#include "text/code_pages.h"
#include "text/engine_forms.h"

namespace qv {

// The code of an escape or shift sequence: it has a size, and nothing is written for it.
constexpr uint32_t kNoCharacter = 0xFFFFFFFE;

enum class EastAsianForm { kNone, kDoubleByte, kJapaneseEuc, kIso2022 };

// How text of the page is read and written:
//   kDoubleByte   932, 10001 (Shift-JIS); 936, 949, 950, 1361, 20014; 10002, 10003, 10025;
//                 20009, 20013 (EUC without shifts)
//   kJapaneseEuc  20001
//   kIso2022      20002, 20003, 20004
EastAsianForm EastAsianFormOf(CodePage cp);

struct LeadBytes;      // the lead bytes of a double-byte page
struct Iso2022Scheme;  // the sequences and character sets of an ISO-2022 page

// --- One byte, or a lead byte and a trail byte ---
//
// The lead bytes are those of CPIsLeadByte, with these differences: the Macintosh pages 10002 and
// 10025 keep FD and FE, and 10003 FE, as characters of their own (a copyright sign, a trade mark),
// and 1361, 20009 and 20013, which have no lead bytes there, have those of their encodings. A trail
// byte is 20 or above.

class DoubleByteReader {
 public:
  explicit DoubleByteReader(CodePage cp);
  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const;

 private:
  const LeadBytes* leads_;
};

class DoubleByteWriter {
 public:
  explicit DoubleByteWriter(CodePage cp);
  int Write(uint32_t code, uint8_t* out, size_t room) const;
  int Close(uint8_t*, size_t) const { return 0; }

 private:
  const LeadBytes* leads_;
};

// --- EUC-JP: katakana behind 8E, JIS X 0208 as two bytes, JIS X 0212 (no codes) behind 8F ---

class JapaneseEucReader {
 public:
  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const;
};

class JapaneseEucWriter {
 public:
  int Write(uint32_t code, uint8_t* out, size_t room) const;
  int Close(uint8_t*, size_t) const { return 0; }
};

// --- ISO-2022: seven bits, with sequences that choose the character set ---
//
//   20002  ESC ( B, ESC ( J (read as ASCII), ESC $ @, ESC $ B, ESC ( I or SO (katakana)
//   20003  ESC $ ) C once, before the first character; SO and SI
//   20004  ESC $ ) A in each line before its first SO; SO and SI; ESC N
//
// An ESC that begins none of the sequences is a character; the end of the input cuts a sequence
// that it might begin.

class Iso2022Reader {
 public:
  explicit Iso2022Reader(CodePage cp);
  ReadCharacter Read(const uint8_t* in, const uint8_t* end);

 private:
  ReadCharacter ReadSequence(const uint8_t* in, const uint8_t* end);
  void ReturnToInitialState();

  const Iso2022Scheme* scheme_;
  uint8_t plain_set_, shifted_set_;  // what SI and SO choose
  bool shifted_;
};

class Iso2022Writer {
 public:
  explicit Iso2022Writer(CodePage cp);
  // Keeps the room that Close needs. ESC, SO and SI are written as kReplacement: they would begin a
  // sequence.
  int Write(uint32_t code, uint8_t* out, size_t room);
  // Returns to ASCII; the text may go on afterwards. Returns the bytes stored, 0 when nothing is
  // open. Fits into what Write left of its room.
  int Close(uint8_t* out, size_t room);

 private:
  const Iso2022Scheme* scheme_;
  uint8_t set_;              // the character set that is open
  bool designated_ = false;  // what SO chooses has been named
};

// --- By code page ---

// Calls `visit` with the page's reader (writer) in its initial state; false when it has none.
template <class Visit>
bool VisitEastAsianReader(CodePage cp, Visit visit) {
  switch (EastAsianFormOf(cp)) {
    case EastAsianForm::kDoubleByte:
      return visit(DoubleByteReader(cp)), true;
    case EastAsianForm::kJapaneseEuc:
      return visit(JapaneseEucReader{}), true;
    case EastAsianForm::kIso2022:
      return visit(Iso2022Reader(cp)), true;
    case EastAsianForm::kNone:
      break;
  }
  return false;
}
template <class Visit>
bool VisitEastAsianWriter(CodePage cp, Visit visit) {
  switch (EastAsianFormOf(cp)) {
    case EastAsianForm::kDoubleByte:
      return visit(DoubleByteWriter(cp)), true;
    case EastAsianForm::kJapaneseEuc:
      return visit(JapaneseEucWriter{}), true;
    case EastAsianForm::kIso2022:
      return visit(Iso2022Writer(cp)), true;
    case EastAsianForm::kNone:
      break;
  }
  return false;
}

}  // namespace qv
