// A file that is read and written by lines, at its mark.
//
//   CTextFile file;
//   if (file.SetPath("C:\\mail\\list.txt") == 0 && file.Open(kFileRead, kShareRead) == 0) {
//     char line[256];
//     int32_t length = 255;
//     for (; file.ReadLine(line, &length) == 0; length = 255) Use(line);
//   }
//
// What a line is, and what the operations answer: text_lines.h. Everything else is a file object's.
#pragma once

#include "files/disk_file.h"
#include "files/text_lines.h"

class CTextFile : public CDiskFile, private qv::LineBytes {
 public:
  // A read limit behind the new end comes down to it.
  ZRError SetEOF(uint64_t length) override;
  uint32_t FileKind() const override;

  ZRError ReadLine(char* buffer, int32_t* length) override;
  ZRError WriteLine(const char* text, int32_t* length) override;
  ZRError PrintText(const char* format, ...) override;
  ZRError WriteText(const char* text, uint32_t length) override;
  ZRError SetReadLimit(int64_t position) override;
  ZRError SetLineEnding(const char* text) override;

  // Puts zeros over the line end in a buffer and returns the index behind it; `length` when there
  // is none.
  virtual uint32_t FindLineEnd(char* text, uint32_t length);

 private:
  uint64_t Mark() const override;
  bool MoveMark(uint64_t position) override;
  ZRError ReadHere(void* buffer, uint32_t* count) override;
  ZRError WriteHere(const void* bytes, uint32_t count) override;

  qv::TextLines lines_{*this};
};
