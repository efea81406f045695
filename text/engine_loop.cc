#include "text/engine_loop.h"

#include <new>

#include "text/engine_blocks.h"
#include "text/engine_forms.h"

namespace qv {
namespace {

template <class Reader, class Writer>
class Loop {
 public:
  Loop(Reader& reader, const Writer& writer, const EngineJob& job, EngineState& state, bool at_end,
       EngineCursor& cursor)
      : reader_(reader),
        writer_(writer),
        line_ends_(job.line_ends),
        decomposer_(job.decomposer),
        state_(state),
        at_end_(at_end),
        at_(cursor) {}

  EngineStop Run() {
    while (at_.in != at_.in_end) {
      if constexpr (FastReader<Reader>::kReads && FastWriter<Writer>::kWrites) {
        if (!state_.after_cr && !decomposer_.active()) {
          ConvertBlocks(reader_, writer_, line_ends_, at_);
          if (at_.in == at_.in_end) break;
        }
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
    if (read.size == 0) return EndAtCut();
    if constexpr (requires { Reader::kSkips; }) {
      if (Reader::kSkips && read.code == kNoCharacter) return Advance(read);
    }
    if (line_ends_ == kKeep) return ConvertCharacter(read);
    if (read.code == '\r' || read.code == '\n') return ConvertLineEnd(read);
    const EngineStop stop = ConvertCharacter(read);
    if (stop == EngineStop::kInputEnd) state_.after_cr = false;
    return stop;
  }

  EngineStop ConvertCharacter(const ReadCharacter& read) {
    if (decomposer_.active()) return ConvertDecomposed(read);
    if (!Put(read.code, at_.out)) return EngineStop::kOutputEnd;
    return Advance(read);
  }

  EngineStop ConvertDecomposed(const ReadCharacter& read) {
    uint32_t parts[Decomposer::kMostParts];
    return PutAll(parts, decomposer_.Decompose(read.code, parts)) ? Advance(read)
                                                                  : EngineStop::kOutputEnd;
  }

  // A CR is a line end at once; an LF behind it then is none.
  EngineStop ConvertLineEnd(const ReadCharacter& read) {
    const bool second = read.code == '\n' && state_.after_cr;
    const uint32_t line_end[] = {'\r', '\n'};
    const uint32_t count = line_ends_ == kCrLf ? 2 : 1;
    if (!second && !PutAll(line_end + (line_ends_ == kLf), count)) return EngineStop::kOutputEnd;
    state_.after_cr = read.code == '\r';
    return Advance(read);
  }

  // The rest is the beginning of a character.
  EngineStop EndAtCut() {
    if constexpr (requires { reader_.AtEnd(at_.in, at_.in_end); }) {
      if (at_end_) at_.in += reader_.AtEnd(at_.in, at_.in_end);
    }
    return at_.in == at_.in_end ? EngineStop::kInputEnd : EngineStop::kCut;
  }

  EngineStop Advance(const ReadCharacter& read) {
    if constexpr (requires { reader_.Accept(); }) reader_.Accept();
    at_.in += read.size;
    return EngineStop::kInputEnd;
  }

  bool Put(uint32_t code, uint8_t*& out) {
    const int size = writer_.Write(code, out, static_cast<size_t>(at_.out_end - out));
    if (size < 0) return false;
    out += size;
    return true;
  }

  // All of the codes or none.
  bool PutAll(const uint32_t* codes, uint32_t count) {
    uint8_t* out = at_.out;
    if constexpr (requires { writer_.Checkpoint(); }) {
      const auto checkpoint = writer_.Checkpoint();
      if (PutEach(codes, count, out)) return true;
      writer_.Restore(checkpoint);
      return false;
    } else {
      return PutEach(codes, count, out);
    }
  }

  bool PutEach(const uint32_t* codes, uint32_t count, uint8_t* out) {
    for (uint32_t i = 0; i < count; ++i) {
      if (!Put(codes[i], out)) return false;
    }
    at_.out = out;
    return true;
  }

  Reader& reader_;
  const Writer& writer_;
  const LineEndMode line_ends_;
  const Decomposer decomposer_;
  EngineState& state_;
  const bool at_end_;
  EngineCursor& at_;
};

struct Request {
  const EngineJob& job;
  EngineState& state;
  bool at_end;
  EngineCursor& cursor;
};

const WideTable& Wide(const EngineEnd& end) { return *static_cast<const WideTable*>(end.table); }

template <class Reader, class Writer>
EngineStop Run(Reader& reader, const Writer& writer, const Request& request) {
  return Loop<Reader, Writer>(reader, writer, request.job, request.state, request.at_end,
                              request.cursor)
      .Run();
}

template <class Reader>
EngineStop RunReader(Reader reader, const Request& request) {
  const EngineEnd& target = request.job.target;
  switch (target.form) {
    case TextForm::kBytes:
      return Run(reader, ByteWriter{*static_cast<const UnicodeToByteTable*>(target.table)},
                 request);
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
    case TextForm::kUtf7:
      return Run(reader, Utf7Writer{request.state.writer.utf7}, request);
    case TextForm::kDoubleByte:
      return Run(reader, WideWriter<DoubleByteWriter>(Wide(target), DoubleByteWriter(target.page)),
                 request);
    case TextForm::kJapaneseEuc:
      return Run(reader, WideWriter<JapaneseEucWriter>(Wide(target), {}), request);
    case TextForm::kIso2022:
      return Run(reader, WideWriter<Iso2022Writer&>(Wide(target), request.state.writer.iso2022),
                 request);
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
    case kUtf7:
      return TextForm::kUtf7;
    default:
      return TextForm::kNone;
  }
}

// The registry holds no table of a kind that the page's form cannot use.
TextForm FormOver(const UnicodeTable& table, CodePage cp) {
  const int kind = table.kind() & ~kFromUnicodeBit;
  if (kind == kKindHighHalf || kind == kKindAllBytes) return TextForm::kBytes;
  switch (EastAsianFormOf(cp)) {
    case EastAsianForm::kJapaneseEuc:
      return TextForm::kJapaneseEuc;
    case EastAsianForm::kIso2022:
      return TextForm::kIso2022;
    default:
      return TextForm::kDoubleByte;
  }
}

EngineEnd FindEngineEnd(CodePage cp, bool target) {
  const TextForm form = UnicodeForm(cp);
  if (form != TextForm::kNone) return {form, cp, nullptr};
  const UnicodeTable* table = FindUnicodeTable(cp, target);
  return table == nullptr ? EngineEnd{} : EngineEnd{FormOver(*table, cp), cp, table};
}

}  // namespace

EngineEnd FindEngineSource(CodePage cp) { return FindEngineEnd(cp, false); }

EngineEnd FindEngineTarget(CodePage cp) { return FindEngineEnd(cp, true); }

EngineJob MakeEngineJob(CodePage from, CodePage to, int line_end_mode,
                        Decomposition decomposition) {
  return {FindEngineSource(from), FindEngineTarget(to), ResolveLineEnds(line_end_mode, from, to),
          Decomposer(decomposition)};
}

void EngineState::Begin(const EngineJob& job) {
  if (job.source.form == TextForm::kUtf7) new (&reader.utf7) UTF7DecodeState;
  if (job.source.form == TextForm::kIso2022) {
    new (&reader.iso2022) Iso2022Reader(job.source.page);
  }
  if (job.target.form == TextForm::kUtf7) new (&writer.utf7) Utf7WriterState;
  if (job.target.form == TextForm::kIso2022) {
    new (&writer.iso2022) Iso2022Writer(job.target.page);
  }
}

EngineStop RunEngine(const EngineJob& job, EngineState& state, bool at_end, EngineCursor& cursor) {
  const Request request{job, state, at_end, cursor};
  const EngineEnd& source = job.source;
  switch (source.form) {
    case TextForm::kBytes:
      return RunReader(ByteReader{*static_cast<const ByteToUnicodeTable*>(source.table)}, request);
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
    case TextForm::kUtf7:
      return RunReader(Utf7Reader(state.reader.utf7), request);
    case TextForm::kDoubleByte:
      return RunReader(WideReader<DoubleByteReader>(Wide(source), DoubleByteReader(source.page)),
                       request);
    case TextForm::kJapaneseEuc:
      return RunReader(WideReader<JapaneseEucReader>(Wide(source), {}), request);
    case TextForm::kIso2022:
      return RunReader(WideReader<Iso2022Reader&>(Wide(source), state.reader.iso2022), request);
    case TextForm::kNone:
      break;
  }
  return EngineStop::kOutputEnd;
}

EngineStop CloseEngine(const EngineJob& job, EngineState& state, EngineCursor& cursor) {
  if (!HasState(job.target.form)) return EngineStop::kInputEnd;
  const auto room = static_cast<size_t>(cursor.out_end - cursor.out);
  int size = 0;
  if (job.target.form == TextForm::kUtf7) {
    size = Utf7Writer(state.writer.utf7).Close(cursor.out, room);
  } else {
    size = state.writer.iso2022.Close(cursor.out, room);
  }
  if (size < 0) return EngineStop::kOutputEnd;
  cursor.out += size;
  return EngineStop::kInputEnd;
}

EngineStop WriteByteOrderMark(const EngineJob& job, EngineState& state, EngineCursor& cursor) {
  if (!IsUnicodeCodePage(job.target.page)) return EngineStop::kInputEnd;
  const uint8_t mark[] = {0xFF, 0xFE};
  EngineCursor at{mark, mark + sizeof mark, cursor.out, cursor.out_end};
  const EngineJob one{FindEngineSource(kUtf16Little), job.target, kKeep};
  const EngineStop stop = RunEngine(one, state, true, at);
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
