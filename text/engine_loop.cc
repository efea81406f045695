#include "text/engine_loop.h"

#include "text/engine_blocks.h"
#include "text/engine_forms.h"

namespace qv {
namespace {

template <class Reader, class Writer>
class Loop {
 public:
  Loop(const Reader& reader, const Writer& writer, LineEndMode line_ends, bool at_end,
       EngineCursor& cursor)
      : reader_(reader), writer_(writer), line_ends_(line_ends), at_end_(at_end), at_(cursor) {}

  EngineStop Run() {
    while (at_.in != at_.in_end) {
      if constexpr (FastReader<Reader>::kReads) {
        ConvertBlocks(reader_, writer_, line_ends_, at_);
        if (at_.in == at_.in_end) break;
      }
      const EngineStop stop = ConvertOne();
      if (stop != EngineStop::kInputEnd) return stop;
    }
    return EngineStop::kInputEnd;
  }

 private:
  // Converts one character or line end; kInputEnd stands for "go on".
  EngineStop ConvertOne() {
    const ReadCharacter read = reader_.Read(at_.in, at_.in_end);
    if (read.size == 0) return EngineStop::kCut;
    if (line_ends_ != kKeep && (read.code == '\r' || read.code == '\n'))
      return ConvertLineEnd(read);
    const int size = writer_.Write(read.code, at_.out, Room());
    if (size < 0) return EngineStop::kOutputEnd;
    at_.in += read.size;
    at_.out += size;
    return EngineStop::kInputEnd;
  }

  EngineStop ConvertLineEnd(const ReadCharacter& read) {
    const uint8_t* next = at_.in + read.size;
    if (read.code == '\r') {
      const ReadCharacter second =
          next == at_.in_end ? ReadCharacter{0, 0} : reader_.Read(next, at_.in_end);
      if (second.size == 0 && !at_end_) return EngineStop::kCut;
      if (second.size != 0 && second.code == '\n') next += second.size;
    }
    uint8_t* out = at_.out;
    if (line_ends_ != kLf && !Put('\r', out)) return EngineStop::kOutputEnd;
    if (line_ends_ != kCr && !Put('\n', out)) return EngineStop::kOutputEnd;
    at_.in = next;
    at_.out = out;
    return EngineStop::kInputEnd;
  }

  bool Put(uint32_t code, uint8_t*& out) {
    const int size = writer_.Write(code, out, static_cast<size_t>(at_.out_end - out));
    if (size < 0) return false;
    out += size;
    return true;
  }

  size_t Room() const { return static_cast<size_t>(at_.out_end - at_.out); }

  const Reader& reader_;
  const Writer& writer_;
  const LineEndMode line_ends_;
  const bool at_end_;
  EngineCursor& at_;
};

struct Request {
  const EngineTarget& target;
  LineEndMode line_ends;
  bool at_end;
  EngineCursor& cursor;
};

template <class Reader, class Writer>
EngineStop Run(const Reader& reader, const Writer& writer, const Request& request) {
  return Loop<Reader, Writer>(reader, writer, request.line_ends, request.at_end, request.cursor)
      .Run();
}

template <class Reader>
EngineStop RunReader(const Reader& reader, const Request& request) {
  switch (request.target.form) {
    case TextForm::kBytes:
      return Run(reader, ByteWriter{*request.target.table}, request);
    case TextForm::kUtf8:
      return Run(reader, Utf8Writer{}, request);
    case TextForm::kUtf16Little:
      return Run(reader, Utf16Writer<false>{}, request);
    case TextForm::kUtf16Big:
      return Run(reader, Utf16Writer<true>{}, request);
    case TextForm::kUtf32Little:
      return Run(reader, Utf32Writer<false>{}, request);
    case TextForm::kUtf32Big:
      return Run(reader, Utf32Writer<true>{}, request);
    case TextForm::kNone:
      break;
  }
  return EngineStop::kOutputEnd;
}

TextForm UnicodeForm(CodePage cp) {
  switch (cp) {
    case kUtf8:
      return TextForm::kUtf8;
    case kUtf16Little:
      return TextForm::kUtf16Little;
    case kUtf16Big:
      return TextForm::kUtf16Big;
    case kUtf32Little:
      return TextForm::kUtf32Little;
    case kUtf32Big:
      return TextForm::kUtf32Big;
    default:
      return TextForm::kNone;
  }
}

bool IsByteKind(const UnicodeTable* table) {
  if (table == nullptr) return false;
  const int kind = table->kind() & ~kFromUnicodeBit;
  return kind == kKindHighHalf || kind == kKindAllBytes;
}

}  // namespace

EngineSource FindEngineSource(CodePage cp) {
  const TextForm form = UnicodeForm(cp);
  if (form != TextForm::kNone) return {form, nullptr};
  const UnicodeTable* table = FindUnicodeTable(cp, false);
  if (!IsByteKind(table)) return {};
  return {TextForm::kBytes, static_cast<const ByteToUnicodeTable*>(table)};
}

EngineTarget FindEngineTarget(CodePage cp) {
  const TextForm form = UnicodeForm(cp);
  if (form != TextForm::kNone) return {form, nullptr};
  const UnicodeTable* table = FindUnicodeTable(cp, true);
  if (!IsByteKind(table)) return {};
  return {TextForm::kBytes, static_cast<const UnicodeToByteTable*>(table)};
}

EngineStop RunEngine(const EngineSource& source, const EngineTarget& target, LineEndMode line_ends,
                     bool at_end, EngineCursor& cursor) {
  const Request request{target, line_ends, at_end, cursor};
  switch (source.form) {
    case TextForm::kBytes:
      return RunReader(ByteReader{*source.table}, request);
    case TextForm::kUtf8:
      return RunReader(Utf8Reader{}, request);
    case TextForm::kUtf16Little:
      return RunReader(Utf16Reader<false>{}, request);
    case TextForm::kUtf16Big:
      return RunReader(Utf16Reader<true>{}, request);
    case TextForm::kUtf32Little:
      return RunReader(Utf32Reader<false>{}, request);
    case TextForm::kUtf32Big:
      return RunReader(Utf32Reader<true>{}, request);
    case TextForm::kNone:
      break;
  }
  return EngineStop::kOutputEnd;
}

EngineStop WriteByteOrderMark(const EngineTarget& target, EngineCursor& cursor) {
  if (target.form == TextForm::kBytes) return EngineStop::kInputEnd;
  const uint8_t mark[] = {0xFF, 0xFE};
  EngineCursor at{mark, mark + sizeof mark, cursor.out, cursor.out_end};
  const EngineStop stop = RunEngine({TextForm::kUtf16Little, nullptr}, target, kKeep, true, at);
  cursor.out = at.out;
  return stop;
}

LineEndMode ResolveLineEnds(int mode, CodePage from, CodePage to) {
  if (mode == kNativeTo) mode = NativeLineEnd(to);
  if (mode == kNativeFrom) mode = NativeLineEnd(from);
  switch (mode) {
    case kCr:
    case kCrLf:
    case kKeep:
      return static_cast<LineEndMode>(mode);
    case kKeepToo:
      return kKeep;
    default:
      return kLf;
  }
}

}  // namespace qv
