// Text by lines, on anything that has bytes and a mark: what the text file object is made of.
//
//   qv::TextLines lines(file);
//   char line[256];
//   int32_t length = 255;                           // the buffer's size less one
//   while (lines.ReadLine(line, &length) == 0) {    // length: with the line end
//     Use(line);
//     length = 255;
//   }
//
// A line ends in CR, LF, CR LF or LF CR. A longer line than the buffer comes in pieces. Only what
// was read for one call is looked at: a CR and a LF that fall to either side of a piece's border
// are two line ends, and the second reads as an empty line.
//
// Threads: one task at a time. Failed checks are reported and answer ZRErrParam. After a failure
// the buffer is empty and the length 0, except where a move back fails.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "base/errors.h"

namespace qv {

// The bytes that lines are read from and written to.
class LineBytes {
 public:
  virtual uint64_t Mark() const = 0;
  // False when the mark cannot go there.
  virtual bool MoveMark(uint64_t position) = 0;
  // At the mark, which moves by what was read. *count: wished, then read. ZRErrEOF when fewer bytes
  // were there.
  virtual ZRError ReadHere(void* buffer, uint32_t* count) = 0;
  // At the mark, which moves.
  virtual ZRError WriteHere(const void* bytes, uint32_t count) = 0;

 protected:
  ~LineBytes() = default;
};

class TextLines {
 public:
  // The read limit that is none.
  static constexpr uint64_t kNoLimit = 0xFFFFFFFF;
  static constexpr uint32_t kLongestEnding = 2;

  explicit TextLines(LineBytes& bytes) : bytes_(bytes) {}

  // *length: 0 to 65535, the buffer holding one byte more; then the bytes consumed. ZRErrEOF at the
  // end of the file or the read limit, or for a length of 0; ZRErrSeek when the mark could not be
  // moved back behind the line (which is in the buffer); ZRErrTooLong when a limit is set and
  // mark and length together pass the largest place of a file (2^63 - 1); else the error of the
  // reading.
  ZRError ReadLine(char* buffer, int32_t* length);

  // Writes the bytes and the line ending; *length grows by the ending. ZRErrParam for a length
  // below 0 or too large to grow. After an error it is as it was, and part of the line may be
  // written.
  ZRError WriteLine(const char* text, int32_t* length);

  // Writes a text with every LF as a line ending; what follows the last one is written as it is.
  ZRError WriteText(const char* text, uint32_t length);

  // FormatText's rules, at most 7999 bytes, then as WriteText. ZRErrNoMemory without a buffer.
  ZRError PrintText(const char* format, ...);
  ZRError PrintTextList(const char* format, va_list arguments);

  // The place in the file where reading stops; kNoLimit for none. ZRErrRange below 0.
  ZRError SetReadLimit(int64_t position);
  uint64_t read_limit() const { return read_limit_; }

  // To be called when the file was cut: a limit behind the new end comes down to it; no limit
  // stays none.
  void FileWasCut(uint64_t length);

  // At most 2 characters, else ZRErrRange and no change. CR LF at first.
  ZRError SetLineEnding(const char* text);

  // Puts zeros over the line end and returns the index behind it; `length` when there is none.
  static uint32_t FindLineEnd(char* text, uint32_t length);

 private:
  ZRError ApplyLimit(uint64_t position, uint32_t* capacity) const;

  LineBytes& bytes_;
  uint64_t read_limit_ = kNoLimit;
  char ending_[kLongestEnding + 1] = "\r\n";
};

}  // namespace qv
