#include "files/text_file.h"

ZRError CTextFile::SetEOF(uint64_t length) {
  const ZRError error = CDiskFile::SetEOF(length);
  if (error == ZRErrNone) lines_.FileWasCut(length);
  return error;
}

uint32_t CTextFile::FileKind() const { return kTextFileKind; }

ZRError CTextFile::ReadLine(char* buffer, int32_t* length) {
  return lines_.ReadLine(buffer, length);
}

ZRError CTextFile::WriteLine(const char* text, int32_t* length) {
  return lines_.WriteLine(text, length);
}

ZRError CTextFile::PrintText(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const ZRError error = lines_.PrintTextList(format, arguments);
  va_end(arguments);
  return error;
}

ZRError CTextFile::WriteText(const char* text, uint32_t length) {
  return lines_.WriteText(text, length);
}

ZRError CTextFile::SetReadLimit(int64_t position) { return lines_.SetReadLimit(position); }
ZRError CTextFile::SetLineEnding(const char* text) { return lines_.SetLineEnding(text); }

uint32_t CTextFile::FindLineEnd(char* text, uint32_t length) {
  return qv::TextLines::FindLineEnd(text, length);
}

// --- the bytes behind the lines ---

uint64_t CTextFile::Mark() const { return mark(); }

bool CTextFile::MoveMark(uint64_t position) {
  return Seek(static_cast<int64_t>(position), kSeekStart) >= 0;
}

ZRError CTextFile::ReadHere(void* buffer, uint32_t* count) { return Read(buffer, count); }

ZRError CTextFile::WriteHere(const void* bytes, uint32_t count) {
  return Write(bytes, static_cast<int32_t>(count));
}
